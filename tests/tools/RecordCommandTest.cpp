#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "KvdataRun.h"

namespace {

namespace fs = std::filesystem;

using kvtest::Outcome;
using kvtest::Slurp;
using RecordCommand = kvtest::KvdataRun;

// A relay's record as a sequence plays it: 3 A at −70° on IA from the trigger, TRIP 25 ms later.
constexpr const char* kRelay = R"({"station": "S1", "device": "R1", "rate": 1000, "start": "2026-11-23T10:00:00",
    "states": [{"name": "pre", "duration": 0.1},
               {"name": "fault", "duration": 0.025, "trigger": true, "phasors": {"UA": [20, 10], "IA": [3, -70]}},
               {"name": "trip", "duration": 0.075, "outputs": {"TRIP": 1}, "phasors": {"UA": [20, 10], "IA": [3, -70]}}]})";

// The test that was played: fault at its trigger, the trip expected within a window.
std::string PlayedTest(const std::string& expected, const std::string& tolerance) {
    return R"({"states": [{"name": "before", "duration": 1}, {"name": "fault", "duration": 1, "trigger": true}],
               "assess": [{"name": "trips", "channel": "TRIP", "from": "fault", "expected": )" +
           expected + ", " + tolerance + R"(},
                          {"name": "quiet before", "channel": "TRIP", "from": "before", "until": "fault", "expected": null}]})";
}

class RecordCommandWithRecord : public RecordCommand {
protected:
    void SetUp() override {
        RecordCommand::SetUp();
        std::ofstream(dir / "relay.json") << kRelay;
        const Outcome made = Kv("comtrade " + (dir / "relay.json").string() + " -o " + (dir / "rec").string() +
                                " --format BINARY");
        ASSERT_EQ(made.status, 0) << made.err;
        cfg = (dir / "rec.cfg").string();
    }
    std::string cfg;
};

TEST_F(RecordCommandWithRecord, HeaderAndPhasorsAsJson) {
    const Outcome run = Kv("record " + cfg + " --json --at -0.05,0.02,-0.1");
    ASSERT_EQ(run.status, 0) << run.err;
    const auto j = nlohmann::json::parse(run.out);
    EXPECT_EQ(j["station"], "S1");
    EXPECT_EQ(j["device"], "R1");
    EXPECT_EQ(j["revision"], 2013);
    EXPECT_EQ(j["format"], "BINARY");
    EXPECT_EQ(j["frequency"], 50.0);
    EXPECT_EQ(j["rates"], nlohmann::json::parse("[[1000.0, 200]]"));
    EXPECT_EQ(j["samples"], 200);
    EXPECT_EQ(j["start"], "2026-11-23T10:00:00.000000");
    EXPECT_EQ(j["trigger"], "2026-11-23T10:00:00.100000");
    ASSERT_EQ(j["analog"].size(), 6u);
    for (const char* key : {"name", "phase", "unit", "a", "b", "primary", "secondary", "ps"})
        EXPECT_TRUE(j["analog"][3].contains(key)) << key;
    EXPECT_EQ(j["analog"][3]["name"], "IA");
    EXPECT_EQ(j["analog"][3]["unit"], "A");
    EXPECT_EQ(j["digital"][3], nlohmann::json::parse(R"({"name": "TRIP", "normal": 0})"));

    const auto& at = j["phasors"];
    ASSERT_EQ(at.size(), 3u);
    EXPECT_DOUBLE_EQ(at[0]["time"].get<double>(), -0.05);
    EXPECT_NEAR(at[0]["channels"]["UA"]["magnitude"].get<double>(), 57.735, 0.01);
    EXPECT_EQ(at[0]["channels"]["IA"]["magnitude"], 0.0);
    // 16-bit samples: the steady fault phasor within their resolution, its angle in [0, 360).
    EXPECT_NEAR(at[1]["channels"]["IA"]["magnitude"].get<double>(), 3, 1e-3);
    EXPECT_NEAR(at[1]["channels"]["IA"]["angle"].get<double>(), 290, 0.02);
    EXPECT_NEAR(at[1]["channels"]["UA"]["angle"].get<double>(), 10, 0.02);
    EXPECT_NEAR(at[1]["groups"][1]["zero"]["magnitude"].get<double>(), 1, 1e-3);
    // A window that would begin before the first sample has no value.
    EXPECT_TRUE(at[2]["channels"]["UA"].is_null());

    // Two channels of one name: neither hides the other.
    std::string text = Slurp(dir / "rec.cfg");
    text.replace(text.find(",UB,"), 4, ",UA,");
    std::ofstream(dir / "rec.cfg", std::ios::binary) << text;
    const auto twice = nlohmann::json::parse(Kv("record " + cfg + " --json --at 0.02").out)["phasors"][0];
    EXPECT_NEAR(twice["channels"]["UA #2"]["magnitude"].get<double>(), 57.735, 0.01);
    EXPECT_EQ(twice["groups"][0]["channels"][1], "UA #2");
}

