// Codes 82, 84, 101, 102 and 103 of the twelve-output synthesis, against phasor sums of
// their symmetrical components (A = 1 + 2 + 0, B = a²·1 + a·2 + 0, C = a·1 + a²·2 + 0).
#include "FaultModel.h"

namespace {

using namespace faultmodel;
using Set = std::array<Cx, 3>;

Set Phases(Cx positive, Cx negative, Cx zero) {
    const Cx a = At(1, 120);
    return {positive + negative + zero, positive * a * a + negative * a + zero, positive * a + negative * a * a + zero};
}

void ExpectSet(const Out& o, std::size_t first, const Set& expected, const char* what) {
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_GE(o[first + 2 * k], 0.0) << what << k;
        EXPECT_LT(std::abs(At(o[first + 2 * k], o[first + 2 * k + 1]) - expected[k]), 1e-9) << what << k;
    }
}

// Every stored component, phase and no-load value zero; glob_dUk 1.
class SequencePatterns : public FaultSynthesis {
protected:
    void SetUp() override {
        FaultSynthesis::SetUp();
        for (std::size_t k = 0; doubles_[k] != &kv::glob_dUk; ++k) *doubles_[k] = 0;
        kv::glob_dUk = 1;
        for (std::size_t k = 0; k < 4; ++k) *ints_[k] = 0;  // no-load mode and the selectors
    }
    static int Run(Out& o, int code, double U, double I, double phi, double Aux = -1, double AuxAngle = 0,
                   double Unom = 100) {
        return Call12(o, code, U, I, phi, Unom, Aux, AuxAngle, 0.0);
    }
};

const Set kZero = {};
Set Thirds(double i) { return {Cx(i / 3), Cx(i / 3), Cx(i / 3)}; }

TEST_F(SequencePatterns, Codes82And84And101And102) {
    Out o{};
    EXPECT_EQ(Run(o, 82, 30, 6, 20, 57.7, 10), 0);  // positive Aux ∠ AuxAngle, zero U ∠ phi
    ExpectSet(o, 6, Thirds(6), "I");
    ExpectSet(o, 0, Phases(At(57.7, 10), 0, At(10, 20)), "U");
    EXPECT_EQ(Run(o, 82, -10, 6, 15, 57.7), 0);  // a negative U: the Aux star in negative order
    EXPECT_EQ(o, (Out{57.7, 15, 57.7, 135, 57.7, 255, 2, 0, 2, 0, 2, 0}));
    for (double aux : {-1.0, -0.0001}) {  // Aux left out: voltages 0
        EXPECT_EQ(Run(o, 82, 30, 6, 20, aux), 0);
        EXPECT_EQ(o, (Out{0, 0, 0, 0, 0, 0, 2, 0, 2, 0, 2, 0}));
    }
    EXPECT_EQ(Run(o, 82, 250, 21, 0, 10), 1);  // U limited to globUmax: U0 = 40
    ExpectSet(o, 0, Phases(Cx(10), 0, Cx(40)), "U");

    EXPECT_EQ(Run(o, 84, 40, 5, 30, 3), 0);  // negative-sequence I with positive-sequence Aux
    ExpectSet(o, 6, Phases(Cx(3), Cx(5), 0), "I");
    ExpectSet(o, 0, kZero, "U");
    EXPECT_EQ(Run(o, 84, 40, 25, 30, -1), 2);  // Aux left out; the current is not limited
    ExpectSet(o, 6, Phases(0, Cx(25), 0), "I");
    EXPECT_EQ(Run(o, 101, 50, 5, 30, 2), 0);
    ExpectSet(o, 6, Phases(Cx(2), Cx(5), 0), "I");
    ExpectSet(o, 0, Phases(At(50, 30), 0, 0), "U");

    EXPECT_EQ(Run(o, 102, 10, 3, 40, 57.735), 0);  // negative-sequence U with positive Aux; phi ignored
    ExpectSet(o, 0, Phases(Cx(57.735), Cx(10), 0), "U");
    ExpectSet(o, 6, kZero, "I");
    EXPECT_EQ(Run(o, 102, 0, 0, 0, 57.735), 0);  // the healthy star
    ExpectSet(o, 0, {At(57.735, 0), At(57.735, 240), At(57.735, 120)}, "U");
}

