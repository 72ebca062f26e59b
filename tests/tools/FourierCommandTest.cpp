#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <nlohmann/json.hpp>
#include <string>

#include "KvdataRun.h"

namespace {

namespace fs = std::filesystem;

using kvtest::Outcome;
using kvtest::Slurp;
using FourierCommand = kvtest::KvdataRun;

// 200 samples at 10 kHz of 3 + 10 sin(2π·50·t + 30°), t from t0, as "t<sep>u" lines.
std::string Samples(const std::string& separator, bool decimalComma, const std::string& end, double t0 = 0) {
    std::string text = "t" + separator + "u" + end;
    for (int k = 0; k < 200; ++k) {
        const double t = t0 + k / 10000.0;
        char line[64];
        std::snprintf(line, sizeof line, "%.4f%s%.6f", t, separator.c_str(),
                      3 + 10 * std::sin(2 * std::numbers::pi * 50 * t + std::numbers::pi / 6));
        std::string row = line;
        if (decimalComma) std::replace(row.begin(), row.end(), '.', ',');
        text += row + end;
    }
    return text;
}

TEST_F(FourierCommand, SpreadsheetDialectsReadAlike) {
    const struct {
        const char* name;
        std::string text;
        std::string options;
    } cases[] = {
        {"points", Samples(",", false, "\n"), ""},
        {"decimal comma", Samples(";", true, "\n"), ""},
        {"tab", Samples("\t", false, "\n"), ""},
        {"tab, decimal comma", Samples("\t", true, "\n"), ""},
        {"BOM, CR LF", "\xEF\xBB\xBF" + Samples(";", true, "\r\n"), ""},
        {"CR", Samples(",", false, "\r"), ""},
        {"told", Samples(";", true, "\n"), "--separator ';'"},
        {"told tab", Samples("\t", true, "\n"), "--separator tab"},
    };
    double reference = 0;
    for (const auto& c : cases) {
        const Outcome run = Kv("spectrum - --column u --rate 10000 --f 0:100:50 --json " + c.options, c.text);
        ASSERT_EQ(run.status, 0) << c.name << ": " << run.err;
        const auto components = nlohmann::json::parse(run.out)["components"];
        ASSERT_EQ(components.size(), 3u) << c.name;
        const double amplitude = components[1]["amplitude"].get<double>();
        if (reference == 0) reference = amplitude;
        EXPECT_EQ(amplitude, reference) << c.name;
        EXPECT_NEAR(components[0]["amplitude"].get<double>(), 3, 1e-6) << c.name;
    }
    EXPECT_NEAR(reference, 10, 1e-5);
}

TEST_F(FourierCommand, AmplitudesAndPhasesAreWhatTheHeaderSays) {
    // Started at t0 = 5 ms, a quarter period on: the phase is still the sine's at t = 0.
    const std::string samples = Samples(",", false, "\n", 0.005);
    const auto peak = nlohmann::json::parse(Kv("spectrum - --column u --rate 10000 --t0 0.005 --f 0:50:50 --json", samples).out);
    const auto rms = nlohmann::json::parse(Kv("spectrum - --column u --rate 10000 --t0 0.005 --f 0:50:50 --json --rms", samples).out);
    EXPECT_EQ(peak["amplitude"], "peak");
    EXPECT_EQ(rms["amplitude"], "rms");
    EXPECT_NE(peak["phase"].get<std::string>().find("at t = 0 s"), std::string::npos);
    EXPECT_NEAR(peak["components"][1]["phase"].get<double>(), 30, 1e-6);
    EXPECT_EQ(rms["components"][1]["amplitude"].get<double>(), peak["components"][1]["amplitude"].get<double>() / std::sqrt(2.0));
    // Direct current is its own RMS value.
    EXPECT_EQ(rms["components"][0]["amplitude"], peak["components"][0]["amplitude"]);

    const Outcome table = Kv("spectrum - --column u --rate 10000 --t0 0.005 --f 50 --rms -o " + (dir / "out.txt").string(), samples);
    ASSERT_EQ(table.status, 0) << table.err;
    EXPECT_TRUE(table.out.empty());
    EXPECT_NE(Slurp(dir / "out.txt").find("amplitude: RMS; phase: of the sine"), std::string::npos);
}

TEST_F(FourierCommand, MistakesEndTheRunWithOneLine) {
    const auto write = [&](const char* name, const std::string& text) {
        std::ofstream(dir / name, std::ios::binary) << text;
        return (dir / name).string() + " --rate 100";
    };
    std::ofstream(dir / "good.csv") << Samples(",", false, "\n");
    const std::string good = (dir / "good.csv").string();
    const struct {
        std::string args;
        std::string message;
    } cases[] = {
        {good + " --rate nan", "kvdata: --rate: 'nan' is not a number"},
        {good + " --rate 0", "kvdata: --rate: the sampling rate must be above 0 Hz"},
        {good + " --rate -10000", "kvdata: --rate: the sampling rate must be above 0 Hz"},
        {good + " --t1 inf", "kvdata: --t1: 'inf' is not a number"},
        {good + " --t0 0.02 --t1 0.02", "kvdata: --t1: the window must end after it starts"},
        {good + " --t0 0.02 --t1 0.01", "kvdata: --t1: the window must end after it starts"},
        {good + " --t1 0.02 --rate 10000", "kvdata: give --t1 or --rate, not both"},
        {good + " --rate 1e-320", "has no usable length"},
        {good + " --rate 10000 --f -50", "kvdata: --f: '-50' has a negative frequency"},
        {good + " --rate 10000 --f 50:-50:-50", "kvdata: --f: '50:-50:-50' has a negative frequency"},
        {good + " --rate 10000 --f inf", "kvdata: --f: 'inf' is not a number"},
        {good + " --rate 10000 --f 4000:6000:1000", "kvdata: --f: 6000 Hz is above 5000 Hz, half the sampling rate of 10000 Hz"},
        {good + " --t1 0.04 --f 2600", "kvdata: --f: 2600 Hz is above 2500 Hz"},
        {write("empty.csv", "\xEF\xBB\xBF\r\n"), "empty.csv: the file is empty"},
        {write("abc.csv", "t;u\n0;1,5\n1;2,5\n2;abc\n"), "abc.csv:4: column 2: 'abc' is not a number"},
        {write("point.csv", "t,u\n0,\"1,5\"\n"), "point.csv:2: column 2: '1,5' is not a number"},
        {write("semi.csv", "t;u\n0;1,5\n1;2,5\n2,5\n"), "semi.csv:4: fields separated by ',', but the file's by ';' (from line 1)"},
        {write("comma.csv", "t,u\n0,1.5\n1;2,5\n"), "comma.csv:3: fields separated by ';', but the file's by ','"},
        {write("tab.csv", "t\tu\n0\t1,5\n1;2,5\n"), "tab.csv:3: fields separated by ';', but the file's by tab"},
        {write("both.csv", "1,5\n2,5\n"), "give --separator ',' if these are two columns, or --separator ';'"},
    };
    for (const auto& c : cases) {
        const Outcome run = Kv("spectrum --column 2 " + c.args);
        EXPECT_EQ(run.status, 1) << c.args;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.args << " said: " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << c.args;
        EXPECT_TRUE(run.out.empty()) << c.args;
    }
}

TEST_F(FourierCommand, JunkIsNamedNotEchoed) {
    for (const std::string& junk : {std::string("1\0\0\x01", 4), std::string("\x1b[2J"), std::string("\xCD\xE0"),
                                   std::string("\xED\xA0\x80")}) {
        const Outcome run = Kv("spectrum - --rate 100", "u\n1\n" + junk + "\n");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err.rfind("kvdata: standard input:3: ", 0), 0u) << run.err;
        for (const char byte : junk)
            if (static_cast<unsigned char>(byte) < 0x20 || static_cast<unsigned char>(byte) >= 0x7F) {
                EXPECT_EQ(run.err.find(byte), std::string::npos) << run.err;
            }
    }
}

}  // namespace
