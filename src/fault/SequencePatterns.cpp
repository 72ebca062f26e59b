// Fault patterns set up as symmetrical components and turned into phase values, and the
// universal fault, whose description the test program keeps in the exported state.

#include <array>
#include <cmath>
#include <cstddef>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"
#include "fault/Expr.h"
#include "fault/SequencePatterns.h"

namespace kv::fault {

namespace {

// Aux counts as given above this; a caller passes a negative Aux to leave it out.
constexpr double kAuxGiven = -0.0001;

constexpr Triple kZero = {cell(0, 0), cell(0, 0), cell(0, 0)};
constexpr Triple kZeroRaw = {raw(0, 0), raw(0, 0), raw(0, 0)};
constexpr Triple kThirdOfI = {cell(I / 3.0, 0), cell(I / 3.0, 0), cell(I / 3.0, 0)};
constexpr Triple kUplus = {cell(U, K(0) + Phi), cell(U, K(240) + Phi), cell(U, K(120) + Phi)};
// Code 82 with a negative U: Aux as a star in negative order.
constexpr Triple kAuxStar = {cell(Aux, K(0) + Phi), cell(Aux, K(120) + Phi), cell(Aux, K(240) + Phi)};

// The universal fault's phase set, stored and for no load, phases A, B, C.
constexpr std::array<const double*, 3> kStoredI = {&glob_dIA, &glob_dIB, &glob_dIC};
constexpr std::array<const double*, 3> kStoredIf = {&glob_dIAf, &glob_dIBf, &glob_dICf};
constexpr std::array<const double*, 3> kStoredU = {&glob_dUA, &glob_dUB, &glob_dUC};
constexpr std::array<const double*, 3> kStoredUf = {&glob_dUAf, &glob_dUBf, &glob_dUCf};
constexpr std::array<const double*, 3> kNoLoadI = {&glob_dIA_NoLoad, &glob_dIB_NoLoad, &glob_dIC_NoLoad};
constexpr std::array<const double*, 3> kNoLoadIf = {&glob_dIAf_NoLoad, &glob_dIBf_NoLoad, &glob_dICf_NoLoad};
constexpr std::array<const double*, 3> kNoLoadU = {&glob_dUA_NoLoad, &glob_dUB_NoLoad, &glob_dUC_NoLoad};
constexpr std::array<const double*, 3> kNoLoadUf = {&glob_dUAf_NoLoad, &glob_dUBf_NoLoad, &glob_dUCf_NoLoad};

// Selector values of the universal fault: 0, 1, 2 a sequence component, 3, 4, 5 a phase.
constexpr unsigned kZeroSequence = 0;
constexpr unsigned kPositiveSequence = 1;
constexpr unsigned kNegativeSequence = 2;
constexpr unsigned kPhaseA = 3;
constexpr unsigned kPhaseC = 5;

// Sequence-block slots.
constexpr std::size_t kPos = 0;
constexpr std::size_t kNeg = 1;
constexpr std::size_t kZer = 2;

// The record every pattern starts from: constructed with zeros, then cleared whole, the
// sequence block included.
void Clear(CValueIU& v) {
    for (std::size_t k = 0; k < 3; ++k) {
        v.dI[k] = 0;
        v.dFiI[k] = 0;
        v.dU[k] = 0;
        v.dFiU[k] = 0;
        v.dSimI[k] = 0;
        v.dSimFiI[k] = 0;
        v.dSimU[k] = 0;
        v.dSimFiU[k] = 0;
    }
}

// The converter's limit check is not passed on: a set beyond the device's limits reaches
// the caller as it is.
void ToPhases(CValueIU& v) { static_cast<void>(SimToFazAnotherFields(v)); }

void CurrentsFrom(const CValueIU& v, const Outputs& out) {
    for (std::size_t k = 0; k < 3; ++k) {
        *out.current[k] = v.dI[k];
        *out.currentAngle[k] = v.dFiI[k];
    }
}

void VoltagesFrom(const CValueIU& v, const Outputs& out) {
    for (std::size_t k = 0; k < 3; ++k) {
        *out.voltage[k] = v.dU[k];
        *out.voltageAngle[k] = v.dFiU[k];
    }
}

double AuxOrZero(const Work& w) { return w[Var::Aux] > kAuxGiven ? w[Var::Aux] : 0.0; }

// I2 = I and I1 = Aux, all at 0, converted to phase currents (codes 84 and 101).
CValueIU NegativeWithPositiveCurrent(const Work& w) {
    CValueIU v(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    Clear(v);
    v.dSimI[kPos] = AuxOrZero(w);
    v.dSimI[kNeg] = w[Var::I];
    v.dSimI[kZer] = 0;
    ToPhases(v);
    return v;
}

}  // namespace

void FaultU1U30I30(const Work& w, double auxAngle, const Outputs& out) {
    WriteCurrents(kThirdOfI, w, out);
    WriteVoltages(kZeroRaw, w, out);
    if (!(w[Var::Aux] > kAuxGiven)) return;
    const double u = w[Var::U];  // the one code whose U may be negative
    if (u >= 0) {
        CValueIU v(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        Clear(v);
        v.dSimU[kPos] = w[Var::Aux];
        v.dSimFiU[kPos] = AbsAngleGr(auxAngle);
        v.dSimU[kNeg] = 0;
        v.dSimFiU[kNeg] = AbsAngleGr(0.0);
        v.dSimU[kZer] = u / 3;
        v.dSimFiU[kZer] = AbsAngleGr(w[Var::Phi]);
        ToPhases(v);
        VoltagesFrom(v, out);
    } else if (u < 0) {
        WriteVoltages(kAuxStar, w, out);
    }
}

void FaultI2I1(const Work& w, const Outputs& out) {
    WriteCurrents(kZero, w, out);
    WriteVoltages(kZero, w, out);
    CurrentsFrom(NegativeWithPositiveCurrent(w), out);
}

// The currents are cleared first and written last, with the voltage star in between.
void FaultI2I1U1(const Work& w, const Outputs& out) {
    WriteCurrents(kZero, w, out);
    const CValueIU v = NegativeWithPositiveCurrent(w);
    WriteVoltages(kUplus, w, out);
    CurrentsFrom(v, out);
}

// Phi is not used: the components lie at 0.
void FaultU2U1(const Work& w, const Outputs& out) {
    WriteCurrents(kZero, w, out);
    CValueIU v(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    Clear(v);
    v.dSimU[kPos] = AuxOrZero(w);
    v.dSimU[kNeg] = w[Var::U];
    v.dSimU[kZer] = 0;
    ToPhases(v);
    VoltagesFrom(v, out);
}

// The stored zero-sequence globals hold 3I0 and 3U0. The factors 1.2 and 0.8 on the
// zero- and negative-sequence voltages are what the test programs expect.
void FaultUniversal(const Work& w, const Outputs& out) {
    const double u = w[Var::U];
    const double i = w[Var::I];
    const double phi = w[Var::Phi];
    const unsigned nU = static_cast<unsigned>(glob_n_U0_or_U1_or_U2) & 0xFFu;
    const unsigned nI = static_cast<unsigned>(glob_n_I0_or_I1_or_I2) & 0xFFu;

    CValueIU v(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    Clear(v);
    v.dSimI[kZer] = glob_dI0 / 3;
    v.dSimFiI[kZer] = glob_dI0f;
    v.dSimI[kPos] = glob_dI1;
    v.dSimFiI[kPos] = glob_dI1f;
    v.dSimI[kNeg] = glob_dI2;
    v.dSimFiI[kNeg] = glob_dI2f;
    v.dSimU[kZer] = glob_dU0 / 3 * 1.2;
    v.dSimFiU[kZer] = glob_dU0f;
    v.dSimU[kPos] = glob_dU1;
    v.dSimFiU[kPos] = glob_dU1f;
    v.dSimU[kNeg] = glob_dU2;
    v.dSimFiU[kNeg] = glob_dU2f;

    if (glob_bChangeUniversal_U_or_I != 0) {
        if (nU == kZeroSequence) v.dSimU[kZer] = u / 3 / 0.8 * 1.2;
        if (nU == kPositiveSequence) v.dSimU[kPos] = u;
        if (nU == kNegativeSequence) v.dSimU[kNeg] = u / 0.8 * 1.2;
    } else {
        if (nI == kZeroSequence) v.dSimI[kZer] = i / 3;
        if (nI == kPositiveSequence) v.dSimI[kPos] = i;
        if (nI == kNegativeSequence) v.dSimI[kNeg] = i;
    }

    if (nU <= kNegativeSequence && nI <= kNegativeSequence) {
        ToPhases(v);
        CurrentsFrom(v, out);
        VoltagesFrom(v, out);
        return;
    }

    // A phase is selected: the stored phase set, with the varied phase on top. A varied
    // current phase takes I whichever quantity the program says it varies.
    for (std::size_t k = 0; k < 3; ++k) {
        v.dI[k] = *kStoredI[k];
        v.dFiI[k] = *kStoredIf[k];
        v.dU[k] = *kStoredU[k];
        v.dFiU[k] = *kStoredUf[k];
    }
    if (nI >= kPhaseA && nI <= kPhaseC) v.dI[nI - kPhaseA] = i;
    if (nU >= kPhaseA && nU <= kPhaseC) {
        // U stands in only for a stored zero; glob_dUk scales either; an angle below
        // -999 marks "not given".
        const std::size_t k = nU - kPhaseA;
        if (std::fabs(*kStoredU[k]) < 0.0001) {
            v.dU[k] = u;
            v.dFiU[k] = phi;
        }
        if (glob_dUk > 0.001) v.dU[k] = v.dU[k] * glob_dUk;
        if (*kStoredUf[k] < -999) v.dFiU[k] = phi;
    }
    if (glob_b_ModeNoLoad != 0) {
        for (std::size_t k = 0; k < 3; ++k) {
            v.dI[k] = *kNoLoadI[k];
            v.dFiI[k] = *kNoLoadIf[k];
        }
        for (std::size_t k = 0; k < 3; ++k) {
            if (*kNoLoadU[k] > 0.00001) {
                v.dU[k] = *kNoLoadU[k];
                v.dFiU[k] = *kNoLoadUf[k];
            } else {
                v.dU[k] = w[Var::Uh];
            }
        }
    }
    CurrentsFrom(v, out);
    VoltagesFrom(v, out);
}

}  // namespace kv::fault
