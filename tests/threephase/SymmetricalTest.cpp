#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"

namespace {

using kv::CValueIU;

constexpr unsigned short kCurrents = 1;
constexpr unsigned short kVoltages = 2;
constexpr unsigned short kBoth = 3;

// The degree factor of these routines, and the one they must not use.
constexpr double kLiteral = 0.01745329251994;
const double kComputed = 3.141592653589793 / 180;
// What is left of a balanced set of unit magnitude in the sequences it does not contain.
constexpr double kResidue = 1e-12;

// Every test starts from the library's defaults and leaves the globals as it found them.
class Symmetrical : public ::testing::Test {
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

bool SameBits(const CValueIU& a, const CValueIU& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// The weighted sum written out independently, with a choice of factor and term order,
// so that a test can show its input tells the right choice from the wrong one.
struct Term {
    double m, fi, shift;
};
struct Sum {
    double m, fi;
};
Sum Reference(Term t0, Term t1, Term t2, double factor, bool reversed) {
    const auto cx = [factor](Term t) { return t.m * std::cos((t.fi + t.shift) * factor); };
    const auto cy = [factor](Term t) { return t.m * std::sin((t.fi + t.shift) * factor); };
    const double x = reversed ? cx(t2) + cx(t1) + cx(t0) : cx(t0) + cx(t1) + cx(t2);
    const double y = reversed ? cy(t2) + cy(t1) + cy(t0) : cy(t0) + cy(t1) + cy(t2);
    return {std::sqrt(x * x + y * y), kv::AbsAngleGr(std::atan2(y, x) / factor)};
}

// ---- FazToSim ----

TEST_F(Symmetrical, BalancedPositiveSetIsPurePositiveSequence) {
    CValueIU v(1, 1, 1, 0, 240, 120, 57.735, 57.735, 57.735, 30, 270, 150);
    EXPECT_EQ(kv::FazToSim(v, kBoth), 1);
    ExpectPhasor(v.dI[0], v.dFiI[0], 1, 0);
    // The literal factor turns 240 degrees into 4.18879020478560 rad, 8e-13 short of
    // 4/3 pi, so the residues are of that order rather than of the last digit.
    EXPECT_LT(v.dI[1], kResidue);
    EXPECT_LT(v.dI[2], kResidue);
    ExpectPhasor(v.dU[0], v.dFiU[0], 57.735, 30, 1e-11);
    EXPECT_LT(v.dU[1], 57.735 * kResidue);
    EXPECT_LT(v.dU[2], 57.735 * kResidue);
}

TEST_F(Symmetrical, BalancedNegativeSetIsPureNegativeSequence) {
    CValueIU v(2, 2, 2, 10, 130, 250);
    EXPECT_EQ(kv::FazToSim(v, kCurrents), 1);
    EXPECT_LT(v.dI[0], 2 * kResidue);
    ExpectPhasor(v.dI[1], v.dFiI[1], 2, 10);
    EXPECT_LT(v.dI[2], 2 * kResidue);
}

TEST_F(Symmetrical, SinglePhaseSplitsIntoThreeEqualComponents) {
    CValueIU v(1, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(v, kCurrents), 1);
    for (int k = 0; k < 3; ++k) ExpectPhasor(v.dI[k], v.dFiI[k], 1.0 / 3, 0);

    kv::glob_bArm = 1;  // 3I0: only the zero sequence is left undivided
    CValueIU arm(1, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(arm, kCurrents), 1);
    ExpectPhasor(arm.dI[0], arm.dFiI[0], 1.0 / 3, 0);
    ExpectPhasor(arm.dI[1], arm.dFiI[1], 1.0 / 3, 0);
    ExpectPhasor(arm.dI[2], arm.dFiI[2], 1, 0);
}

TEST_F(Symmetrical, UsesTheLiteralDegreeFactorAndTheListedTermOrder) {
    const double m[3] = {0.1, 0.3, 1.3};
    const double fi[3] = {3, 118.9, 251.7};
    CValueIU v(m[0], m[1], m[2], fi[0], fi[1], fi[2]);
    ASSERT_EQ(kv::FazToSim(v, kCurrents), 1);

    const auto expect = [&](Term t1, Term t2, double m3, double storedM, double storedFi) {
        const Term t0{m[0], fi[0], 0};
        const Sum s = Reference(t0, t1, t2, kLiteral, false);
        EXPECT_EQ(storedM, s.m / m3);
        EXPECT_EQ(storedFi, s.fi);
        // The input is chosen so that the other factor or order would show.
        const Sum other = Reference(t0, t1, t2, kComputed, false);
        const Sum reversed = Reference(t0, t1, t2, kLiteral, true);
        EXPECT_TRUE(other.m != s.m || other.fi != s.fi);
        EXPECT_TRUE(reversed.m != s.m || reversed.fi != s.fi);
    };
    expect({m[1], fi[1], 120}, {m[2], fi[2], 240}, 3, v.dI[0], v.dFiI[0]);
    expect({m[1], fi[1], 240}, {m[2], fi[2], 120}, 3, v.dI[1], v.dFiI[1]);
    expect({m[1], fi[1], 0}, {m[2], fi[2], 0}, 3, v.dI[2], v.dFiI[2]);
}

TEST_F(Symmetrical, AnglesAreThoseOfAtan2WhenAbsAngleIsOff) {
    CValueIU folded(0, 0, 0, 0, 0, 0, 3, 0, 0, -90, 0, 0);
    EXPECT_EQ(kv::FazToSim(folded, kVoltages), 1);
    EXPECT_NEAR(folded.dFiU[0], 270, 1e-9);

    kv::glob_bEnableAbsAngle = 0;
    CValueIU raw(0, 0, 0, 0, 0, 0, 3, 0, 0, -90, 0, 0);
    EXPECT_EQ(kv::FazToSim(raw, kVoltages), 1);
    for (int k = 0; k < 3; ++k) ExpectPhasor(raw.dU[k], raw.dFiU[k], 1, -90);

    CValueIU phases(0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(phases, kVoltages), 1);
    EXPECT_NEAR(phases.dFiU[1], -120, 1e-9);  // not 240
    EXPECT_NEAR(phases.dFiU[2], 120, 1e-9);
}

// ---- SimToFaz ----

TEST_F(Symmetrical, PositiveSequenceGivesABalancedStarInPhaseOrder) {
    CValueIU v(1, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(v, kCurrents), 1);
    ExpectPhasor(v.dI[0], v.dFiI[0], 1, 0);
    ExpectPhasor(v.dI[1], v.dFiI[1], 1, 240);
    ExpectPhasor(v.dI[2], v.dFiI[2], 1, 120);

    CValueIU negative(0, 1, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(negative, kCurrents), 1);
    ExpectPhasor(negative.dI[1], negative.dFiI[1], 1, 120);
    ExpectPhasor(negative.dI[2], negative.dFiI[2], 1, 240);
}

TEST_F(Symmetrical, RoundTripRestoresThePhases) {
    for (const int arm : {0, 1}) {
        SCOPED_TRACE(arm);
        kv::glob_bArm = arm;
        const CValueIU phases(3, 1.5, 4, 20, 200, 95, 57, 63, 49, 10, 250, 130);
        CValueIU v = phases;
        EXPECT_EQ(kv::FazToSim(v, kBoth), 1);
        EXPECT_EQ(kv::SimToFaz(v, kBoth), 1);
        for (int k = 0; k < 3; ++k) {
            ExpectPhasor(v.dI[k], v.dFiI[k], phases.dI[k], phases.dFiI[k], 1e-10);
            ExpectPhasor(v.dU[k], v.dFiU[k], phases.dU[k], phases.dFiU[k], 1e-10);
        }
    }
}

TEST_F(Symmetrical, ArmDivisionActsOnBothWorkingCopiesNotOnTheRecord) {
    kv::glob_bArm = 1;
    // Zero sequence alone: 3I0 = 3 gives I0 = 1 in every phase; the voltages' 3U0 = 150
    // is not converted and stays in the record as it stands.
    CValueIU v(0, 0, 3, 0, 0, 40, 0, 0, 150, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(v, kCurrents), 0);  // 150 V in slot 2 is over globUmax
    for (int k = 0; k < 3; ++k) ExpectPhasor(v.dI[k], v.dFiI[k], 1, 40);
    EXPECT_EQ(v.dU[2], 150);

    CValueIU both(0, 0, 3, 0, 0, 40, 0, 0, 150, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(both, kBoth), 1);
    for (int k = 0; k < 3; ++k) ExpectPhasor(both.dU[k], both.dFiU[k], 50, 0, 1e-12);

    CValueIU unchanged(0, 0, 3, 0, 0, 40, 0, 0, 150, 0, 0, 0);
    const CValueIU before = unchanged;
    EXPECT_EQ(kv::SimToFaz(unchanged, 0), 0);
    EXPECT_TRUE(SameBits(unchanged, before));
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

    CValueIU phases(20.00005, 20.00005, 20.00005, 0, 240, 120);
    EXPECT_EQ(kv::FazToSim(phases, kCurrents), 0);
    EXPECT_NEAR(phases.dI[0], 20.00005, 1e-9);
    EXPECT_LT(phases.dI[1], 20 * kResidue);

    CValueIU volts(0, 0, 0, 0, 0, 0, 120.00005, 120.00005, 120.00005, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(volts, kVoltages), 0);
    EXPECT_NEAR(volts.dU[2], 120.00005, 1e-9);
}

TEST_F(Symmetrical, BothGroupsAreCheckedWhateverTheMask) {
    CValueIU v(1, 0, 0, 0, 0, 0, 130, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(v, kCurrents), 0);
    ExpectPhasor(v.dI[2], v.dFiI[2], 1.0 / 3, 0);
    EXPECT_EQ(v.dU[0], 130);

    const unsigned short noGroup[] = {0, 4, 0xFFFC};  // neither bit 0 nor bit 1
    for (const unsigned short mask : noGroup) {
        SCOPED_TRACE(mask);
        CValueIU over(1, 0, 0, 0, 0, 0, 130, 0, 0, 0, 0, 0);
        const CValueIU before = over;
        EXPECT_EQ(kv::FazToSim(over, mask), 0);
        EXPECT_EQ(kv::SimToFaz(over, mask), 0);
        EXPECT_TRUE(SameBits(over, before));
        CValueIU fine(1, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0);
        EXPECT_EQ(kv::FazToSim(fine, mask), 1);
    }
}

TEST_F(Symmetrical, NotANumberDoesNotFailTheCheck) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    CValueIU v(1, 0, 0, 0, 0, 0, nan, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(v, kCurrents), 1);
    EXPECT_EQ(kv::FazToSim(v, kVoltages), 1);
    EXPECT_TRUE(std::isnan(v.dU[0]));
}

TEST_F(Symmetrical, CheckSubtractsItsMarginThenCompares) {
    EXPECT_EQ(kv::UcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.999), 1);
    EXPECT_EQ(kv::UcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.998), 0);
    EXPECT_EQ(kv::IcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.999), 1);
    EXPECT_EQ(kv::IcheckSimToFaz(100, 0, 0, 0, 0, 0, 99.998), 0);

    // Positive 1 at 0 and negative 1 at 120 give A = 1, B = 2, C = 1: only B fails.
    EXPECT_EQ(kv::UcheckSimToFaz(1, 0, 1, 120, 0, 0, 1.5), 0);
    EXPECT_EQ(kv::UcheckSimToFaz(1, 0, 1, 120, 0, 0, 1.999), 1);
    // The zero sequence is taken as it stands, 3U0 or not.
    kv::glob_bArm = 1;
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
    for (int k = 0; k < 3; ++k) ExpectPhasor(v.dSimI[k], v.dSimFiI[k], 1, 0);
    ExpectPhasor(v.dSimU[0], v.dSimFiU[0], 57.735, 10, 1e-11);

    // Components with no rounding residues, so that every angle on the way back is defined.
    v.dSimU[1] = 20;
    v.dSimFiU[1] = 75;
    v.dSimU[2] = 5;
    v.dSimFiU[2] = 300;

    v.dI[0] = 99;
    v.dFiU[1] = 99;
    const CValueIU components = v;
    EXPECT_EQ(kv::SimToFazAnotherFields(v), 1);
    EXPECT_TRUE(std::memcmp(v.dSimI, components.dSimI, 12 * sizeof(double)) == 0);
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(v.dI[k], phases.dI[k], 1e-12);
    EXPECT_NEAR(v.dFiI[0], 0, 1e-9);
    // 57.735 at 10, 20 at 75 and 5 at 300, summed by hand; U0 is not divided by 3.
    EXPECT_NEAR(v.dU[0], 69.2124903, 1e-6);
    EXPECT_NEAR(v.dFiU[0], 21.1867085, 1e-6);
    EXPECT_NEAR(v.dU[1], 73.5003215, 1e-6);
    EXPECT_NEAR(v.dFiU[1], 240.1664838, 1e-6);
    EXPECT_NEAR(v.dU[2], 32.8987021, 1e-6);
    EXPECT_NEAR(v.dFiU[2], 128.4761558, 1e-6);
}

TEST_F(Symmetrical, AnotherFieldsCheckWithoutMargin) {
    CValueIU phases(20.00005, 20.00005, 20.00005, 0, 240, 120);
    EXPECT_EQ(kv::FazToSimAnotherFields(phases), 0);
    EXPECT_NEAR(phases.dSimI[0], 20.00005, 1e-9);

    CValueIU components;
    components.dSimU[0] = 120.00005;
    EXPECT_EQ(kv::SimToFazAnotherFields(components), 0);
    EXPECT_NEAR(components.dU[1], 120.00005, 1e-9);
}

}  // namespace
