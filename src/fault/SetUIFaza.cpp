// The load-and-source fault synthesis: the six phasors of a fault in one call, the
// currents being the reference and the voltages turned by the fault angle against them.

#include <array>
#include <cmath>
#include <cstddef>

#include "Kv_Data/Fault.h"
#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "fault/Expr.h"
#include "fault/Synthesis.h"
#include "fault/SequencePatterns.h"
#include "phasor/AngleConstants.h"

namespace kv {

namespace fault {

namespace {

// One row of a table: the codes that share it, then IA, IB, IC and UA, UB, UC.
struct Entry {
    Codes codes;
    Triple currents;
    Triple voltages;
};

constexpr Triple kNone = {kNotWritten, kNotWritten, kNotWritten};
constexpr Triple kZeroRaw = {raw(0, 0), raw(0, 0), raw(0, 0)};

// Current triples that several rows share.
constexpr Triple kIa = {cell(I, 0), cell(0, 240), cell(0, 120)};    // as 3
constexpr Triple kIb = {cell(0, 120), cell(I, 360), cell(0, 240)};  // as 4
constexpr Triple kIc = {cell(0, 240), cell(0, 480), cell(I, 360)};  // as 5
constexpr Triple kIab = {cell(I, 0), cell(I, 180), cell(0, 0)};     // as 6
constexpr Triple kIbc = {cell(0, 0), cell(I, 0), cell(I, 180)};     // as 7
constexpr Triple kIca = {cell(I, 180), cell(0, 0), cell(I, 0)};     // as 8
constexpr Triple kIplus = {cell(I, 0), cell(I, 240), cell(I, 120)};
constexpr Triple kIminus = {cell(I, 0), cell(I, 120), cell(I, 240)};
constexpr Triple kIaOnly = {cell(I, 0), cell(0, 0), cell(0, 0)};
constexpr Triple kI30 = {cell(I / 3.0, 0), cell(I / 3.0, 0), cell(I / 3.0, 0)};

// Voltage stars turned by phi, and the zero-sequence set.
constexpr Triple kUplus = {cell(U, K(0) + Phi), cell(U, K(240) + Phi), cell(U, K(120) + Phi)};
constexpr Triple kUminus = {cell(U, K(0) + Phi), cell(U, K(120) + Phi), cell(U, K(240) + Phi)};
constexpr Triple kU0 = {cell(U, K(0) + Phi), cell(U, K(0) + Phi), cell(U, K(0) + Phi)};

// Extra = |U - 2 * cst58V * 0.5|, the faulted phase B of rows 70, 107 and 110.
constexpr Triple kU70 = {cell(Nominal, K(0) + Phi + 120), cell(Extra, K(240) + Phi + 120),
                         cell(Nominal, K(120) + Phi + 120)};

// Single-phase and earth faults. Rows 4, 5, 22, 23, 70 and 107 to 110 turn the whole
// system so that the faulted phase carries its current at 360 (B's zero current of row
// 5 at 480); folding off, these angles reach the caller unreduced. Rows 118 to 120 take
// the voltages as the reference and turn the currents by -phi.
constexpr Entry kSinglePhase[] = {
    {On(0), kIaOnly, {cell(U, K(0) + Phi), cell(0, 0), cell(0, 0)}},
    {On(1), {cell(0, 0), cell(I, 0), cell(0, 0)}, {cell(0, 0), cell(U, K(0) + Phi), cell(0, 0)}},
    {On(2, 76), {cell(0, 0), cell(0, 0), cell(I, 0)}, {cell(0, 0), cell(0, 0), cell(U, K(0) + Phi)}},
    {On(3, 123), kIa, {cell(U, K(0) + Phi), cell(Uh, K(240) + Phi), cell(Uh, K(120) + Phi)}},
    {On(4, 109), kIb, {cell(Uh, K(0) + Phi + 120), cell(U, K(240) + Phi + 120), cell(Uh, K(120) + Phi + 120)}},
    {On(5), kIc, {cell(Uh, K(0) + Phi + 240), cell(Uh, K(240) + Phi + 240), cell(U, K(120) + Phi + 240)}},
    {On(21), kIa, {cell(U, K(0) + Phi), cell(K(0), K(240) + Phi), cell(K(0), K(120) + Phi)}},
    {On(22), kIb, {cell(K(0), K(0) + Phi + 120), cell(U, K(240) + Phi + 120), cell(K(0), K(120) + Phi + 120)}},
    {On(23), kIc, {cell(K(0), K(0) + Phi + 240), cell(K(0), K(240) + Phi + 240), cell(U, K(120) + Phi + 240)}},
    {On(70, 110), kIb, kU70},
    {On(107), {cell(I / 3.0, 360), cell(I / 3.0, 360), cell(I / 3.0, 360)}, kU70},
    {On(108), {cell(I / 3.0, 360), cell(I / 3.0, 360), cell(I / 3.0, 360)},
     {cell(Nominal, K(0) + Phi + 120), cell(U, K(240) + Phi + 120), cell(Nominal, K(120) + Phi + 120)}},
    {On(118), {cell(I, K(0) - Phi), cell(I, K(240) - Phi), cell(0, 120)}, {cell(U, 0), cell(U, 240), cell(Uh, 120)}},
    {On(119), {cell(0, 0), cell(I, K(240) - Phi), cell(I, K(120) - Phi)}, {cell(Uh, 0), cell(U, 240), cell(U, 120)}},
    {On(120), {cell(I, K(0) - Phi), cell(0, 240), cell(I, K(120) - Phi)}, {cell(U, 0), cell(Uh, 240), cell(U, 120)}},
};

// Phase-to-phase faults: the faulted phases at Uf, 270 +- delta + phi, the healthy one at
// Uh, 90 + phi. Row 60 swaps the faulted angles of row 6; row 20 zeroes its faulted
// phase A and keeps Uh in B, where 18 and 19 zero the healthy phase; 124 to 126 store
// every angle raw; 96 to 98 raise the healthy phase to 1.3 Uh. Rows 111 to 113 have
// their own Uf and delta.
constexpr Entry kPhaseToPhase[] = {
    {On(6), kIab, {cell(Uf, K(270) + Delta + Phi), cell(Uf, K(270) - Delta + Phi), cell(Uh, K(90) + Phi)}},
    {On(7), kIbc, {cell(Uh, K(90) + Phi), cell(Uf, K(270) + Delta + Phi), cell(Uf, K(270) - Delta + Phi)}},
    {On(8), kIca, {cell(Uf, K(270) - Delta + Phi), cell(Uh, K(90) + Phi), cell(Uf, K(270) + Delta + Phi)}},
    {On(60), kIab, {cell(Uf, K(270) - Delta + Phi), cell(Uf, K(270) + Delta + Phi), cell(Uh, K(90) + Phi)}},
    {On(18), kIab, {cell(Uf, K(270) + Delta + Phi), cell(Uf, K(270) - Delta + Phi), cell(K(0), K(90) + Phi)}},
    {On(19), kIbc, {cell(K(0), K(90) + Phi), cell(Uf, K(270) + Delta + Phi), cell(Uf, K(270) - Delta + Phi)}},
    {On(20), kIca, {cell(K(0), K(270) - Delta + Phi), cell(Uh, K(90) + Phi), cell(Uf, K(270) + Delta + Phi)}},
    {On(24), kIab, {cell(U / 2.0, K(330) + Phi), cell(U / 2.0, K(330) + Phi), cell(U, K(150) + Phi)}},
    {On(25), kIbc, {cell(U, K(150) + Phi), cell(U / 2.0, K(330) + Phi), cell(U / 2.0, K(330) + Phi)}},
    {On(26), kIca, {cell(U / 2.0, K(330) + Phi), cell(U, K(150) + Phi), cell(U / 2.0, K(330) + Phi)}},
    {On(27), kIab, {cell(U / kSqrt3, K(330) + Phi), cell(U / kSqrt3, K(210) + Phi), cell(Uh, K(90) + Phi)}},
    {On(28), kIbc, {cell(Uh, K(90) + Phi), cell(U / kSqrt3, K(330) + Phi), cell(U / kSqrt3, K(210) + Phi)}},
    {On(29), kIca, {cell(U / kSqrt3, K(210) + Phi), cell(Uh, K(90) + Phi), cell(U / kSqrt3, K(330) + Phi)}},
    {On(111), kIab,
     {cell(Uf, K(270) + Delta + Phi), cell(Uf, K(270) - Delta + Phi), cell(Uhealthy, K(90) + Phi)}},
    {On(112), kIbc,
     {cell(Uhealthy, K(90) + Phi), cell(Uf, K(270) + Delta + Phi), cell(Uf, K(270) - Delta + Phi)}},
    {On(113), kIca,
     {cell(Uf, K(270) - Delta + Phi), cell(Uhealthy, K(90) + Phi), cell(Uf, K(270) + Delta + Phi)}},
    {On(124), {raw(I, 0), raw(I, 180), raw(0, 0)},
     {raw(U, K(0) + Phi), raw(U, K(180) + Phi), raw(Uh, K(90) + Phi)}},
    {On(125), {raw(0, 0), raw(I, 0), raw(I, 180)},
     {raw(Uh, K(90) + Phi), raw(U, K(0) + Phi), raw(U, K(180) + Phi)}},
    {On(126), {raw(I, 180), raw(0, 0), raw(I, 0)},
     {raw(U, K(180) + Phi), raw(Uh, K(90) + Phi), raw(U, K(0) + Phi)}},
    {On(96), kIplus,
     {cell(Uf, K(270) + Delta + Phi + 120), cell(Uf, K(270) - Delta + Phi + 120), cell(K(1.3) * Uh, K(90) + Phi + 120)}},
    {On(97), kIplus,
     {cell(K(1.3) * Uh, K(90) + Phi + 120), cell(Uf, K(270) + Delta + Phi + 120), cell(Uf, K(270) - Delta + Phi + 120)}},
    {On(98), kIplus,
     {cell(Uf, K(270) - Delta + Phi + 120), cell(K(1.3) * Uh, K(90) + Phi + 120), cell(Uf, K(270) + Delta + Phi + 120)}},
};

constexpr Triple kUcOnly = {cell(0, 0), cell(0, 0), cell(U, K(0) + Phi)};
constexpr Triple kUab = {cell(U, K(0) + Phi), cell(U, K(180) + Phi), cell(0, 0)};

// Three-phase, sequence and current-pattern faults. Row 17 puts a fixed 1 A in phase A;
// rows 11, 12 and 100 store phase A's current angle raw, and 100, whose current limit is
// six times the device's, shares I among the phases by six.
constexpr Entry kThreePhase[] = {
    {On(9, 15, 34, 63, 64, 65), kIplus, kUplus},
    {On(92, 122), kIplus,
     {cell(U / kSqrt3, K(0) + Phi), cell(U / kSqrt3, K(240) + Phi), cell(U / kSqrt3, K(120) + Phi)}},
    {On(16, 35), kIminus, kUminus},
    {On(61), kIminus, kUplus},
    {On(69), kIplus, kUminus},
    {On(72), {cell(0, 0), cell(I, 240), cell(I, 120)}, kUplus},
    {On(73), {cell(I, 0), cell(0, 240), cell(I, 120)}, kUplus},
    {On(74), {cell(I, 0), cell(I, 240), cell(0, 120)}, kUplus},
    {On(49), {cell(I, 180), cell(0, 0), cell(I, 0)}, kUplus},
    {On(17), {raw(1.0, 0), cell(I, 240), cell(I, 120)}, kUplus},
    {On(88), {cell(I, 0), cell(I / 2.0, 180), cell(I / 2.0, 180)}, kUplus},
    {On(89), {cell(I / 2.0, 180), cell(I, 0), cell(I / 2.0, 180)}, kUplus},
    {On(90), {cell(I / 2.0, 180), cell(I / 2.0, 180), cell(I, 0)}, kUplus},
    {On(14), {cell(I, 0), cell(I, 0), cell(I, 0)}, kU0},
    {On(62, 91), kI30, kU0},
    {On(11, 12), {raw(I / 3.0, 0), cell(I / 3.0, 0), cell(I / 3.0, 0)}, {cell(U, Phi), cell(U, Phi), cell(U, Phi)}},
    {On(100), {raw(I / 6.0, 0), cell(I / 6.0, 0), cell(I / 6.0, 0)}, {cell(U, Phi), cell(U, Phi), cell(U, Phi)}},
    {On(81), kI30, kUminus},
    {On(83), kI30, kUplus},
    {On(66), kI30, {cell(U, K(0) + Phi), cell(0, 0), cell(0, 0)}},
    {On(67), kI30, {cell(0, 0), cell(U, K(0) + Phi), cell(0, 0)}},
    {On(68), kI30, kUcOnly},
    {On(121), kI30, kNone},
    {On(85), kI30, kZeroRaw},  // then kAuxRaisedA, if Aux is given
    {On(86), kI30, {cell(Aux, 0), cell(Aux + U, K(0) + Phi), cell(Aux, 0)}},
    {On(87), kI30, {cell(Aux, 0), cell(Aux, 0), cell(Aux + U, K(0) + Phi)}},
    {On(75), kIaOnly, kUcOnly},
    {On(77), kIplus, kUcOnly},
    {On(78), kIaOnly, kUab},
    {On(79), {cell(0, 0), cell(0, 0), cell(I, 0)}, kUab},
    {On(80), kIplus, kUab},
};

// Only row 85 tests Aux, and only it clears the voltages first; 86 and 87 write Aux as
// it comes.
constexpr Triple kAuxRaisedA = {cell(Aux + U, K(0) + Phi), cell(Aux, 0), cell(Aux, 0)};

constexpr Triple kSupply = {raw(Up / 2.0, 0), raw(Up / 2.0, 180), raw(U, 0)};

// Single outputs, supply and fixed-current patterns; angles 0 and 180 are stored raw.
// Row 51's A at 0 and B at 180 is the reverse of the voltage-only synthesis. Row 127
// writes its own currents and then those of 128: callers see 128's result.
constexpr Entry kSingleOutput[] = {
    {On(42), kZeroRaw, {raw(U, 0), raw(0, 0), raw(0, 0)}},
    {On(43), kZeroRaw, {raw(0, 0), raw(U, 0), raw(0, 0)}},
    {On(44), kZeroRaw, {raw(0, 0), raw(0, 0), raw(U, 0)}},
    {On(45), {raw(I, 0), raw(0, 0), raw(0, 0)}, kZeroRaw},
    {On(46), {raw(0, 0), raw(I, 0), raw(0, 0)}, kZeroRaw},
    {On(47), {raw(0, 0), raw(0, 0), raw(I, 0)}, kZeroRaw},
    {On(48), {raw(I, 0), raw(0, 0), raw(0, 0)}, {raw(0, 0), raw(0, 0), raw(U, K(0) + Phi)}},
    {On(33), kNone, {cell(U, Phi), raw(0, 0), raw(0, 0)}},
    {On(50), kNone, {cell(U / 2.0, Phi + 0.0), cell(U / 2.0, Phi + 180.0), kNotWritten}},
    {On(51), kNone, {raw(U / 2.0, 0), raw(U / 2.0, 180), kNotWritten}},
    {On(115), {cell(I, K(360) - Phi), raw(0, 0), raw(0, 0)}, kSupply},
    {On(116), {raw(0, 0), cell(I, K(360) - Phi), raw(0, 0)}, kSupply},
    {On(117), {raw(0, 0), raw(0, 0), cell(I, K(360) - Phi)}, kSupply},
    {On(127), {raw(I, 0), raw(Ik, 0), raw(0, 0)}, kNone},  // then row 128
    {On(128), {raw(I, 0), raw(0, 0), raw(Ik, 0)}, kZeroRaw},
    {On(129), {raw(Ik, 0), raw(I, 0), raw(0, 0)}, kZeroRaw},
    {On(130), {raw(0, 0), raw(I, 0), raw(Ik, 0)}, kZeroRaw},
    {On(131), {raw(Ik, 0), raw(0, 0), raw(I, 0)}, kZeroRaw},
    {On(132), {raw(0, 0), raw(Ik, 0), raw(I, 0)}, kZeroRaw},
};

// Earth fault with isolated neutral, codes 93 to 95: the star of source voltages Uh with
// its neutral displaced so that the faulted phase keeps U. The phase after the faulted
// one in A, B, C order lies at 180 + theta.
constexpr Entry kIsolatedNeutral[] = {
    {On(93), kIa, {cell(U, K(0) + Phi), cell(Ub, K(180) + Theta + Phi), cell(Ub, K(180) - Theta + Phi)}},
    {On(94), kIb, {cell(Ub, K(180) - Theta + Phi), cell(U, K(0) + Phi), cell(Ub, K(180) + Theta + Phi)}},
    {On(95), kIc, {cell(Ub, K(180) + Theta + Phi), cell(Ub, K(180) - Theta + Phi), cell(U, K(0) + Phi)}},
};

// Negative-sequence voltage U from a phase-to-phase fault whose healthy phase stays at
// cst58V itself, not at Uh; codes 36 to 38, currents not written.
constexpr Entry kNegativeSequence[] = {
    {On(36), kNone,
     {cell(Ux, K(240) + Phi + 180 + Psi), cell(Ux, K(240) + Phi + 180 - Psi), cell(Nominal, K(240) + Phi)}},
    {On(37), kNone,
     {cell(Nominal, K(0) + Phi), cell(Ux, K(0) + Phi + 180 + Psi), cell(Ux, K(0) + Phi + 180 - Psi)}},
    {On(38), kNone,
     {cell(Ux, K(120) + Phi + 180 - Psi), cell(Nominal, K(120) + Phi), cell(Ux, K(120) + Phi + 180 + Psi)}},
};

constexpr bool Reads(const Entry& row, Var var) { return Reads(row.currents, var) || Reads(row.voltages, var); }

// A row as a function: the currents, then the voltages.
struct EntryRule {
    template <const auto& rows, std::size_t r>
    static void Row(const Work& w, const Outputs& out) {
        WriteTripleAt<rows, r, &Entry::currents>(w, out.current, out.currentAngle);
        WriteTripleAt<rows, r, &Entry::voltages>(w, out.voltage, out.voltageAngle);
    }
};

using WriteFn = void (*)(const Work&, const Outputs&);

// The rows of the four tables by code; the computed codes and the codes without a row
// have none.
constexpr auto kRows = Join(kSinglePhase, kPhaseToPhase, kThreePhase, kSingleOutput);
using Rows = CompiledRows<kRows, EntryRule, WriteFn>;
using IsolatedNeutralRows = CompiledRows<kIsolatedNeutral, EntryRule, WriteFn>;
using NegativeSequenceRows = CompiledRows<kNegativeSequence, EntryRule, WriteFn>;

// The patterns read neither Uf nor δ.
constexpr LoopCodes kLoop = LoopCodes::Of<Rows, IsolatedNeutralRows, NegativeSequenceRows>();

void IsolatedNeutralFault(unsigned code, Work& w, const Outputs& out) {
    IsolatedNeutral(w);
    IsolatedNeutralRows::Find(static_cast<int>(code))(w, out);
}

// Beyond about 28.87 V no phase-to-phase fault gives the negative-sequence voltage U:
// 1, and nothing is written.
int NegativeSequence(unsigned code, Work& w, const Outputs& out, int r) {
    if (!NegativeSequenceAcrossLine(w)) return 1;
    NegativeSequenceRows::Find(static_cast<int>(code))(w, out);
    return r;
}

// Code 71: UA at nominal, UB and UC of equal magnitude placed symmetrically about UA's
// opposite by beta. The angles of B and C start from UA's angle as stored (folded).
void FaultACU2(const Work& w, const Outputs& out) {
    WriteCurrents(kIplus, w, out);
    WriteCell(cell(Nominal, K(0) + Phi), w, *out.voltage[0], *out.voltageAngle[0]);
    const double u = w[Var::U];
    const double x = 1.5 - 3 * u / cst58V;
    const double beta = std::atan(x / std::sin(kTwoThirdsPi)) * kRadToDeg + 180;
    const double fiUA = *out.voltageAngle[0];
    *out.voltageAngle[1] = AbsAngleGr(beta + fiUA);
    *out.voltageAngle[2] = AbsAngleGr(360 - beta + fiUA);
    *out.voltage[2] = std::fabs(-u / (std::cos(beta * kDegToRad) * 2));
    *out.voltage[1] = *out.voltage[2];
}

// Rows 111 to 113 place the faulted phases from the healthy voltage the caller gives,
// whatever the frame decided; a negative one stands for Uh (0 is kept).
void HealthyVoltageGeometry(Work& w) {
    if (w[Var::Uhealthy] < 0) w[Var::Uhealthy] = w[Var::Uh];
    const double u = w[Var::U];
    const double uhealthy = w[Var::Uhealthy];
    w[Var::Uf] = 0.5 * std::sqrt(u * u + uhealthy * uhealthy);
    w[Var::Delta] = std::atan(u / uhealthy) * kRadToDeg;
}

// The rows and patterns; r is the frame's result, which they return unless they say
// otherwise.
int Synthesize(unsigned code, Work& w, double auxAngle, const Outputs& out, int r) {
    switch (code) {
        case 36:
        case 37:
        case 38: return NegativeSequence(code, w, out, r);
        case 71: FaultACU2(w, out); return r;
        case 82: FaultU1U30I30(w, auxAngle, out); return r;
        case 84: FaultI2I1(w, out); return r;
        case 93:
        case 94:
        case 95: IsolatedNeutralFault(code, w, out); return r;
        case 101: FaultI2I1U1(w, out); return r;
        case 102: FaultU2U1(w, out); return r;
        case 103: FaultUniversal(w, out); return r;
        case 70:
        case 107:
        case 110: w[Var::Extra] = std::fabs(w[Var::U] - 2 * cst58V * 0.5); break;
        case 111:
        case 112:
        case 113: HealthyVoltageGeometry(w); break;
        default: break;
    }
    const WriteFn row = Rows::Find(static_cast<int>(code));
    if (row == nullptr) return 3;
    row(w, out);
    if (code == 85 && w[Var::Aux] > -0.0001) WriteVoltages(kAuxRaisedA, w, out);
    if (code == 127) Rows::Find(128)(w, out);
    return r;
}

// The codes whose voltage is never limited.
bool IsUnlimited(int code) {
    return code == 42 || code == 50 || code == 51 || code == 115 || code == 116 || code == 117;
}

}  // namespace

}  // namespace fault

int SetUIFaza(int code, double U, double I, double phi, double& UA, double& fiUA, double& UB, double& fiUB,
              double& UC, double& fiUC, double& IA, double& fiIA, double& IB, double& fiIB, double& IC,
              double& fiIC, double Unom, double Aux, double AuxAngle, double Uhealthy) {
    fault::RecordRequest(code, phi);

    // Code 82 reads the sign of U.
    if (U < 0 && code != 82) U = 0;
    if (I < 0) I = 0;

    int r = 0;
    double Uh = cst58V;
    double Uf = U / fault::kSqrt3;
    double delta = 0;

    const double iLimit = code == 100 ? 6 * globImax : globImax;
    if (I > iLimit) r = 2;

    // Voltage limiting and the phase-to-phase geometry: the faulted phases at Uf,
    // 270 +- delta + phi and the healthy one at Uh, 90 + phi differ by exactly U at phi.
    if (code < 6) {
        if (Unom < 500) {
            if (U > globUmax) {
                U = globUmax;
                Uh = globUmax;
                r = 1;
            } else if (U > cst58V) {
                Uh = U;
            }
        }
    } else if (!fault::IsUnlimited(code)) {
        if (U > cst173V) {
            if (U > globUmax) {
                // Uf stays that of the unlimited U.
                U = globUmax;
                Uh = globUmax;
                delta = 60;
                r = 1;
            } else {
                Uh = Uf = U / fault::kSqrt3;
                delta = 60;
            }
        } else {
            if (Unom < 0) Unom = cstUmax100;
            if (U >= Unom) {
                // A healthy star of line voltage U.
                Uh = Uf = U / fault::kSqrt3;
                delta = 60;
            } else if (U < Unom && fault::kLoop.Places(code)) {
                // The healthy phase keeps its nominal voltage.
                Uh = cst58V;
                Uf = 0.5 * std::sqrt(U * U + Uh * Uh);
                delta = std::atan(U / Uh) * kRadToDeg;
            }
        }
    }

    if (code == 123 && fault::A1Enabled()) glob_bFault_A1_Enable = 1;

    // Negative codes fall out here as large unsigned ones.
    const auto c = static_cast<unsigned>(code);
    if (c > 132) return 3;

    fault::Work w;
    w.U = U;
    w.I = I;
    w.Phi = phi;
    w.Uh = Uh;
    w.Uf = Uf;
    w.Delta = delta;
    w.Aux = Aux;
    w.Uhealthy = Uhealthy;
    w.Ik = glob_dIk;
    w.Up = glob_dUpitForProgramStandart;
    w.Nominal = cst58V;
    const fault::Outputs out{{&IA, &IB, &IC}, {&fiIA, &fiIB, &fiIC}, {&UA, &UB, &UC}, {&fiUA, &fiUB, &fiUC}};
    return fault::Synthesize(c, w, AuxAngle, out, r);
}

}  // namespace kv
