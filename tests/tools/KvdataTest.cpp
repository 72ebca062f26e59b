#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <tuple>

#include "Kv_Data.h"
#include "Kv_Relay.h"

#include "KvdataRun.h"

namespace {

namespace fs = std::filesystem;

using kvtest::Outcome;
using kvtest::Slurp;
using Kvdata = kvtest::KvdataRun;

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
    EXPECT_EQ(header.rfind("code,name,function,U,I,phi,nominal,device,fold,result,meaning,UA,fiUA,", 0), 0u);
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

TEST_F(Kvdata, ImpedanceFaultsAreTheLayersAndSweepLikeFaults) {
    kv::relay::ImpedanceFault f;
    f.z = kv::relay::Impedance::Polar(5, 75);
    f.k0 = kv::relay::ResidualCompensation::Polar(0.8, -5);
    f.model = kv::relay::ConstantCurrent{5};
    const auto r = kv::relay::Calculate(f);
    const Outcome json = Kv("impedance an --z 5@75 --k0 0.8@-5 --current 5 --device 35 --json");
    ASSERT_EQ(json.status, 0) << json.err;
    const auto j = nlohmann::json::parse(json.out);
    EXPECT_EQ(j["phases"]["voltages"]["A"]["magnitude"].get<double>(), r.phases.voltages.a.Magnitude());
    EXPECT_EQ(j["phases"]["currents"]["A"]["angle"].get<double>(), r.phases.currents.a.Angle());
    EXPECT_EQ(j["loops"]["AN"]["r"].get<double>(), r.loops[0]->R());
    EXPECT_TRUE(j["loops"]["BC"].is_null());
    EXPECT_EQ(j["k0"]["rerl"].get<double>(), *r.k0.rerl);
    EXPECT_EQ(j["test_current"].get<double>(), 5);
    EXPECT_TRUE(j["feasible"].get<bool>());
    EXPECT_EQ(j["limits"]["umax"].get<double>(), 140);
    EXPECT_EQ(j["model"], "current");

    // k0 in its other forms gives the same fault; the table names what it shows.
    const auto same = nlohmann::json::parse(
        Kv("impedance AN --rx " + std::to_string(f.z.R()) + "," + std::to_string(f.z.X()) + " --rerl 1.0572 --xexl 0.7783 --json").out);
    EXPECT_NEAR(same["phases"]["voltages"]["A"]["magnitude"].get<double>(), 44.958, 2e-3);
    const Outcome table = Kv("impedance BC --z 5@75 --voltage 120");
    EXPECT_NE(table.out.find("NOT FEASIBLE: the faulted loop's voltage 120.000 V exceeds its pre-fault value 100.000 V (Un)"),
              std::string::npos) << table.out;

    // A sweep of |Z| and of the current: one row per point, every row with the header's columns.
    const Outcome csv = Kv("impedance AB --z 1:3:1@75 --current 1:2:1");
    ASSERT_EQ(csv.status, 0) << csv.err;
    std::istringstream lines(csv.out);
    std::string header, row;
    std::getline(lines, header);
    EXPECT_EQ(header.rfind("loop,model,nominal,z.r,z.x,z.magnitude,z.angle,", 0), 0u);
    EXPECT_NE(header.find(",loops.AB.r,"), std::string::npos);
    int rows = 0;
    while (std::getline(lines, row)) {
        ++rows;
        EXPECT_EQ(std::count(row.begin(), row.end(), ','), std::count(header.begin(), header.end(), ','));
    }
    EXPECT_EQ(rows, 6);
    EXPECT_EQ(Kv("impedance AB --rx 0:1:0.1,4 --json").out.find("0.30000000000000004"), std::string::npos);

    for (const auto& [args, message] : std::initializer_list<std::pair<std::string, std::string>>{
             {"impedance AN", "give the impedance to the fault with --z MAG@ANG or with --rx R,X"},
             {"impedance AN --z 5@75 --current 5 --sir 2", "give one test model"},
             {"impedance AN --z 5@75 --ks 1@0", "--ks is the source's k0"},
             {"impedance AN --z -5@75", "--z: a magnitude is not negative"},
             {"impedance AN --z 5@75 --k0 1@0 --z0z1 2@0", "give k0 in one form"},
             {"impedance XN --z 5@75", "LOOP: must be AN, BN, CN, AB, BC, CA or ABC, got 'XN'"},
             {"impedance AN --z 0@0 --voltage 10", "--voltage: a constant voltage needs a loop impedance that is not 0"},
             {"impedance AN --z 5@75 --current nan", "--current: 'nan' is not a number"},
             {"impedance AN --z 5@75 --device 7", "--device: unknown device type 7"},
         }) {
        const Outcome run = Kv(args);
        EXPECT_EQ(run.status, 1) << args;
        EXPECT_NE(run.err.find(message), std::string::npos) << args << " said: " << run.err;
        EXPECT_TRUE(run.out.empty()) << args;
    }
}

TEST_F(Kvdata, SequencesAreWrittenAsComtradeRecords) {
    const std::string sequence = (dir / "test.json").string();
    std::ofstream(sequence) << R"({"station": "S1", "rate": 1000, "start": "2026-11-23T10:00:00",
        "states": [{"name": "pre", "duration": 0.02},
                   {"name": "fault", "duration": 0.01, "trigger": true, "outputs": {"TRIP": 1},
                    "impedance": {"loop": "BC", "z": [2, 80], "current": 4}}]})";
    const Outcome run = Kv("comtrade " + sequence + " -o " + (dir / "rec").string() + " --format binary32 --rate 2000");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("COMTRADE 2013, BINARY32"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("60 samples at 2000 Hz"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("trigger at 2026-11-23T10:00:00.020000"), std::string::npos) << run.out;
    const std::string cfg = Slurp(dir / "rec.cfg");
    EXPECT_EQ(cfg.rfind("S1,kvdata,2013\r\n9,6A,3D\r\n", 0), 0u) << cfg;
    EXPECT_NE(cfg.find("\r\n3,TRIP,,,0\r\n"), std::string::npos);
    EXPECT_EQ(fs::file_size(dir / "rec.dat"), 60u * (4 + 4 + 6 * 4 + 2));

    ASSERT_EQ(Kv("comtrade " + sequence + " -o " + (dir / "one.cff").string() + " --cff").status, 0);
    EXPECT_TRUE(fs::exists(dir / "one.cff"));
    for (const auto& [args, message] : std::initializer_list<std::pair<std::string, std::string>>{
             {"comtrade " + sequence + " -o " + (dir / "x").string() + " --revision 1999 --format FLOAT32", "1999"},
             {"comtrade " + sequence + " -o " + (dir / "no" / "x").string(), "No such file or directory"},
             {"comtrade " + (dir / "missing.json").string() + " -o " + (dir / "x").string(), "cannot open"},
         }) {
        const Outcome bad = Kv(args);
        EXPECT_EQ(bad.status, 1) << args;
        EXPECT_NE(bad.err.find(message), std::string::npos) << args << " said: " << bad.err;
    }
    EXPECT_FALSE(fs::exists(dir / "x.cfg"));
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
        {"fault FaultAB --device 7", "kvdata: --device: unknown device type 7"},
        {"fault FaultA --function record", "FaultA (code 0) is not handled by SetUIFaza (record); it is handled by SetIFaza (--function current), SetUIFaza (--function full)"},
        {"fault FaultAB --u nan", "--u: 'nan' is not a number"},
        {"fault FaultAB --aux-angle inf", "--aux-angle: 'inf' is not a number"},
        {"fault FaultAB --u -1", "--u: '-1' is negative"},
        {"fault FaultAB --i 0:-2:-1", "--i: '0:-2:-1' is negative"},
        {"fault FaultAB --uhealthy -5", "--uhealthy: '-5' is negative"},
        {"fault FaultAB --nominal 0", "--nominal: the nominal line voltage must be above 0"},
        {"fault FaultAB --u 1e300", "overflows: a result is not a finite number"},
        {"fault FaultAB --u 0:100:0.001 --i 1:2:1", "200002 rows, more than --max-rows 100000"},
        {"fault FaultAB -o " + (dir / "no" / "out.txt").string(), "No such file or directory"},
        {"tolerance '1;abc' --x 1", "tolerance table, field 2: 'abc' is not a number"},
        {"tolerance '0;;1;0.2' --x 1", "tolerance table, field 2 is empty"},
        {"sequence --u 1@0,-2@0,1@0", "has a negative magnitude"},
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
    EXPECT_EQ(Kv("fault 82 --u -5 --aux 10").status, 0);  // the one code that uses the sign of U

    // Usage mistakes: one line that points to the help, status 2.
    for (const std::string args : {"fault", "fault AB --bogus", "fault AB --function sideways", "types --u 3"}) {
        const Outcome run = Kv(args);
        EXPECT_EQ(run.status, 2) << args;
        const std::string sub = args.substr(0, args.find(' '));
        EXPECT_NE(run.err.find("; see kvdata " + sub + " --help\n"), std::string::npos) << args << ": " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << args;
    }
    EXPECT_EQ(Kv("--version").out.rfind("kvdata ", 0), 0u);
    for (const char* spelling : {"ab", "faultab", "FAULTAB", "6"})
        EXPECT_EQ(nlohmann::json::parse(Kv(std::string("fault ") + spelling + " --json").out)["fault"]["code"], 6);
}