TEST_F(SequencePatterns, UniversalFaultWithSequenceSelectors) {
    Out o{};
    kv::glob_bChangeUniversal_U_or_I = 1, kv::glob_n_U0_or_U1_or_U2 = 1;
    Run(o, 103, 30, 5, 0);  // everything else zero: the star of U
    ExpectSet(o, 0, {Cx(30), At(30, 240), At(30, 120)}, "U");
    ExpectSet(o, 6, kZero, "I");
    kv::glob_n_U0_or_U1_or_U2 = 0;
    Run(o, 103, 30, 5, 0);  // U0 = 30 / 3 / 0.8 * 1.2
    ExpectSet(o, 0, {Cx(15), Cx(15), Cx(15)}, "U");

    kv::glob_dI0 = 3, kv::glob_dI0f = 15, kv::glob_dI1 = 4, kv::glob_dI1f = 30, kv::glob_dI2 = 2;
    kv::glob_dI2f = -60, kv::glob_dU0 = 9, kv::glob_dU0f = 45, kv::glob_dU1 = 50, kv::glob_dU1f = 5;
    kv::glob_dU2 = 6, kv::glob_dU2f = 100;
    struct Case { int nU, nI, change; Cx u1, u2, u0, i1, i2, i0; };
    const Cx i1 = At(4, 30), i2 = At(2, -60), i0 = At(1, 15), u1 = At(50, 5), u2 = At(6, 100), u0 = At(3.6, 45);
    const Case cases[] = {  // U = 30, I = 6
        {0, 0, 1, u1, u2, At(15, 45), i1, i2, i0}, {1, 0, 1, At(30, 5), u2, u0, i1, i2, i0},
        {2, 1, 1, u1, At(45, 100), u0, i1, i2, i0}, {0, 0, 0, u1, u2, u0, i1, i2, At(2, 15)},
        {0, 1, 0, u1, u2, u0, At(6, 30), i2, i0}, {1, 2, 0, u1, u2, u0, i1, At(6, -60), i0},
        {0x101, 0x200, 1, At(30, 5), u2, u0, i1, i2, i0}};
    kv::glob_b_ModeNoLoad = 1;  // no effect with sequence selectors
    kv::glob_dIA_NoLoad = kv::glob_dUA_NoLoad = 99;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.nU) + " " + std::to_string(c.nI) + " " + std::to_string(c.change));
        kv::glob_n_U0_or_U1_or_U2 = c.nU, kv::glob_n_I0_or_I1_or_I2 = c.nI, kv::glob_bChangeUniversal_U_or_I = c.change;
        EXPECT_EQ(Run(o, 103, 30, 6, 77), 0);
        ExpectSet(o, 0, Phases(c.u1, c.u2, c.u0), "U");
        ExpectSet(o, 6, Phases(c.i1, c.i2, c.i0), "I");
    }
}

// Hostile stored values, magnitudes and selectors: the universal fault is always handled.
TEST_F(SequencePatterns, UniversalFaultTakesHostileValuesAndSelectors) {
    Out o{};
    for (const double x : {std::nan(""), HUGE_VAL, -HUGE_VAL, 0.0, -0.0, 5e-324, -5e-324, 1e308, -1e308})
        for (const int selector : {INT_MIN, -1, 0, 1, 2, 3, 5, 6, 255, 256, INT_MAX}) {
            for (std::size_t k = 0; doubles_[k] != &kv::glob_TT_dAngleKz; ++k) *doubles_[k] = x;
            kv::glob_n_U0_or_U1_or_U2 = selector, kv::glob_n_I0_or_I1_or_I2 = selector ^ 3;
            kv::glob_bChangeUniversal_U_or_I = selector & 1, kv::glob_b_ModeNoLoad = selector & 2;
            for (const double u : {x, 30.0}) {
                const int r = Call12(o, 103, u, x, x, x, x, x, x);
                EXPECT_TRUE(r >= 0 && r <= 2) << x << " " << selector;
            }
        }
}

