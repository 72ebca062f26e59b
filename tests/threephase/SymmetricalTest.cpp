#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <thread>
#include <tuple>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"

namespace {

using kv::CValueIU;

constexpr unsigned short kCurrents = 1, kVoltages = 2, kBoth = 3;

auto Globals() { return std::tie(kv::globImax, kv::globUmax, kv::glob_bArm, kv::glob_bEnableAbsAngle); }

// Every test starts from the library's defaults and leaves the globals as it found them.
class Symmetrical : public ::testing::Test {
protected:
    void SetUp() override { Globals() = std::tuple(20.0, 120.0, 0, 1); }
    void TearDown() override { Globals() = saved; }
    std::tuple<double, double, int, int> saved = Globals();
};
class Line : public Symmetrical {};

void ExpectPhasor(double m, double fi, double expectedM, double expectedFi, double tol = 1e-12) {
    EXPECT_NEAR(m, expectedM, tol);
    EXPECT_NEAR(fi, expectedFi, 1e-9);
}

bool SameBits(const CValueIU& a, const CValueIU& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST_F(Symmetrical, OnePhaseSplitsInThreeAndWithArmTheZeroSequenceIsLeftUndivided) {
    for (const int arm : {0, 1}) {
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

TEST_F(Symmetrical, SimToFazHasAMarginTheOthersHaveNone) {
    // 0.00005 over both limits passes SimToFaz, and nothing else.
    CValueIU sequence(20.00005, 0, 0, 0, 0, 0, 120.00005, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(sequence, kBoth), 1);
    CValueIU over(20.0002, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::SimToFaz(over, kCurrents), 0);
    EXPECT_NEAR(over.dFiI[1], 240, 1e-9);  // converted all the same

    const CValueIU currents(20.00005, 20.00005, 20.00005, 0, 240, 120);
    const CValueIU voltages(0, 0, 0, 0, 0, 0, 120.00005, 120.00005, 120.00005, 0, 240, 120);
    CValueIU i = currents, u = voltages, another = currents, components;
    EXPECT_EQ(kv::FazToSim(i, kCurrents), 0);
    EXPECT_EQ(kv::FazToSim(u, kVoltages), 0);
    EXPECT_EQ(kv::FazToSimAnotherFields(another), 0);
    components.dSimU[0] = 120.00005;
    EXPECT_EQ(kv::SimToFazAnotherFields(components), 0);
}

// That a magnitude that is not a number passes every check is in the hostile-value suite.
TEST_F(Symmetrical, BothGroupsAreCheckedWhateverTheMask) {
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

TEST_F(Symmetrical, AnotherFieldsKeepPhasesAndComponentsApart) {
    kv::glob_bArm = 1;  // not consulted by either routine
    const CValueIU phases(3, 0, 0, 0, 0, 0, 57.735, 57.735, 57.735, 10, 250, 130);
    CValueIU v = phases;
    EXPECT_EQ(kv::FazToSimAnotherFields(v), 1);
    EXPECT_TRUE(std::memcmp(&v, &phases, 12 * sizeof(double)) == 0);
    for (std::size_t k = 0; k < 3; ++k) ExpectPhasor(v.dSimI[k], v.dSimFiI[k], 1, 0);
    ExpectPhasor(v.dSimU[0], v.dSimFiU[0], 57.735, 10, 1e-11);

    // Components with no rounding residues, so that every angle on the way back is defined.
    v.dSimU[1] = 20, v.dSimFiU[1] = 75, v.dSimU[2] = 5, v.dSimFiU[2] = 300;
    v.dI[0] = v.dFiU[1] = 99;
    const CValueIU components = v;
    EXPECT_EQ(kv::SimToFazAnotherFields(v), 1);
    EXPECT_TRUE(std::memcmp(v.dSimI, components.dSimI, 12 * sizeof(double)) == 0);
    ExpectPhasor(v.dI[0], v.dFiI[0], 3, 0);
    EXPECT_LT(std::fmax(v.dI[1], v.dI[2]), 1e-12);
    // 57.735 at 10, 20 at 75 and 5 at 300, summed by hand; U0 is not divided by 3.
    const double u[3][2] = {{69.2124903, 21.1867085}, {73.5003215, 240.1664838}, {32.8987021, 128.4761558}};
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_TRUE(std::fabs(v.dU[k] - u[k][0]) < 1e-6 && std::fabs(v.dFiU[k] - u[k][1]) < 1e-6) << v.dU[k];
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

// The forward transforms keep the cosines and sines of the angles they last saw: what
// they give must not depend on what was transformed before, nor on the thread.
TEST_F(Symmetrical, ForwardTransformsDoNotDependOnTheRecordBefore) {
    const CValueIU x(3, 1.5, 4, 20, 200, 95, 57, 63, 49, 10, 250, 130);
    // Phase C's angles kept, A's and B's moved; the currents' angles are x's voltages' angles.
    const CValueIU y(3, 1.5, 4, 10, 250, 95, 57, 63, 49, 11, 251, 130);
    for (int (*transform)(CValueIU&, unsigned short) : {kv::FazToSim, kv::FazToLin}) {
        CValueIU first = x, again = x, other = y, otherFresh = y;
        transform(first, kBoth);
        transform(other, kBoth);
        transform(again, kBoth);
        EXPECT_TRUE(SameBits(first, again));
        transform(otherFresh, kBoth);
        EXPECT_TRUE(SameBits(other, otherFresh));
        CValueIU elsewhere = y;
        std::thread([&] { transform(elsewhere, kBoth); }).join();
        EXPECT_TRUE(SameBits(elsewhere, otherFresh));
    }
}

}  // namespace