TEST_F(Kvdata, LimitsAreCheckedAsMeantAndNamed) {
    // Unom >= 500 skips the library's limiting: a done result above globUmax 120 V.
    const auto over = nlohmann::json::parse(Kv("fault FaultAN --u 200 --unom 500 --json").out);
    EXPECT_EQ(over["result"]["code"], 0);
    EXPECT_TRUE(over["limits"]["phase_voltages"]["exceeded"].get<bool>());
    EXPECT_EQ(over["limits"]["phase_voltages"]["limit"], "globUmax");
    EXPECT_EQ(over["limits"]["phase_voltages"]["where"], "A");
    EXPECT_FALSE(over["within_limits"].get<bool>());
    const Outcome table = Kv("fault FaultAN --u 200 --unom 500");
    EXPECT_NE(table.out.find("Device limits (the library's start-up values): EXCEEDED"), std::string::npos);
    EXPECT_NE(table.out.find("line voltages   234.266 V  AB     globUmaxAB  240.000 V  within"), std::string::npos)
        << table.out;
    EXPECT_NE(table.out.find("the library compares the line values with the phase limits globUmax 120.0 V"),
              std::string::npos);

    // The nominal voltage moves the healthy phases; Unom stays a threshold.
    const auto nominal = nlohmann::json::parse(Kv("fault FaultAN --nominal 110 --json").out);
    EXPECT_EQ(nominal["nominal"], 110);
    EXPECT_EQ(nominal["input"]["Unom"], 110);
    EXPECT_DOUBLE_EQ(nominal["phases"]["voltages"]["B"]["magnitude"].get<double>(), 110 / std::sqrt(3.0));
    EXPECT_NE(Kv("types ab").out.find("U: line voltage between the two faulted phases"), std::string::npos);
}

