#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <tuple>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"

namespace {

using kv::CValueIU;

constexpr unsigned short kCurrents = 1, kVoltages = 2, kBoth = 3;
// What is left of a balanced set of unit magnitude in the sequences it does not contain.
constexpr double kResidue = 1e-12;

auto Globals() { return std::tie(kv::globImax, kv::globUmax, kv::glob_bArm, kv::glob_bEnableAbsAngle); }

// Every test starts from the library's defaults and leaves the globals as it found them.
class Symmetrical : public ::testing::Test {
protected:
    void SetUp() override { Globals() = std::tuple(20.0, 120.0, 0, 1); }
    void TearDown() override { Globals() = saved; }
    std::tuple<double, double, int, int> saved = Globals();
};

void ExpectPhasor(double m, double fi, double expectedM, double expectedFi, double tol = 1e-12) {
    EXPECT_NEAR(m, expectedM, tol);
    EXPECT_NEAR(fi, expectedFi, 1e-9);
}

bool SameBits(const CValueIU& a, const CValueIU& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// ---- FazToSim ----

TEST_F(Symmetrical, BalancedSetIsPurePositiveSequenceAndOnePhaseSplitsInThree) {
    CValueIU v(1, 1, 1, 0, 240, 120, 57.735, 57.735, 57.735, 30, 270, 150);
    EXPECT_EQ(kv::FazToSim(v, kBoth), 1);
    ExpectPhasor(v.dI[0], v.dFiI[0], 1, 0);
    // The literal factor turns 240 degrees into 4.18879020478560 rad, 8e-13 short of
    // 4/3 pi, so the residues are of that order rather than of the last digit.
    EXPECT_LT(std::fmax(v.dI[1], v.dI[2]), kResidue);
    ExpectPhasor(v.dU[0], v.dFiU[0], 57.735, 30, 1e-11);
    EXPECT_LT(std::fmax(v.dU[1], v.dU[2]), 57.735 * kResidue);

    for (const int arm : {0, 1}) {  // with 3I0 only the zero sequence is left undivided
        kv::glob_bArm = arm;
        CValueIU one(1, 0, 0, 0, 0, 0);
        EXPECT_EQ(kv::FazToSim(one, kCurrents), 1);
        for (std::size_t k = 0; k < 3; ++k) ExpectPhasor(one.dI[k], one.dFiI[k], k == 2 && arm ? 1 : 1.0 / 3, 0);
    }
}

TEST_F(Symmetrical, UsesTheLiteralDegreeFactorAndTheListedTermOrder) {
    const double m[3] = {0.1, 0.3, 1.3};
    const double fi[3] = {3, 118.9, 251.7};
    CValueIU v(m[0], m[1], m[2], fi[0], fi[1], fi[2]);
    ASSERT_EQ(kv::FazToSim(v, kCurrents), 1);
    // The weighted sum written out with a choice of factor and term order, to show the
    // input tells the right choice from the wrong one.
    const auto sum = [&](double shift1, double shift2, double factor, bool reversed) {
        double x = 0, y = 0;
        const double shifts[3] = {0, shift1, shift2};
        for (std::size_t n = 0; n < 3; ++n) {
            const std::size_t k = reversed ? 2 - n : n;
            x += m[k] * std::cos((fi[k] + shifts[k]) * factor);
            y += m[k] * std::sin((fi[k] + shifts[k]) * factor);
        }
        return std::pair(std::sqrt(x * x + y * y), kv::AbsAngleGr(std::atan2(y, x) / factor));
    };
    const double shifts[3][2] = {{120, 240}, {240, 120}, {0, 0}};
    for (std::size_t k = 0; k < 3; ++k) {
        const auto [s1, s2] = shifts[k];
        const auto expected = sum(s1, s2, 0.01745329251994, false);
        EXPECT_EQ(v.dI[k], expected.first / 3);
        EXPECT_EQ(v.dFiI[k], expected.second);
        EXPECT_NE(sum(s1, s2, 3.141592653589793 / 180, false), expected);
        EXPECT_NE(sum(s1, s2, 0.01745329251994, true), expected);
    }
}

TEST_F(Symmetrical, AnglesAreThoseOfAtan2WhenAbsAngleIsOff) {
    for (const int absAngle : {1, 0}) {
        kv::glob_bEnableAbsAngle = absAngle;
        CValueIU v(0, 0, 0, 0, 0, 0, 3, 0, 0, -90, 0, 0);
        EXPECT_EQ(kv::FazToSim(v, kVoltages), 1);
        for (std::size_t k = 0; k < 3; ++k) ExpectPhasor(v.dU[k], v.dFiU[k], 1, absAngle ? 270 : -90);
    }
    CValueIU phases(0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(phases, kVoltages), 1);
    EXPECT_NEAR(phases.dFiU[1], -120, 1e-9);  // not 240
    EXPECT_NEAR(phases.dFiU[2], 120, 1e-9);
}

// ---- SimToFaz ----

TEST_F(Symmetrical, RoundTripRestoresThePhases) {
    for (const int arm : {0, 1}) {
        kv::glob_bArm = arm;
        const CValueIU phases(3, 1.5, 4, 20, 200, 95, 57, 63, 49, 10, 250, 130);
        CValueIU v = phases;
        EXPECT_EQ(kv::FazToSim(v, kBoth), 1);
        EXPECT_EQ(kv::SimToFaz(v, kBoth), 1);
        for (std::size_t k = 0; k < 3; ++k) {
            ExpectPhasor(v.dI[k], v.dFiI[k], phases.dI[k], phases.dFiI[k], 1e-10);
            ExpectPhasor(v.dU[k], v.dFiU[k], phases.dU[k], phases.dFiU[k], 1e-10);
        }
    }
}

TEST_F(Symmetrical, ArmDivisionActsOnBothWorkingCopiesNotOnTheRecord) {
    kv::glob_bArm = 1;
    // Zero sequence alone: 3I0 = 3 gives I0 = 1 in every phase; the voltages' 3U0 = 150
    // is not converted and stays in the record as it stands.
    const CValueIU record(0, 0, 3, 0, 0, 40, 0, 0, 150, 0, 0, 0);
    CValueIU v = record, both = record, unchanged = record;
    EXPECT_EQ(kv::SimToFaz(v, kCurrents), 0);  // 150 V in slot 2 is over globUmax
    EXPECT_EQ(v.dU[2], 150);
    EXPECT_EQ(kv::SimToFaz(both, kBoth), 1);
    for (std::size_t k = 0; k < 3; ++k) {
        ExpectPhasor(v.dI[k], v.dFiI[k], 1, 40);
        ExpectPhasor(both.dU[k], both.dFiU[k], 50, 0);
    }
    EXPECT_EQ(kv::SimToFaz(unchanged, 0), 0);
    EXPECT_TRUE(SameBits(unchanged, record));
}

// ---- Limits ----

TEST_F(Symmetrical, SimToFazHasAMarginFazToSimHasNone) {
    CValueIU sequence(20.00005, 0, 0, 0, 0, 0, 120.00005, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(sequence, kBoth), 1);
    EXPECT_NEAR(sequence.dI[1], 20.00005, 1e-9);
    EXPECT_NEAR(sequence.dU[2], 120.00005, 1e-9);
    CValueIU over(20.0002, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(over, kCurrents), 0);
    EXPECT_NEAR(over.dFiI[1], 240, 1e-9);  // converted all the same

    CValueIU phases(20.00005, 20.00005, 20.00005, 0, 240, 120, 120.00005, 120.00005, 120.00005, 0, 0, 0);
    CValueIU volts = phases, another = phases;
    EXPECT_EQ(kv::FazToSim(phases, kCurrents), 0);
    EXPECT_NEAR(phases.dI[0], 20.00005, 1e-9);
    EXPECT_LT(phases.dI[1], 20 * kResidue);
    EXPECT_EQ(kv::FazToSim(volts, kVoltages), 0);
    EXPECT_NEAR(volts.dU[2], 120.00005, 1e-9);
    EXPECT_EQ(kv::FazToSimAnotherFields(another), 0);  // the sequence-block routines have none either
    EXPECT_NEAR(another.dSimI[0], 20.00005, 1e-9);
    CValueIU components;
    components.dSimU[0] = 120.00005;
    EXPECT_EQ(kv::SimToFazAnotherFields(components), 0);
    EXPECT_NEAR(components.dU[1], 120.00005, 1e-9);
}

TEST_F(Symmetrical, BothGroupsAreCheckedWhateverTheMaskAndNotANumberPasses) {
    CValueIU v(1, 0, 0, 0, 0, 0, 130, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(v, kCurrents), 0);
    ExpectPhasor(v.dI[2], v.dFiI[2], 1.0 / 3, 0);
    EXPECT_EQ(v.dU[0], 130);
    for (const int mask : {0, 4, 0xFFFC}) {  // neither bit 0 nor bit 1
        SCOPED_TRACE(mask);
        CValueIU over(1, 0, 0, 0, 0, 0, 130, 0, 0, 0, 0, 0);
        const CValueIU before = over;
        EXPECT_EQ(kv::FazToSim(over, static_cast<unsigned short>(mask)), 0);
        EXPECT_EQ(kv::SimToFaz(over, static_cast<unsigned short>(mask)), 0);
        EXPECT_TRUE(SameBits(over, before));
        CValueIU fine(1, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0);
        EXPECT_EQ(kv::FazToSim(fine, static_cast<unsigned short>(mask)), 1);
    }
    CValueIU nan(1, 0, 0, 0, 0, 0, std::numeric_limits<double>::quiet_NaN(), 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(nan, kCurrents), 1);
    EXPECT_EQ(kv::FazToSim(nan, kVoltages), 1);
    EXPECT_TRUE(std::isnan(nan.dU[0]));
}

TEST_F(Symmetrical, CheckSubtractsItsMarginThenCompares) {
    EXPECT_EQ(kv::UcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.999), 1);
    EXPECT_EQ(kv::UcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.998), 0);
    // Positive 1 at 0 and negative 1 at 120 give A = 1, B = 2, C = 1: only B fails.
    EXPECT_EQ(kv::UcheckSimToFaz(1, 0, 1, 120, 0, 0, 1.5), 0);
    EXPECT_EQ(kv::UcheckSimToFaz(1, 0, 1, 120, 0, 0, 1.999), 1);
    kv::glob_bArm = 1;  // the zero sequence is taken as it stands, 3I0 or not
    EXPECT_EQ(kv::IcheckSimToFaz(0, 0, 0, 0, 30, 0, 29.999), 1);
    EXPECT_EQ(kv::IcheckSimToFaz(0, 0, 0, 0, 30, 0, 29.998), 0);
}

