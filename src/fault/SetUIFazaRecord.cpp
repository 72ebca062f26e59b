// The seven-argument SetUIFaza: voltages and currents of a fault into the working block
// of a CValueIU. Here the voltages are the reference (the healthy star at the fixed 0,
// 240 and 120) and each fault-loop current lags its loop voltage by φ.
#include <array>
#include <cmath>
#include <cstddef>

#include "Kv_Data/Fault.h"
#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"
#include "fault/Expr.h"
#include "fault/Synthesis.h"
#include "phasor/AngleConstants.h"

namespace kv::fault {
namespace {

// honoured: currents only when writeI is set, then nothing more when writeU is 0. The
// rows that write one half only are honoured rows with the other half not written.
// always: both halves whatever the flags say.
enum class Flags { honoured, always };

// A row whose working values are computed for it names the routine that computes them;
// the routine answers false when the fault cannot be produced.
using Prepare = bool (*)(Work&);

struct RecordRow {
    Codes codes;
    Flags flags;
    Triple currents;  // IA, IB, IC
    Triple voltages;  // UA, UB, UC
    Prepare prepare = nullptr;
};

bool VoltageUnlimited(int code) { return code == 50 || code == 51 || code == 115 || code == 116 || code == 117; }

// 39-41: the same test for a negative-sequence voltage from one phase to earth. L only
// decides; the selected phase then carries Uf of the frame, not L, and test programs
// are tuned to that.
bool NegativeSequenceToEarth(Work& w) {
    const double L = cst58V - 3 * w[Var::U];
    return !(L > cst58V + 0.001 || L < 0);
}

constexpr Triple kNotWrittenABC = {kNotWritten, kNotWritten, kNotWritten};

// The loop currents shared by the earth-fault and phase-to-phase rows ("as 3" ... "as 8").
constexpr Triple kEarthA = {cell(I, K(360) - Phi), cell(K(0), K(240) - Phi), cell(K(0), K(120) - Phi)};
constexpr Triple kEarthB = {cell(K(0), K(360) - Phi), cell(I, K(240) - Phi), cell(K(0), K(120) - Phi)};
constexpr Triple kEarthC = {cell(K(0), K(360) - Phi), cell(K(0), K(240) - Phi), cell(I, K(120) - Phi)};
constexpr Triple kLoopAB = {cell(I, K(30) - Phi), cell(I, K(210) - Phi), cell(K(0), K(120) - Phi)};
constexpr Triple kLoopBC = {cell(K(0), K(360) - Phi), cell(I, K(270) - Phi), cell(I, K(90) - Phi)};
constexpr Triple kLoopCA = {cell(I, K(330) - Phi), cell(K(0), K(240) - Phi), cell(I, K(150) - Phi)};
constexpr Triple kStar = {cell(I, K(360) - Phi), cell(I, K(240) - Phi), cell(I, K(120) - Phi)};
// The test patterns' currents at fixed angles, φ ignored.
constexpr Triple kFixedStar = {cell(I, 0), cell(I, 240), cell(I, 120)};
constexpr Triple kOnlyA = {cell(I, 0), cell(0, 0), cell(0, 0)};
constexpr Triple kOnlyC = {cell(0, 0), cell(0, 0), cell(I, 0)};

constexpr Flags honoured = Flags::honoured;
constexpr Flags always = Flags::always;

// Voltage angles that are plain numbers are stored raw, current angles folded, unless a
// row says otherwise. What U and I stand for, code by code, is in Fault.h.
constexpr RecordRow kRecordRows[] = {
    // Earth faults; 21-23 zero the healthy phases.
    // codes       flags     IA IB IC  UA                          UB                          UC
    {On(3, 123),   honoured, kEarthA, {raw(U, 0),                  raw(Uh, 240),               raw(Uh, 120)}},
    {On(4),        honoured, kEarthB, {raw(Uh, 0),                 raw(U, 240),                raw(Uh, 120)}},
    {On(5),        honoured, kEarthC, {raw(Uh, 0),                 raw(Uh, 240),               raw(U, 120)}},
    {On(21),       honoured, kEarthA, {raw(U, 0),                  raw(0, 240),                raw(0, 120)}},
    {On(22),       honoured, kEarthB, {raw(0, 0),                  raw(U, 240),                raw(0, 120)}},
    {On(23),       honoured, kEarthC, {raw(0, 0),                  raw(0, 240),                raw(U, 120)}},

    // Phase-to-phase faults, the faulted phases at Uf turned by ±δ. In 8 and 20 phase A at
    // 0 + δ is raw while its partner is folded. 20 zeroes the healthy B like 18 and 19
    // (the twelve-output synthesis zeroes the faulted A instead).
    {On(6),        honoured, kLoopAB, {cell(Uf, K(360) - Delta),   cell(Uf, K(240) + Delta),   raw(Uh, 120)}},
    {On(7),        honoured, kLoopBC, {raw(Uh, 0),                 cell(Uf, K(240) - Delta),   cell(Uf, K(120) + Delta)}},
    {On(8),        honoured, kLoopCA, {raw(Uf, K(0) + Delta),      raw(Uh, 240),               cell(Uf, K(120) - Delta)}},
    {On(18),       honoured, kLoopAB, {cell(Uf, K(360) - Delta),   cell(Uf, K(240) + Delta),   raw(0, 120)}},
    {On(19),       honoured, kLoopBC, {raw(0, 0),                  cell(Uf, K(240) - Delta),   cell(Uf, K(120) + Delta)}},
    {On(20),       honoured, kLoopCA, {raw(Uf, K(0) + Delta),      raw(0, 240),                cell(Uf, K(120) - Delta)}},
    {On(24),       honoured, kLoopAB, {raw(U / 2, 0),              raw(U / 2, 0),              raw(U, 180)}},
    {On(25),       honoured, kLoopBC, {raw(U, 0),                  raw(U / 2, 180),            raw(U / 2, 180)}},
    {On(26),       honoured, kLoopCA, {raw(U / 2, 180),            raw(U, 0),                  raw(U / 2, 180)}},
    {On(27),       honoured, kLoopAB, {raw(U / kSqrt3, 360),       raw(U / kSqrt3, 240),       raw(Uh, 120)}},
    {On(28),       honoured, kLoopBC, {raw(Uh, 0),                 raw(U / kSqrt3, 240),       raw(U / kSqrt3, 120)}},
    {On(29),       honoured, kLoopCA, {raw(U / kSqrt3, 0),         raw(Uh, 240),               raw(U / kSqrt3, 120)}},

    // Symmetrical and sequence systems. 17 holds phase A at a fixed 1 A; 11 and 12 put the
    // whole of I, not a third, into each phase.
    {On(9, 63, 64, 65), honoured, kStar,
                                      {raw(U, 0),                  raw(U, 240),                raw(U, 120)}},
    {On(92, 122),  honoured, kStar,   {raw(U / kSqrt3, 0),         raw(U / kSqrt3, 240),       raw(U / kSqrt3, 120)}},
    {On(17),       honoured, {raw(K(1.0), K(360) - Phi), cell(I, K(240) - Phi), cell(I, K(120) - Phi)},
                                      {raw(U, 0),                  raw(U, 240),                raw(U, 120)}},
    {On(16),       honoured, {raw(I, K(360) - Phi), cell(I, K(120) - Phi), cell(I, K(240) - Phi)},
                                      {raw(U, 0),                  raw(U, 120),                raw(U, 240)}},
    {On(11, 12),   honoured, {raw(I, Phi), cell(I, Phi), cell(I, Phi)},
                                      kNotWrittenABC},
    {On(35),       honoured, kNotWrittenABC,
                                      {cell(U, Phi),               cell(U, K(120) + Phi),      cell(U, K(240) + Phi)}},

    // Negative sequence, voltages only; out of reach they answer 1 and write nothing.
    {On(36),       always, kNotWrittenABC,
     {cell(Ux, K(240) + Phi + 180 + Psi), cell(Ux, K(240) + Phi + 180 - Psi), cell(Nominal, K(240) + Phi)},
     NegativeSequenceAcrossLine},
    {On(37),       always, kNotWrittenABC,
     {cell(Nominal, K(0) + Phi),          cell(Ux, K(0) + Phi + 180 + Psi),   cell(Ux, K(0) + Phi + 180 - Psi)},
     NegativeSequenceAcrossLine},
    {On(38),       always, kNotWrittenABC,
     {cell(Ux, K(120) + Phi + 180 - Psi), cell(Nominal, K(120) + Phi),        cell(Ux, K(120) + Phi + 180 + Psi)},
     NegativeSequenceAcrossLine},
    {On(39),       always, kNotWrittenABC,
     {cell(Uf, K(0) + Phi),               cell(Nominal, K(120) + Phi),        cell(Nominal, K(240) + Phi)},
     NegativeSequenceToEarth},
    {On(40),       always, kNotWrittenABC,
     {cell(Nominal, K(0) + Phi),          cell(Uf, K(120) + Phi),             cell(Nominal, K(240) + Phi)},
     NegativeSequenceToEarth},
    {On(41),       always, kNotWrittenABC,
     {cell(Nominal, K(0) + Phi),          cell(Nominal, K(120) + Phi),        cell(Uf, K(240) + Phi)},
     NegativeSequenceToEarth},

    // Single outputs and test patterns. 50 and 51 ignore φ; 115-117 put the supply
    // voltage Up across A-B.
    {On(48),       always, {raw(I, 0), cell(0, 0), cell(0, 0)},
                                      {raw(0, 0),                  raw(0, 0),                  raw(U, K(0) + Phi)}},
    {On(49),       always, {cell(I, 180), cell(0, 0), cell(I, 0)},
                                      {cell(U, Phi),               cell(U, K(240) + Phi),      cell(U, K(120) + Phi)}},
    {On(50, 51),   honoured, kNotWrittenABC,
                                      {raw(U / 2, 0),              raw(U / 2, 180),            kNotWritten}},
    {On(75),       always, kOnlyA,    {raw(0, 0),                  raw(0, 0),                  cell(U, K(0) + Phi)}},
    {On(76),       always, kOnlyC,    {raw(0, 0),                  raw(0, 0),                  cell(U, K(0) + Phi)}},
    {On(77),       always, kFixedStar,
                                      {raw(0, 0),                  raw(0, 0),                  cell(U, K(0) + Phi)}},
    {On(78),       always, kOnlyA,    {cell(U, K(0) + Phi),        cell(U, K(180) + Phi),      raw(0, 0)}},
    {On(79),       always, kOnlyC,    {cell(U, K(0) + Phi),        cell(U, K(180) + Phi),      raw(0, 0)}},
    {On(80),       always, kFixedStar,
                                      {cell(U, K(0) + Phi),        cell(U, K(180) + Phi),      raw(0, 0)}},
    {On(124),      always, {raw(I, 0), raw(I, 180), raw(0, 0)},
                                      {raw(U, K(0) + Phi),         raw(U, K(180) + Phi),       raw(Uh, K(90) + Phi)}},
    {On(125),      always, {raw(0, 0), raw(I, 0), raw(I, 180)},
                                      {raw(Uh, K(90) + Phi),       raw(U, K(0) + Phi),         raw(U, K(180) + Phi)}},
    {On(126),      always, {raw(I, 180), raw(0, 0), raw(I, 0)},
                                      {raw(U, K(180) + Phi),       raw(Uh, K(90) + Phi),       raw(U, K(0) + Phi)}},
    {On(115),      honoured, {cell(I, K(360) - Phi), cell(0, 0), cell(0, 0)},
                                      {raw(Up / 2, 0),             raw(Up / 2, 180),           raw(U, 0)}},
    {On(116),      honoured, {cell(0, 0), cell(I, K(360) - Phi), cell(0, 0)},
                                      {raw(Up / 2, 0),             raw(Up / 2, 180),           raw(U, 0)}},
    {On(117),      honoured, {cell(0, 0), cell(0, 0), cell(I, K(360) - Phi)},
                                      {raw(Up / 2, 0),             raw(Up / 2, 180),           raw(U, 0)}},

    // Earth fault with isolated neutral (Ub, θ from IsolatedNeutral); every angle folded.
    {On(93),       always, {cell(I, 0), cell(0, 240), cell(0, 120)},
     {cell(U, K(0) + Phi),                cell(Ub, K(180) + Theta + Phi),     cell(Ub, K(180) - Theta + Phi)},
     IsolatedNeutral},
    {On(94),       always, {cell(0, 120), cell(I, 360), cell(0, 240)},
     {cell(Ub, K(180) - Theta + Phi),     cell(U, K(0) + Phi),                cell(Ub, K(180) + Theta + Phi)},
     IsolatedNeutral},
    {On(95),       always, {cell(0, 240), cell(0, 480), cell(I, 360)},
     {cell(Ub, K(180) + Theta + Phi),     cell(Ub, K(180) - Theta + Phi),     cell(U, K(0) + Phi)},
     IsolatedNeutral},

    // Two faulted phases and a healthy one raised to 1.3·Uh. The angles are those of a δ
    // measured as atan(U/Uh) while this function's δ is 60 - atan(U/Uh), so at U = 100
    // the faulted phases coincide; test programs are calibrated to it.
    {On(96),       always, kFixedStar,
     {cell(Uf, K(120) + 270 + Delta + Phi), cell(Uf, K(270) - Delta + Phi + 120), cell(K(1.3) * Uh, K(90) + Phi + 120)}},
    {On(97),       always, kFixedStar,
     {cell(K(1.3) * Uh, K(90) + Phi + 120), cell(Uf, K(270) + Delta + Phi + 120), cell(Uf, K(270) - Delta + Phi + 120)}},
    {On(98),       always, kFixedStar,
     {cell(Uf, K(120) + 270 - Delta + Phi), cell(K(1.3) * Uh, K(90) + Phi + 120), cell(Uf, K(270) + Delta + Phi + 120)}},
};

constexpr bool Reads(const RecordRow& row, Var var) { return Reads(row.currents, var) || Reads(row.voltages, var); }

// A row as a function: its own working values first (1, with nothing written, when its
// routine refuses), then the halves the flags allow, and the frame's result r.
struct RecordRule {
    template <const auto& rows, std::size_t r>
    static int Row(Work& w, int writeU, int writeI, CValueIU& v, int result) {
        constexpr Prepare prepare = rows[r].prepare;
        if (prepare != nullptr && !prepare(w)) return 1;
        constexpr bool bothHalves = rows[r].flags == Flags::always;
        if (bothHalves || writeI != 0) WriteTripleAt<rows, r, &RecordRow::currents>(w, v.dI, v.dFiI);
        if (!bothHalves && writeU == 0) return result;
        WriteTripleAt<rows, r, &RecordRow::voltages>(w, v.dU, v.dFiU);
        return result;
    }
};

using RecordRows = CompiledRows<kRecordRows, RecordRule, int (*)(Work&, int, int, CValueIU&, int)>;

constexpr LoopCodes kLoop = LoopCodes::Of<RecordRows>();

}  // namespace
}  // namespace kv::fault