TEST_F(SequencePatterns, UniversalFaultWithAPhaseSelected) {
    kv::glob_dIA = 1, kv::glob_dIAf = 10, kv::glob_dIB = 2, kv::glob_dIBf = 20, kv::glob_dIC = 3, kv::glob_dICf = 30;
    kv::glob_dUA = 50, kv::glob_dUAf = 0, kv::glob_dUB = 0, kv::glob_dUBf = 250, kv::glob_dUC = 40;
    kv::glob_dUCf = -1000;  // angle not given
    kv::glob_dIA_NoLoad = 4, kv::glob_dIAf_NoLoad = 40, kv::glob_dIB_NoLoad = 5, kv::glob_dIBf_NoLoad = 50;
    kv::glob_dIC_NoLoad = 6, kv::glob_dICf_NoLoad = 60, kv::glob_dUA_NoLoad = 30, kv::glob_dUAf_NoLoad = 7;
    kv::glob_dUB_NoLoad = 0, kv::glob_dUBf_NoLoad = 8, kv::glob_dUC_NoLoad = 0.00001, kv::glob_dUCf_NoLoad = 9;
    struct Case { int nU, nI, change, noLoad; double dUk, Unom; Out expected; };
    const double uh = 70 / 1.7320508075688772;  // Uh of the frame for U = 70 >= Unom
    const Case cases[] = {  // U = 70, I = 9, phi = 33
        {3, 0, 1, 0, 1, 100, {50, 0, 0, 250, 40, -1000, 1, 10, 2, 20, 3, 30}},
        {3, 0, 1, 0, 2, 100, {100, 0, 0, 250, 40, -1000, 1, 10, 2, 20, 3, 30}},
        {0x103, 0, 1, 0, 0.0005, 100, {50, 0, 0, 250, 40, -1000, 1, 10, 2, 20, 3, 30}},
        {4, 0, 0, 0, 1.5, 100, {50, 0, 105, 33, 40, -1000, 1, 10, 2, 20, 3, 30}},
        {5, 0, 1, 0, 1, 100, {50, 0, 0, 250, 40, 33, 1, 10, 2, 20, 3, 30}},
        {1, 4, 1, 0, 1, 100, {50, 0, 0, 250, 40, -1000, 1, 10, 9, 20, 3, 30}},
        {6, 5, 1, 0, 1, 100, {50, 0, 0, 250, 40, -1000, 1, 10, 2, 20, 9, 30}},
        {6, 7, 0, 0, 2, 100, {50, 0, 0, 250, 40, -1000, 1, 10, 2, 20, 3, 30}},
        {4, 3, 1, 1, 1, 100, {30, 7, kv::cst58V, 33, kv::cst58V, -1000, 4, 40, 5, 50, 6, 60}},
        {4, 3, 1, 1, 1, 0, {30, 7, uh, 33, uh, -1000, 4, 40, 5, 50, 6, 60}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.nU) + " " + std::to_string(c.nI) + " " + std::to_string(c.dUk));
        kv::glob_n_U0_or_U1_or_U2 = c.nU, kv::glob_n_I0_or_I1_or_I2 = c.nI;
        kv::glob_bChangeUniversal_U_or_I = c.change, kv::glob_b_ModeNoLoad = c.noLoad, kv::glob_dUk = c.dUk;
        Out o{};
        EXPECT_EQ(Run(o, 103, 70, 9, 33, -1, 0, c.Unom), 0);
        EXPECT_EQ(o, c.expected);
    }
}

}  // namespace