// ---- The sequence block ----

TEST_F(Symmetrical, AnotherFieldsKeepPhasesAndComponentsApart) {
    kv::glob_bArm = 1;  // not consulted by either routine
    const CValueIU phases(3, 0, 0, 0, 0, 0, 57.735, 57.735, 57.735, 10, 250, 130);
    CValueIU v = phases;
    EXPECT_EQ(kv::FazToSimAnotherFields(v), 1);
    EXPECT_TRUE(std::memcmp(&v, &phases, 12 * sizeof(double)) == 0);
    for (std::size_t k = 0; k < 3; ++k) ExpectPhasor(v.dSimI[k], v.dSimFiI[k], 1, 0);
    ExpectPhasor(v.dSimU[0], v.dSimFiU[0], 57.735, 10, 1e-11);

    // Components with no rounding residues, so that every angle on the way back is defined.
    v.dSimU[1] = 20;
    v.dSimFiU[1] = 75;
    v.dSimU[2] = 5;
    v.dSimFiU[2] = 300;
    v.dI[0] = v.dFiU[1] = 99;
    const CValueIU components = v;
    EXPECT_EQ(kv::SimToFazAnotherFields(v), 1);
    EXPECT_TRUE(std::memcmp(v.dSimI, components.dSimI, 12 * sizeof(double)) == 0);
    ExpectPhasor(v.dI[0], v.dFiI[0], 3, 0);
    EXPECT_LT(std::fmax(v.dI[1], v.dI[2]), 1e-12);
    // 57.735 at 10, 20 at 75 and 5 at 300, summed by hand; U0 is not divided by 3.
    const double u[3][2] = {{69.2124903, 21.1867085}, {73.5003215, 240.1664838}, {32.8987021, 128.4761558}};
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(v.dU[k], u[k][0], 1e-6);
        EXPECT_NEAR(v.dFiU[k], u[k][1], 1e-6);
    }
}

}  // namespace
