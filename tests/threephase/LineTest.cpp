#include <gtest/gtest.h>

#include <cmath>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"

namespace {

using kv::CValueIU;

constexpr unsigned short kCurrents = 1;
constexpr unsigned short kVoltages = 2;
constexpr unsigned short kBoth = 3;

class Line : public ::testing::Test {
protected:
    void SetUp() override {
        kv::globImax = 20.0;
        kv::globUmax = 120.0;
        kv::glob_bArm = 0;
        kv::glob_bEnableAbsAngle = 1;
    }
    void TearDown() override {
        kv::globImax = savedImax;
        kv::globUmax = savedUmax;
        kv::glob_bArm = savedArm;
        kv::glob_bEnableAbsAngle = savedAbsAngle;
    }

private:
    double savedImax = kv::globImax;
    double savedUmax = kv::globUmax;
    int savedArm = kv::glob_bArm;
    int savedAbsAngle = kv::glob_bEnableAbsAngle;
};

void ExpectPhasor(double m, double fi, double expectedM, double expectedFi, double tol = 1e-12) {
    EXPECT_NEAR(m, expectedM, tol);
    EXPECT_NEAR(fi, expectedFi, 1e-9);
}

TEST_F(Line, BalancedStarGivesLineVoltagesInOrderABBCCA) {
    CValueIU v(0, 0, 0, 0, 0, 0, 57.735, 57.735, 57.735, 0, 240, 120);
    EXPECT_EQ(kv::FazToLin(v, kVoltages), 1);
    ExpectPhasor(v.dU[0], v.dFiU[0], 100, 30, 1e-3);
    ExpectPhasor(v.dU[1], v.dFiU[1], 100, 270, 1e-3);
    ExpectPhasor(v.dU[2], v.dFiU[2], 100, 150, 1e-3);
}

TEST_F(Line, AnglesAreOfTheForwardDifference) {
    CValueIU v(1, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(v, kCurrents), 1);
    EXPECT_EQ(v.dI[0], 1);
    EXPECT_EQ(v.dFiI[0], 0);  // A - B, not B - A at 180
    EXPECT_EQ(v.dI[1], 0);
    EXPECT_EQ(v.dFiI[1], 0);  // atan2(0, 0)
    EXPECT_EQ(v.dI[2], 1);
    EXPECT_DOUBLE_EQ(v.dFiI[2], 180);
}

TEST_F(Line, UsesTheComputedDegreeFactor) {
    const double toRad = 3.141592653589793 / 180;
    const double toDeg = 180 / 3.141592653589793;
    const double literal = 0.01745329251994;
    CValueIU v(1, 0, 0, 3, 0, 0);
    EXPECT_EQ(kv::FazToLin(v, kCurrents), 1);
    const double expected = std::atan2(std::sin(3 * toRad), std::cos(3 * toRad)) * toDeg;
    EXPECT_EQ(v.dFiI[0], expected);
    // 3 degrees is one of the angles where the literal would leave other last digits.
    EXPECT_NE(std::atan2(std::sin(3 * literal), std::cos(3 * literal)) / literal, expected);
}

TEST_F(Line, AnglesAreThoseOfAtan2WhenAbsAngleIsOff) {
    CValueIU folded(1, 0, 0, -90, 0, 0);
    EXPECT_EQ(kv::FazToLin(folded, kCurrents), 1);
    EXPECT_NEAR(folded.dFiI[0], 270, 1e-9);

    kv::glob_bEnableAbsAngle = 0;
    CValueIU raw(1, 0, 0, -90, 0, 0);
    EXPECT_EQ(kv::FazToLin(raw, kCurrents), 1);
    EXPECT_NEAR(raw.dFiI[0], -90, 1e-9);
    EXPECT_NEAR(raw.dFiI[2], 90, 1e-9);
}

TEST_F(Line, LimitsCoverBothGroupsWithoutMargin) {
    kv::globImax = 1.5;
    CValueIU currents(1, 1, 0, 0, 180, 0);
    EXPECT_EQ(kv::FazToLin(currents, kCurrents), 0);
    ExpectPhasor(currents.dI[0], currents.dFiI[0], 2, 0);  // the line values stay

    CValueIU volts(0, 0, 0, 0, 0, 0, 100, 100, 100, 0, 240, 120);
    EXPECT_EQ(kv::FazToLin(volts, kVoltages), 0);  // 173 V over 120
    EXPECT_NEAR(volts.dU[0], 173.205, 1e-3);

    // Currents alone converted, the voltages checked as they stand.
    CValueIU mixed(1, 0, 0, 0, 0, 0, 130, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(mixed, kCurrents), 0);
    EXPECT_EQ(mixed.dU[0], 130);
    EXPECT_NEAR(mixed.dFiI[2], 180, 1e-9);

    CValueIU none(1, 0, 0, 0, 0, 0, 130, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(none, 0), 0);
    EXPECT_EQ(none.dI[0], 1);

    kv::globImax = 20;  // AB = 20.00005 exactly: over, where SimToFaz's margin would pass it
    CValueIU justOver(20.00005, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(justOver, kCurrents), 0);
    EXPECT_EQ(justOver.dI[0], 20.00005);
}

TEST_F(Line, SimToLinGoesThroughPhasesAndReportsEitherExcess) {
    CValueIU v(0, 0, 0, 0, 0, 0, 57.735, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToLin(v, kBoth), 1);
    ExpectPhasor(v.dU[0], v.dFiU[0], 100, 30, 1e-3);
    ExpectPhasor(v.dU[1], v.dFiU[1], 100, 270, 1e-3);
    ExpectPhasor(v.dU[2], v.dFiU[2], 100, 150, 1e-3);

    // I0 = 25 A is over the phase limit; the line currents it leaves are 0.
    CValueIU zero(0, 0, 25, 0, 0, 0);
    EXPECT_EQ(kv::SimToLin(zero, kCurrents), 0);
    for (const double m : zero.dI) EXPECT_NEAR(m, 0, 1e-12);

    kv::glob_bArm = 1;  // 3I0 = 25 A: 8.33 A a phase, within the limit
    CValueIU arm(0, 0, 25, 0, 0, 0);
    EXPECT_EQ(kv::SimToLin(arm, kCurrents), 1);
}

}  // namespace