namespace kv {

int SetUIFaza(int code, int writeU, int writeI, double U, double I, double phi, CValueIU& v) {
    using fault::Var;
    fault::RecordRequest(code, phi);

    if (U < 0) U = 0;
    if (I < 0) I = 0;
    int r = 0;
    double Uh = cst58V;
    double Uf = 0;
    double delta = 0;
    if (I > globImax) r = 2;  // reported, never limited
    if (code < 6) {
        if (U > globUmax) {
            U = Uh = globUmax;
            r = 1;
        } else {
            if (U > cst58V) Uh = U;
            Uf = U;  // no row below 6 reads Uf or δ
            delta = 0;
        }
    } else if (!fault::VoltageUnlimited(code)) {
        // From code 6 up the limit is the line threshold cst173V, not globUmax.
        if (U > cst173V) {
            U = Uh = Uf = cst173V;
            delta = 0;
            r = 1;
        } else if (U > cstUmax100) {
            Uh = Uf = U / fault::kSqrt3;
            delta = 0;
        } else if (fault::kLoop.Places(code)) {
            Uf = 0.5 * std::sqrt(U * U + Uh * Uh);
            delta = 60 - std::atan(U / Uh) * kRadToDeg;
        }
    }

    // 0-2 are handled by the other two syntheses but not here.
    const auto row = code < 3 || code > 126 ? nullptr : fault::RecordRows::Find(code);
    if (row == nullptr) return 3;
    if (code == 123 && fault::A1Enabled()) glob_bFault_A1_Enable = 1;

    fault::Work w;
    w.U = U;
    w.I = I;
    w.Phi = phi;
    w.Uh = Uh;
    w.Uf = Uf;
    w.Delta = delta;
    w.Nominal = cst58V;
    w.Up = glob_dUpitForProgramStandart;
    return row(w, writeU, writeI, v, r);
}

}  // namespace kv
