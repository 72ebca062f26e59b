#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <tuple>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"

namespace {

using kv::CValueIU;

constexpr unsigned short kCurrents = 1, kVoltages = 2, kBoth = 3;

auto Globals() { return std::tie(kv::globImax, kv::globUmax, kv::glob_bArm, kv::glob_bEnableAbsAngle); }

// Every test starts from the library's defaults and leaves the globals as it found them.
class Line : public ::testing::Test {
protected:
    void SetUp() override { Globals() = std::tuple(20.0, 120.0, 0, 1); }
    void TearDown() override { Globals() = saved; }
    std::tuple<double, double, int, int> saved = Globals();
};

void ExpectPhasor(double m, double fi, double expectedM, double expectedFi, double tol = 1e-12) {
    EXPECT_NEAR(m, expectedM, tol);
    EXPECT_NEAR(fi, expectedFi, 1e-9);
}

TEST_F(Line, BalancedStarGivesLineVoltagesInOrderABBCCA) {
    // From the phases, and from the positive sequence alone by way of the phases.
    CValueIU star(0, 0, 0, 0, 0, 0, 57.735, 57.735, 57.735, 0, 240, 120);
    CValueIU positive(0, 0, 0, 0, 0, 0, 57.735, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(star, kVoltages), 1);
    EXPECT_EQ(kv::SimToLin(positive, kBoth), 1);
    for (const CValueIU* v : {&star, &positive}) {
        const double fi[3] = {30, 270, 150};
        for (std::size_t k = 0; k < 3; ++k) ExpectPhasor(v->dU[k], v->dFiU[k], 100, fi[k], 1e-3);
    }
}

TEST_F(Line, AnglesAreOfTheForwardDifferenceWithTheComputedDegreeFactor) {
    const double toRad = 3.141592653589793 / 180;
    const double expected = std::atan2(std::sin(3 * toRad), std::cos(3 * toRad)) * (180 / 3.141592653589793);
    // 3 degrees is one of the angles where the literal would leave other last digits.
    EXPECT_NE(std::atan2(std::sin(3 * 0.01745329251994), std::cos(3 * 0.01745329251994)) / 0.01745329251994,
              expected);
    for (const int absAngle : {1, 0}) {
        kv::glob_bEnableAbsAngle = absAngle;
        CValueIU v(1, 0, 0, 3, 0, 0);
        EXPECT_EQ(kv::FazToLin(v, kCurrents), 1);
        EXPECT_EQ(v.dFiI[0], expected);          // A - B, not B - A at 183
        ExpectPhasor(v.dI[1], v.dFiI[1], 0, 0);  // atan2(0, 0)
        ExpectPhasor(v.dI[2], v.dFiI[2], 1, absAngle ? 183 : -177);  // folded into one turn only if enabled
    }
}

TEST_F(Line, LimitsCoverBothGroupsWithoutMargin) {
    CValueIU volts(0, 0, 0, 0, 0, 0, 100, 100, 100, 0, 240, 120);
    EXPECT_EQ(kv::FazToLin(volts, kVoltages), 0);  // 173 V over 120
    EXPECT_NEAR(volts.dU[0], 173.205, 1e-3);

    // Currents alone converted, the voltages checked as they stand; with no group, nothing converted.
    for (const unsigned short mask : {kCurrents, static_cast<unsigned short>(0)}) {
        CValueIU mixed(1, 0, 0, 0, 0, 0, 130, 0, 0, 0, 0, 0);
        EXPECT_EQ(kv::FazToLin(mixed, mask), 0);
        EXPECT_EQ(mixed.dU[0], 130);
        EXPECT_NEAR(mixed.dFiI[2], mask ? 180 : 0, 1e-9);
    }
    // AB = 20.00005 exactly: over, where SimToFaz's margin would pass it; the line values stay.
    CValueIU justOver(20.00005, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(justOver, kCurrents), 0);
    EXPECT_EQ(justOver.dI[0], 20.00005);

    // I0 = 25 A is over the phase limit, 3I0 = 25 A only 8.33 A a phase; the line currents are 0.
    for (const int arm : {0, 1}) {
        kv::glob_bArm = arm;
        CValueIU zero(0, 0, 25, 0, 0, 0);
        EXPECT_EQ(kv::SimToLin(zero, kCurrents), arm);
        for (const double m : zero.dI) EXPECT_NEAR(m, 0, 1e-12);
    }
}

}  // namespace
