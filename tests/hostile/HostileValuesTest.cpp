// The in-band results of NaN, infinities, signed zeros, denormals, ±1e308 and the
// extreme int codes. That every routine completes on them, under the sanitizers, is the
// fuzz targets' part: their seed files hold these same values.
#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <tuple>

#include "Kv_Data.h"

namespace {

using kv::CValueIU;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDenorm = std::numeric_limits<double>::denorm_min();
constexpr double kHostile[] = {kNaN, kInf, -kInf, 0.0, -0.0, kDenorm, -kDenorm, 1e308, -1e308};

bool Same(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }
bool Tiny(double x) { return x == 0.0 || std::fabs(x) == kDenorm; }
CValueIU All(double x) { return CValueIU(x, x, x, x, x, x, x, x, x, x, x, x); }

// The limits and switches that the transforms and the synthesis read, at their start-up
// values whatever an earlier test left.
class Hostile : public ::testing::Test {
protected:
    void SetUp() override {
        kv::globUmax = 120, kv::globImax = 20, kv::cst58V = 57.735026918962575;
        kv::cstUmax100 = 100, kv::cst173V = 207.9, kv::glob_bEnableAbsAngle = 1, kv::glob_bArm = 0;
    }
};

TEST_F(Hostile, RoundingSaturatesAndClamps) {
    for (const auto& [x, rounded, single] : {std::tuple{kInf, INT_MAX, 1e35f}, {-kInf, INT_MIN, -1e35f},
                                              {-0.0, 0, 1e-35f}, {-kDenorm, 0, -1e-35f}}) {  // -0 >= 0: the positive clamp
        EXPECT_TRUE(kv::round(x) == rounded && kv::round(static_cast<float>(x)) == rounded) << x;
        EXPECT_EQ(kv::roundshort(x), rounded == 0 ? 0 : rounded > 0 ? 32767 : -32768) << x;
        EXPECT_EQ(kv::DoubleToFloat(x), single) << x;
    }
    EXPECT_TRUE(std::isnan(kv::DoubleToFloat(kNaN)));
    for (const double x : kHostile) {
        // Through the C library's text and back: special values survive, denormals
        // print as (signed) zero.
        for (const int decimals : {2, INT_MIN}) {
            const double back = kv::dRound(x, decimals);
            const double expected = std::fabs(x) == kDenorm ? std::copysign(0.0, x) : x;
            EXPECT_TRUE(std::isnan(x) ? std::isnan(back) : Same(back, expected)) << x << " " << decimals;
        }
        // Values below 1e-8 in magnitude round to 0 whatever the step.
        for (const double step : kHostile) EXPECT_TRUE(!Tiny(x) || kv::dDivRound(x, step) == 0.0) << x << " " << step;
    }
}

TEST_F(Hostile, ThreePhaseTransformsAndTheStateObject) {
    // A NaN magnitude never fails a limit check.
    for (const auto transform : {kv::FazToSim, kv::SimToFaz, kv::FazToLin, kv::SimToLin}) {
        CValueIU v = All(kNaN);
        EXPECT_EQ(transform(v, 3), 1);
    }
    // Phase A at 1e308: the sum of squares overflows (no hypot), so the component is
    // infinite and over the limit; the line value, through hypot, stays 1e308.
    CValueIU v(0, 0, 0, 0, 0, 0, 1e308, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(v, 2), 0);
    EXPECT_EQ(v.dU[0], kInf);
    v = CValueIU(0, 0, 0, 0, 0, 0, 1e308, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(v, 2), 0);
    EXPECT_EQ(v.dU[0], 1e308);

    const struct {
        double m1, limit;
        int within;
    } checks[] = {{kNaN, 1, 1}, {1, kNaN, 1}, {0, -kInf, 0}, {1e308, 1e308, 0}, {kInf, kInf, 1}, {-kInf, 0, 0}};
    for (const auto& c : checks) {
        EXPECT_EQ(kv::UcheckSimToFaz(c.m1, 0, 0, 0, 0, 0, c.limit), c.within) << c.m1 << " " << c.limit;
        EXPECT_EQ(kv::IcheckSimToFaz(c.m1, 0, 0, 0, 0, 0, c.limit), c.within) << c.m1 << " " << c.limit;
    }

    // In its own representation a record is stored as given.
    const auto state = std::make_unique<kv::KavorState>();  // several pages: on the heap
    for (const double x : kHostile)
        for (const kv::WORD current : std::initializer_list<kv::WORD>{0x00, 0x11, 0x44, 0x77, 0xFFFF}) {
            state->m_wValueMode = current;
            state->SetValue3(All(x), current);
            for (int k = 0; k < 3; ++k) EXPECT_TRUE(Same(state->m_Value3.dI[k], x) && Same(state->m_Value3.dFiU[k], x));
        }
    const kv::DWORD savedType = kv::glob_dwKavorType;
    for (const kv::DWORD type : {0U, 24U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        kv::glob_dwKavorType = type;
        EXPECT_EQ(kv::SetConstantsFromKavorType(), 1);
    }
    kv::glob_dwKavorType = savedType;
}

// A current is reported, never limited; a voltage is limited; negative magnitudes count
// as 0; NaN exceeds no limit; an infinite angle folds to 0.
TEST_F(Hostile, SynthesisOfHostileMagnitudesAndAngles) {
    const struct {
        bool voltage;
        int code;
        double x, phi;
        int result;
        double m;
    } rows[] = {{false, 0, kInf, 0, 2, kInf}, {false, 0, -kInf, 0, 0, 0.0}, {false, 0, kNaN, 0, 0, kNaN},
                {true, 0, kInf, 0, 1, 120},   {true, 3, 1e308, kInf, 1, 120}, {true, 0, -kInf, 0, 0, 0.0}};
    double m = 0, f = 0, unused = 0;
    for (const auto& c : rows) {
        f = -1;
        EXPECT_EQ((c.voltage ? kv::SetUFaza : kv::SetIFaza)(c.code, c.x, c.phi, m, f, unused, unused, unused, unused),
                  c.result) << c.x;
        EXPECT_TRUE((std::isnan(c.m) ? std::isnan(m) : m == c.m) && f == 0.0) << c.x;
    }
    // From 500 V nominal up, single-phase faults are not limited.
    double o[12];
    EXPECT_EQ(kv::SetUIFaza(0, kInf, 1, 0, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7], o[8], o[9], o[10], o[11],
                            kInf, 0, 0, 0),
              0);
    EXPECT_EQ(o[0], kInf);
}

// Counts that the routines turn into work (decimals, digits, widths): the result does
// not depend on them beyond a few hundred, so neither does the time or memory (the
// test's time-out catches a routine that works through the whole count).
TEST(HostileCounts, HugeDecimalsDigitsAndWidths) {
    EXPECT_EQ(kv::dRound(1.5, INT_MAX), 1.5);
    EXPECT_EQ(kv::Polar(1.0, 2.0).Ang(INT_MAX), 2.0);
    EXPECT_EQ(kv::EStr(1.5, 2, INT_MIN), "");
    EXPECT_EQ(kv::EStr(1.5, INT_MAX, 0), "");
    EXPECT_EQ(kv::TRASE("x", 1.5, INT_MAX), 1);
}

}  // namespace
