#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>

#include "Kv_Data/Catalogue.h"

namespace {

constexpr double kBad = 99999999999.0;  // what EAtStr gives for a text without a number
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// "a;b;a+1;b+1;..." with `pairs` pairs: threshold i + first, tolerance i + 1.
std::string Pairs(int pairs, int first) {
    std::string text;
    for (int i = 0; i < pairs; ++i)
        text.append(i ? ";" : "").append(std::to_string(i + first)).append(";").append(std::to_string(i + 1));
    return text;
}

struct ICase { std::string table; double x; bool found; double abs; int less; double percent; };
struct TCase { std::string table; double x, t; bool found; double minus, plus; int less; double percent; };

}  // namespace

TEST(Tolerance, CurrentThresholdOpensItsRange) {
    const ICase cases[] = {
        {"0;0.05;1;5%", -1, true, 0.05, 0, 0},
        {"0;0.05;1;5%", 1, true, 0, 0, 5},
        // NaN is below no threshold: the last pair stands; infinite values read as such.
        {"0;0.05;1;5%", kNaN, true, 0, 0, 5},
        {"0;1e999", 1, true, kInf, 0, 0},
        {"0;0,05;1,5;5%", 1.49, true, 0.05, 0, 0},
        {"1;<0.1", 0, true, 0.1, 1, 0},
        {"0;<0.1;1;5%", 2, true, 0, 1, 5},  // a percent keeps the flag
        {"0;<0.1;1;0.2", 2, true, 0.2, 0, 0},
        {"0;0;1;0.2", 0.5, true, 0.2, 0, 0},
        {"0;0.05;1", 5, true, 0.05, 0, 0},
        {"0;abc", 0, true, kBad, 0, 0},
        // Found at an absolute 0.001 and above, a percent above 0.0001.
        {"0;0.001", 0, true, 0.001, 0, 0},
        {"0;0.0009", 0, false, 0.0009, 0, 0},
        {"0;0.0001%", 0, false, 0, 0, 0.0001},
        {"0;0.00011%", 0, true, 0, 0, 0.00011},
        // Empty fields stop at once with what was read so far.
        {"0;;1;0.2", 5, false, 0, 0, 0},
        {"0;0.05;", 5, false, 0.05, 0, 0},
        // Only ten pairs: thresholds 0..10, the eleventh pair (10;11) is not read.
        {Pairs(11, 0), 100, true, 10, 0, 0},
    };
    for (const ICase& c : cases) {
        SCOPED_TRACE(c.table + " at " + std::to_string(c.x));
        double abs = -7, percent = -7;
        int less = -7;  // every output is reset by the call
        const bool found = kv::GetITolerance(c.table, c.x, abs, less, percent);
        EXPECT_EQ(std::tuple(found, abs, less, percent), std::tuple(c.found, c.abs, c.less, c.percent));
    }
}

TEST(Tolerance, TimeThresholdClosesItsRangeWithSignedPercentLimits) {
    const TCase cases[] = {
        {"1;0.02;10;0.05", 1, 0, true, 0.05, 0.05, 0, 0},
        {"1;0.02;10;0.05", 20, 0, true, 0.05, 0.05, 0, 0},
        {"1;0.02;10;0.05", kNaN, 0, true, 0.05, 0.05, 0, 0},
        {"1;0.02;10;0.05", -kInf, 0, true, 0.02, 0.02, 0, 0},
        {"1;0;2;0.05", 0.5, 0, true, 0.05, 0.05, 0, 0},
        {"1;<0.02", 5, 0, true, 0.02, 0.02, 1, 0},
        // A leading "K" field is skipped; without the skip "Kx" would be a threshold.
        {"Kx;1;0.02;5;0.05", 2, 0, true, 0.05, 0.05, 0, 0},
        // Thresholds in "c" compare the time; a "c" in front does not count.
        {"1c;0.02;5c;0.05", 3, 0.5, true, 0.02, 0.02, 0, 0},
        {"c1;0.02;5;0.05", 3, 0.5, true, 0.05, 0.05, 0, 0},
        {"1;;2;0.05", 0, 0, false, 0, 0, 0, 0},
        {"1;0.02;", 5, 0, false, 0.02, 0.02, 0, 0},
        {Pairs(11, 1), 10.5, 0, true, 10, 10, 0, 0},
        // Signed percent limits: "-lower +upper percent%".
        {"5;-0.02 +0.05 10%", 1, 0, true, -0.02, 0.05, 0, 10},
        {"5;-0,02 +0,05 1,5%", 1, 0, true, -0.02, 0.05, 0, 1.5},
        // Without a "-" the lower limit comes from the "+".
        {"1;0.02;2;+0.04 5%", 1.5, 0, true, 0.04, 0.04, 0, 5},
        // Without "+" the upper limit of the previous pair stays, and so does the flag.
        {"1;0.02;2;5%", 1.5, 0, true, 0, 0.02, 0, 5},
        {"1;<0.02;2;-0.01 5%", 1.5, 0, true, -0.01, 0.02, 1, 5},
        // A sign not followed by a blank reads nothing.
        {"1;-0.03 +0.05%", 0, 0, true, -0.03, kBad, 0, 0.05},
        // A closing percent entry without a tolerance reads the limits from the whole table.
        {"1;0.02;-0.01 +0.03 7%", 5, 0, true, -0.01, 0.03, 0, 7},
        {"1;5%;-0.01 +0.03 7%", 5, 0, true, -0.01, 0.03, 0, kBad},
        // No blank: the percent is read from the start of the table, its first threshold.
        {"1;0.02;7%", 5, 0, true, 0, 0.02, 0, 1},
    };
    for (const TCase& c : cases) {
        SCOPED_TRACE(c.table + " at " + std::to_string(c.x));
        double minus = -7, plus = -7, percent = -7;
        int less = -7;
        const bool found = kv::GetTTolerance(c.table, c.x, c.t, minus, plus, less, percent);
        EXPECT_EQ(std::tuple(found, minus, plus, less, percent),
                  std::tuple(c.found, c.minus, c.plus, c.less, c.percent));
    }
}