TEST_F(RecordCommandWithRecord, CycleByCycleTablesAndPictures) {
    const Outcome csv = Kv("record " + cfg + " --every-cycle");
    ASSERT_EQ(csv.status, 0) << csv.err;
    std::istringstream lines(csv.out);
    std::string header, row;
    std::getline(lines, header);
    EXPECT_EQ(header.rfind("time,channels.UA.magnitude,channels.UA.angle,", 0), 0u) << header;
    int rows = 0;
    while (std::getline(lines, row)) ++rows;
    const Outcome json = Kv("record " + cfg + " --every-cycle --json");
    ASSERT_EQ(json.status, 0) << json.err;
    std::istringstream objects(json.out);
    int count = 0;
    for (std::string line; std::getline(objects, line); ++count) EXPECT_TRUE(nlohmann::json::parse(line).contains("groups"));
    EXPECT_EQ(rows, count);
    EXPECT_GE(rows, 9);  // 200 samples, 20 a cycle

    const Outcome table = Kv("record " + cfg + " --at 0.05 --plot " + (dir / "rec.png").string());
    ASSERT_EQ(table.status, 0) << table.err;
    EXPECT_NE(table.out.find("trigger 2026-11-23T10:00:00.100000 (+0.1 s)"), std::string::npos) << table.out;
    EXPECT_NE(table.out.find("At 0.05 s from the trigger"), std::string::npos) << table.out;
    EXPECT_EQ(Slurp(dir / "rec.png").substr(1, 3), "PNG");
}

TEST_F(RecordCommandWithRecord, AssessPassesFailsAndErrs) {
    std::ofstream(dir / "pass.json") << PlayedTest("0.03", R"("abs": 0.01)");
    std::ofstream(dir / "fail.json") << PlayedTest("0.01", R"("abs": 0.005)");
    std::ofstream(dir / "none.json") << R"({"states": [{"name": "a", "duration": 1, "trigger": true}],
        "assess": [{"name": "x", "channel": "CLOSE", "from": "a", "expected": 0.1}]})";

    const Outcome pass = Kv("assess --json " + (dir / "pass.json").string() + " " + cfg);
    ASSERT_EQ(pass.status, 0) << pass.err;
    const auto j = nlohmann::json::parse(pass.out);
    EXPECT_EQ(j["passed"], true);
    EXPECT_NEAR(j["assessments"][0]["measured"].get<double>(), 0.025, 1e-9);
    EXPECT_NEAR(j["assessments"][0]["low"].get<double>(), 0.02, 1e-12);
    EXPECT_NEAR(j["assessments"][0]["high"].get<double>(), 0.04, 1e-12);
    EXPECT_EQ(j["assessments"][1]["passed"], true);

    const Outcome fail = Kv("assess " + (dir / "fail.json").string() + " " + cfg);
    EXPECT_EQ(fail.status, 3) << fail.err;
    EXPECT_NE(fail.out.find("FAIL"), std::string::npos) << fail.out;
    // The quiet state passes: its table shows no edge inside the window, and the next one as such.
    EXPECT_NE(fail.out.find("none; next 1.0250"), std::string::npos) << fail.out;

    const Outcome missing = Kv("assess " + (dir / "none.json").string() + " " + cfg);
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("'CLOSE'"), std::string::npos) << missing.err;
}

TEST_F(RecordCommand, BadRecordsAndOptionsAreOneLine) {
    std::ofstream(dir / "bad.cfg") << "S,R,2013\r\n1,1A,0D\r\n1,UA,A,,V,x,0,0,-1,1,1,1,S\r\n";
    std::ofstream(dir / "bad.dat") << "";
    for (const auto& [args, message] : std::initializer_list<std::pair<std::string, std::string>>{
             {"record " + (dir / "missing.cfg").string(), "missing"},
             {"record " + (dir / "bad.cfg").string(), "bad.cfg:3"},
         }) {
        const Outcome run = Kv(args);
        EXPECT_EQ(run.status, 1) << args;
        EXPECT_NE(run.err.find(message), std::string::npos) << args << " said: " << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    }
    EXPECT_EQ(Kv("record").status, 2);
}

}  // namespace