TEST_F(Kvdata, OutputsReadAsWrittenAndFilesAreWhole) {
    // A sweep's grid as the user wrote it, and CSV with the very fields of the JSON lines.
    const Outcome csv = Kv("fault FaultAB --u 0:1:0.1");
    const Outcome lines = Kv("fault FaultAB --u 0:1:0.1 --json");
    ASSERT_EQ(csv.status, 0) << csv.err;
    EXPECT_NE(csv.out.find(",0.3,5,75,"), std::string::npos);
    const Outcome small = Kv("fault FaultAB --u 0.0001:0.0002:0.0001 --phi -0.5:0.50:0.25 --json");
    EXPECT_NE(small.out.find(R"("U":0.0001,"I":5,"phi":-0.25,)"), std::string::npos) << small.out.substr(0, 200);
    std::istringstream csvRows(csv.out), jsonRows(lines.out);
    std::string header, row, object;
    std::getline(csvRows, header);
    const auto columns = [](const std::string& text) {
        std::vector<std::string> fields;
        std::string field;
        for (std::istringstream in(text); std::getline(in, field, ',');) fields.push_back(field);
        return fields;
    };
    const std::vector<std::string> names = columns(header);
    EXPECT_EQ(names.size(), 66u);
    while (std::getline(csvRows, row) && std::getline(jsonRows, object)) {
        const auto j = nlohmann::json::parse(object);
        const std::vector<std::string> values = columns(row);
        ASSERT_EQ(values.size(), names.size());
        const auto at = [&](const std::string& name) { return values[static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin())]; };
        EXPECT_EQ(std::stod(at("U")), j["input"]["U"].get<double>());
        EXPECT_EQ(std::stod(at("fiUB")), j["phases"]["voltages"]["B"]["angle"].get<double>());
        EXPECT_EQ(std::stod(at("I2")), j["symmetrical"]["currents"]["negative"]["magnitude"].get<double>());
        EXPECT_EQ(std::stod(at("UCA")), j["line"]["voltages"]["CA"]["magnitude"].get<double>());
        EXPECT_EQ(at("line_voltages_exceeded"), j["limits"]["line_voltages"]["exceeded"].dump());
    }

    // Human tables: no negative zero, zero phasors at angle 0, --decimals honoured.
    for (const std::string fault : {"FaultAB", "FaultABC --phi 180", "FaultCN --phi -0.001", "36 --u 20"}) {
        const std::string out = Kv("fault " + fault).out;
        EXPECT_EQ(out.find("-0.0"), std::string::npos) << fault;
    }
    EXPECT_NE(Kv("fault FaultAB").out.find("C      57.735        165.00  0.000          0.00"), std::string::npos);
    EXPECT_NE(Kv("--decimals 5 fault FaultAB").out.find("32.53204"), std::string::npos);

    // -o writes the same text through a temporary; nothing is left of a failed write.
    ASSERT_EQ(Kv("fault FaultAB -o " + (dir / "out.txt").string()).status, 0);
    EXPECT_EQ(Slurp(dir / "out.txt"), Kv("fault FaultAB").out);
    EXPECT_EQ(Kv("fault FaultXY -o " + (dir / "bad.txt").string()).status, 1);
    EXPECT_FALSE(fs::exists(dir / "bad.txt"));
    for (const auto& entry : fs::directory_iterator(dir))
        EXPECT_EQ(entry.path().string().find(".tmp"), std::string::npos) << entry.path();
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
    ASSERT_EQ(Kv("spectrum - --rate 10000 --f 0:200:50 --plot " + bars.string(), samples).status, 0);
    EXPECT_EQ(Slurp(bars).substr(1, 3), "PNG");

    // A picture that cannot be written leaves nothing behind, not even its temporary.
    const Outcome failed = Kv("fault FaultAB --plot " + (dir / "no" / "such" / "dir.png").string());
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.err.find("cannot write"), std::string::npos);
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
    const auto spectrum = nlohmann::json::parse(Kv("spectrum - --column u --t1 0.02 --f 50 --json", samples).out);
    EXPECT_NEAR(spectrum["components"][0]["amplitude"].get<double>(), 10, 1e-4);

    const auto device = nlohmann::json::parse(Kv("device --device 35 --json").out);
    EXPECT_EQ(device["constants"]["globUmax"].get<double>(), 140);
}

}  // namespace
