#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <tuple>

#include "Kv_Data.h"

namespace {

namespace fs = std::filesystem;

struct Outcome { int status; std::string out, err; };

std::string Slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class Kvdata : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() / ("kvdata-test-" + std::to_string(::getpid()) + "-" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }

    Outcome Kv(const std::string& args, const std::string& input = "") const {
        const fs::path in = dir / "stdin", out = dir / "stdout", err = dir / "stderr";
        std::ofstream(in) << input;
        const std::string command = std::string(KVDATA_PROGRAM) + " " + args + " <" + in.string() + " >" +
                                    out.string() + " 2>" + err.string();
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(out), Slurp(err)};
    }

    fs::path dir;
};

TEST_F(Kvdata, FaultTableAndJsonCarryTheLibrarysPhasors) {
    const Outcome table = Kv("fault FaultAB");
    ASSERT_EQ(table.status, 0) << table.err;
    EXPECT_NE(table.out.find("FaultAB (code 6) with SetUIFaza"), std::string::npos);
    EXPECT_NE(table.out.find("Result 0: done"), std::string::npos);
    EXPECT_NE(table.out.find("Symmetrical components"), std::string::npos);

    // The same fault through the library itself, with the program's defaults.
    double u[6] = {}, i[6] = {};
    const int result = kv::SetUIFaza(6, 30, 5, 75, u[0], u[1], u[2], u[3], u[4], u[5], i[0], i[1], i[2], i[3], i[4],
                                     i[5], kv::cstUmax100, -1, 0, -1);
    const Outcome json = Kv("fault 6 --json");
    ASSERT_EQ(json.status, 0) << json.err;
    const auto j = nlohmann::json::parse(json.out);
    EXPECT_EQ(j["fault"]["name"], "FaultAB");
    EXPECT_EQ(j["result"]["code"], result);
    const char* phases[] = {"A", "B", "C"};
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(j["phases"]["voltages"][phases[k]]["magnitude"].get<double>(), u[2 * k]);
        EXPECT_EQ(j["phases"]["voltages"][phases[k]]["angle"].get<double>(), u[2 * k + 1]);
        EXPECT_EQ(j["phases"]["currents"][phases[k]]["magnitude"].get<double>(), i[2 * k]);
    }
    EXPECT_TRUE(j["symmetrical"].contains("voltages"));
    EXPECT_TRUE(j["line"].contains("currents"));
}

TEST_F(Kvdata, SweepsGiveOneRowPerPoint) {
    const Outcome csv = Kv("fault FaultAN --function voltage --u 10:30:10 --phi 0:90:45");
    ASSERT_EQ(csv.status, 0) << csv.err;
    std::istringstream lines(csv.out);
    std::string header, row;
    std::getline(lines, header);
    EXPECT_EQ(header.rfind("U,I,phi,result,UA,fiUA,", 0), 0u);
    EXPECT_EQ(header.find(",IA,"), std::string::npos);  // a voltage-only sweep has no currents
    int rows = 0;
    while (std::getline(lines, row)) {
        ++rows;
        EXPECT_EQ(std::count(row.begin(), row.end(), ','), std::count(header.begin(), header.end(), ','));
    }
    EXPECT_EQ(rows, 9);

    const Outcome jsonLines = Kv("fault FaultAN --i 1:2:0.5 --json");
    ASSERT_EQ(jsonLines.status, 0) << jsonLines.err;
    std::istringstream objects(jsonLines.out);
    std::vector<double> currents;
    for (std::string line; std::getline(objects, line);)
        currents.push_back(nlohmann::json::parse(line)["input"]["I"].get<double>());
    EXPECT_EQ(currents, (std::vector<double>{1, 1.5, 2}));
}

TEST_F(Kvdata, ErrorsNameWhatWasWrong) {
    std::ofstream(dir / "bad.csv") << "x\n1\n2\nabc\n";
    const struct {
        std::string args;
        std::string message;
    } cases[] = {
        {"fault FaultAX", "kvdata: unknown fault type 'FaultAX'; closest: "},
        {"fault 7000", "kvdata: fault type 7000 is not in the catalogue"},
        {"fault FaultAB --u 3x", "kvdata: --u: '3x' is not a number"},
        {"fault FaultAB --phi 0:10:-1", "kvdata: --phi: the step of '0:10:-1' does not lead from START to STOP"},
        {"fault FaultAB --plot " + (dir / "a.jpg").string(), "is not a picture name"},
        {"fault FaultAB --device 7", "kvdata: unknown device type 7"},
        {"spectrum " + (dir / "missing.csv").string() + " --rate 1000", "kvdata: cannot open"},
        {"spectrum " + (dir / "bad.csv").string() + " --rate 1000", "bad.csv:4: column 1: 'abc' is not a number"},
        {"sequence --u 1@0,2@0", "kvdata: --u: '1@0,2@0' is not three phases"},
        {"tolerance '1;2' --x y", "kvdata: --x: 'y' is not a number"},
    };
    for (const auto& c : cases) {
        const Outcome run = Kv(c.args);
        EXPECT_EQ(run.status, 1) << c.args;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.args << " said: " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << c.args;
        EXPECT_TRUE(run.out.empty()) << c.args;
    }
    EXPECT_NE(Kv("fault FaultAX").err.find("FaultAB"), std::string::npos);
    EXPECT_NE(Kv("fault").status, 0);  // CLI11's own message for a missing argument
}

TEST_F(Kvdata, PicturesAreWholeFilesOfTheirType) {
    // Each type by its head and its tail.
    for (const auto& [fault, name, head, tail] :
         {std::tuple{"FaultAB", "ab.png", std::string("\x89PNG\r\n\x1a\n"), std::string("IEND\xae\x42\x60\x82")},
          {"FaultABC", "ab.svg", "<?xml", "</svg>\n"}, {"FaultAN", "ab.pdf", "%PDF-", "%%EOF\n"}}) {
        ASSERT_EQ(Kv("fault " + std::string(fault) + " --plot " + (dir / name).string()).status, 0) << name;
        const std::string picture = Slurp(dir / name);
        EXPECT_EQ(picture.rfind(head, 0), 0u) << name;
        EXPECT_EQ(picture.substr(picture.size() - std::min(picture.size(), tail.size())), tail) << name;
    }

    std::string samples;
    for (int k = 0; k < 200; ++k) samples += std::to_string(10 * std::sin(2 * 3.141592653589793 * 50 * k / 10000.0)) + "\n";
    const fs::path bars = dir / "bars.png";
    ASSERT_EQ(Kv("spectrum - --rate 10000 --from 0 --to 200 --step 50 --plot " + bars.string(), samples).status, 0);
    EXPECT_EQ(Slurp(bars).substr(1, 3), "PNG");

    // A picture that cannot be written leaves nothing behind, not even its temporary.
    const Outcome failed = Kv("fault FaultAB --plot " + (dir / "no" / "such" / "dir.png").string());
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.err.find("cannot write picture"), std::string::npos);
    for (const auto& entry : fs::directory_iterator(dir))
        EXPECT_EQ(entry.path().string().find(".tmp"), std::string::npos) << entry.path();
}

TEST_F(Kvdata, CataloguesSequencesTolerancesSpectraAndDevices) {
    const Outcome types = Kv("types");
    ASSERT_EQ(types.status, 0);
    EXPECT_NE(types.out.find("FaultAB"), std::string::npos);
    EXPECT_NE(types.out.find("0     FiMCh         \xD0\xA4\xD0\xBC\xD1\x87\n"), std::string::npos);  // "Фмч" in UTF-8

    const auto star = nlohmann::json::parse(Kv("sequence --u 57.7@0,57.7@240,57.7@120 --json").out);
    EXPECT_NEAR(star["symmetrical"]["voltages"]["positive"]["magnitude"].get<double>(), 57.7, 1e-9);
    EXPECT_NEAR(star["symmetrical"]["voltages"]["negative"]["magnitude"].get<double>(), 0, 1e-9);
    EXPECT_NEAR(star["line"]["voltages"]["AB"]["magnitude"].get<double>(), 57.7 * std::sqrt(3.0), 1e-9);
    EXPECT_TRUE(star["symmetrical"]["within_limits"].get<bool>());
    const auto earth = nlohmann::json::parse(Kv("sequence --i 3@0,0@0,0@0 --arm --json").out);
    EXPECT_NEAR(earth["symmetrical"]["currents"]["zero x3"]["magnitude"].get<double>(), 3, 1e-9);

    const auto tolerance = nlohmann::json::parse(Kv("tolerance '0;0.05;1;5%' --x 0.5 --json").out);
    EXPECT_EQ(tolerance["absolute"].get<double>(), 0.05);
    EXPECT_TRUE(tolerance["found"].get<bool>());
    const auto time = nlohmann::json::parse(Kv("tolerance '5;-0.02 +0.05 10%' --rule time --x 1 --json").out);
    EXPECT_EQ(time["minus"].get<double>(), -0.02);
    EXPECT_EQ(time["plus"].get<double>(), 0.05);
    EXPECT_EQ(time["percent"].get<double>(), 10);

    std::string samples = "t,u\n";
    for (int k = 0; k < 200; ++k)
        samples += std::to_string(k) + "," + std::to_string(10 * std::sin(2 * 3.141592653589793 * 50 * k / 10000.0)) + "\n";
    const auto spectrum = nlohmann::json::parse(Kv("spectrum - --column u --t1 0.02 --from 50 --to 50 --json", samples).out);
    EXPECT_NEAR(spectrum["components"][0]["amplitude"].get<double>(), 10, 1e-4);

    const auto device = nlohmann::json::parse(Kv("device 35 --json").out);
    EXPECT_EQ(device["constants"]["globUmax"].get<double>(), 140);
}

}  // namespace
