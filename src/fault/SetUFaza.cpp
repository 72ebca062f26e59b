// SetUFaza and SetIFaza: the three phase voltages, or the three phase currents, of a
// fault. Each is a frame (record the request, clamp, limit) followed by one table row
// per code or code group. Angles are absolute and follow the fault angle φ.
#include <array>
#include <cmath>
#include <cstddef>

#include "Kv_Data/Fault.h"
#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "fault/Expr.h"
#include "fault/Synthesis.h"
#include "phasor/AngleConstants.h"

namespace kv::fault {
namespace {

// A row whose working values are computed for it names the routine that computes them;
// the routine answers false when the fault cannot be produced.
using Prepare = bool (*)(Work&);

struct PhaseRow {
    Codes codes;
    Cell a, b, c;
    Prepare prepare = nullptr;
};

constexpr bool Reads(const PhaseRow& row, Var var) {
    return Reads(row.a, var) || Reads(row.b, var) || Reads(row.c, var);
}

// A row as a function: its own working values first (false, with nothing written, when
// its routine refuses), then phases A, B and C.
struct PhaseRule {
    template <const auto& rows, std::size_t r>
    static bool Row(Work& w, double& mA, double& fA, double& mB, double& fB, double& mC, double& fC) {
        constexpr Prepare prepare = rows[r].prepare;
        if (prepare != nullptr && !prepare(w)) return false;
        WriteCellAt<CellAt<rows, r, &PhaseRow::a>>(w, mA, fA);
        WriteCellAt<CellAt<rows, r, &PhaseRow::b>>(w, mB, fB);
        WriteCellAt<CellAt<rows, r, &PhaseRow::c>>(w, mC, fC);
        return true;
    }
};

// Voltage codes that bypass the limiting. 11 and 99 share their rows with 51 and 50 and
// are limited all the same.
bool VoltageUnlimited(int code) {
    return code == 50 || code == 51 || code == 92 || code == 115 || code == 116 || code == 117 || code == 122;
}

// Phase voltages. U is the faulted-phase voltage (0-5, 123), the line voltage of the
// faulted loop turned onto φ (6-8), the phase voltage (9, 63-65) or line voltage (92, 122)
// of a symmetrical system, a sequence voltage (33-38), or the A-B voltage as two halves
// (50, 99 follow φ; 11, 51 sit at the fixed 180 and 0, raw).
constexpr PhaseRow kVoltageRows[] = {
    // codes            phase A                              phase B                              phase C
    {On(0),             cell(U, K(0) + Phi),                 cell(0, 0),                          cell(0, 0)},
    {On(1),             cell(0, 0),                          cell(U, K(0) + Phi),                 cell(0, 0)},
    {On(2),             cell(0, 0),                          cell(0, 0),                          cell(U, K(0) + Phi)},
    {On(3, 123),        cell(U, Phi + 0),                    cell(Uh, Phi + 240),                 cell(Uh, Phi + 120)},
    {On(4),             cell(Uh, Phi + 0 - 240),             cell(U, Phi + 240 - 240),            cell(Uh, Phi + 120 - 240)},
    {On(5),             cell(Uh, Phi + 0 - 120),             cell(Uh, Phi + 240 - 120),           cell(U, Phi + 120 - 120)},
    {On(6),             cell(Uf, K(360) - Delta + Phi - 30), cell(Uf, K(240) + Delta + Phi - 30), cell(Uh, K(120) + Phi - 30)},
    {On(7),             cell(Uh, K(90) + Phi),               cell(Uf, K(240) - Delta + 90 + Phi), cell(Uf, K(120) + Delta + 90 + Phi)},
    {On(8),             cell(Uf, K(0) + Delta + 210 + Phi),  cell(Uh, K(450) + Phi),              cell(Uf, K(120) - Delta + 210 + Phi)},
    {On(9, 63, 64, 65), cell(U, Phi + 0),                    cell(U, Phi + 240),                  cell(U, Phi + 120)},
    {On(92, 122),       cell(U / kSqrt3, K(0) + Phi),        cell(U / kSqrt3, K(240) + Phi),      cell(U / kSqrt3, K(120) + Phi)},
    {On(33),            cell(U, Phi),                        cell(U, Phi),                        cell(U, Phi)},
    {On(34),            cell(U, Phi),                        cell(U, K(240) + Phi),               cell(U, K(120) + Phi)},
    {On(35),            cell(U, Phi),                        cell(U, K(120) + Phi),               cell(U, K(240) + Phi)},
    {On(36),            cell(Ux, K(240) + Phi + 180 + Psi),  cell(Ux, K(240) + Phi + 180 - Psi),  cell(Nominal, K(240) + Phi),
                        NegativeSequenceAcrossLine},
    {On(37),            cell(Nominal, K(0) + Phi),           cell(Ux, K(0) + Phi + 180 + Psi),    cell(Ux, K(0) + Phi + 180 - Psi),
                        NegativeSequenceAcrossLine},
    {On(38),            cell(Ux, K(120) + Phi + 180 - Psi),  cell(Nominal, K(120) + Phi),         cell(Ux, K(120) + Phi + 180 + Psi),
                        NegativeSequenceAcrossLine},
    {On(50, 99),        cell(U / 2, Phi + 0),                cell(U / 2, Phi + 180),              kNotWritten},
    {On(11, 51),        raw(U / 2, 180),                     raw(U / 2, 0),                       kNotWritten},
};

// Earth fault in a network with isolated neutral: the faulted phase keeps U, the other
// two follow the neutral's displacement (Ub, θ from IsolatedNeutral).
constexpr PhaseRow kIsolatedNeutralRows[] = {
    // codes phase A                         phase B                         phase C
    {On(93), cell(U, K(0) + Phi),            cell(Ub, K(180) + Theta + Phi), cell(Ub, K(180) - Theta + Phi),
             IsolatedNeutral},
    {On(94), cell(Ub, K(180) - Theta + Phi), cell(U, K(0) + Phi),            cell(Ub, K(180) + Theta + Phi),
             IsolatedNeutral},
    {On(95), cell(Ub, K(180) + Theta + Phi), cell(Ub, K(180) - Theta + Phi), cell(U, K(0) + Phi),
             IsolatedNeutral},
};

// Phase currents. I is the faulted-phase current (0-5, 21-23, 123), the loop current of a
// phase-to-phase fault (6-8), the phase current of a star (9, 14-16, 63-65, 92), or the
// total 3·I0 split in thirds (11-13, 62). Zero phases of 3-5 keep their star angles;
// 72-74 ignore φ.
constexpr PhaseRow kCurrentRows[] = {
    // codes                    phase A                   phase B                   phase C
    {On(0),                     cell(I, Phi),             cell(0, 0),               cell(0, 0)},
    {On(1),                     cell(0, 0),               cell(I, Phi),             cell(0, 0)},
    {On(2),                     cell(0, 0),               cell(0, 0),               cell(I, Phi)},
    {On(3, 21, 123),            cell(I, Phi),             cell(K(0), K(240) + Phi), cell(K(0), K(120) + Phi)},
    {On(4, 22),                 cell(K(0), K(120) + Phi), cell(I, Phi),             cell(K(0), K(240) + Phi)},
    {On(5, 23),                 cell(K(0), K(240) + Phi), cell(K(0), K(120) + Phi), cell(I, Phi)},
    {On(6),                     cell(I, Phi),             cell(I, K(180) + Phi),    cell(0, 0)},
    {On(7),                     cell(0, 0),               cell(I, Phi),             cell(I, K(180) + Phi)},
    {On(8),                     cell(I, K(180) + Phi),    cell(0, 0),               cell(I, Phi)},
    {On(9, 15, 63, 64, 65, 92), cell(I, Phi),             cell(I, K(240) + Phi),    cell(I, K(120) + Phi)},
    {On(16),                    cell(I, Phi),             cell(I, K(120) + Phi),    cell(I, K(240) + Phi)},
    {On(14),                    cell(I, Phi),             cell(I, Phi),             cell(I, Phi)},
    {On(62),                    cell(I / 3, Phi),         cell(I / 3, Phi),         cell(I / 3, Phi)},
    {On(11, 12, 13),            raw(I / 3, Phi),          cell(I / 3, Phi),         cell(I / 3, Phi)},
    {On(72),                    cell(0, 0),               cell(I, 240),             cell(I, 120)},
    {On(73),                    cell(I, 0),               cell(0, 240),             cell(I, 120)},
    {On(74),                    cell(I, 0),               cell(I, 240),             cell(0, 120)},
};

using ApplyRow = bool (*)(Work&, double&, double&, double&, double&, double&, double&);
using VoltageRows = CompiledRows<kVoltageRows, PhaseRule, ApplyRow>;
using IsolatedNeutralRows = CompiledRows<kIsolatedNeutralRows, PhaseRule, ApplyRow>;
using CurrentRows = CompiledRows<kCurrentRows, PhaseRule, ApplyRow>;

constexpr LoopCodes kLoop = LoopCodes::Of<VoltageRows, IsolatedNeutralRows>();

}  // namespace
}  // namespace kv::fault

namespace kv {

int SetUFaza(int code, double U, double phi, double& UA, double& fiA, double& UB, double& fiB, double& UC,
             double& fiC) {
    using fault::Var;
    fault::RecordRequest(code, phi);

    if (U < 0) U = 0;
    int r = 0;
    double Uh = cst58V;
    double Uf = U / fault::kSqrt3;
    double delta = 0;
    if (code < 6) {  // signed: negative codes are limited here, then answer 3
        if (U > globUmax) {
            U = globUmax;
            Uh = globUmax;
            r = 1;
        } else if (U > cst58V) {
            Uh = U;  // the healthy phases follow a faulted phase above nominal
        }
    } else if (!fault::VoltageUnlimited(code)) {
        if (U > cst173V) {
            if (U > globUmax) {
                // Uf keeps U/√3 of the unlimited U: the faulted phases exceed globUmax.
                U = globUmax;
                Uh = globUmax;
                delta = 0;
                r = 1;
            } else {
                Uh = Uf = U / fault::kSqrt3;
                delta = 0;
            }
        } else if (U > cstUmax100) {
            Uh = Uf = U / fault::kSqrt3;  // a symmetrical system of line voltage U
            delta = 0;
        } else if (fault::kLoop.Places(code)) {
            // The faulted loop at line voltage U, the healthy phase at nominal: U = 100
            // gives the healthy star (δ = 0), U = 0 both faulted phases at Uh/2 (δ = 60).
            Uf = 0.5 * std::sqrt(U * U + Uh * Uh);
            delta = 60 - std::atan(U / Uh) * kRadToDeg;
        }
    }

    fault::Work w;
    w.U = U;
    w.Phi = phi;
    w.Uh = Uh;
    w.Uf = Uf;
    w.Delta = delta;
    w.Nominal = cst58V;

    // 93-95 write all six outputs here and then, having no row in the main table, still
    // answer 3; callers read the outputs regardless.
    if (const fault::ApplyRow isolated = fault::IsolatedNeutralRows::Find(code)) isolated(w, UA, fiA, UB, fiB, UC, fiC);

    const fault::ApplyRow row = static_cast<unsigned>(code) > 123U ? nullptr : fault::VoltageRows::Find(code);
    if (row == nullptr) return 3;
    if (code == 123 && fault::A1Enabled()) glob_bFault_A1_Enable = 1;
    if (!row(w, UA, fiA, UB, fiB, UC, fiC)) return 1;
    return r;
}

int SetIFaza(int code, double I, double phi, double& IA, double& fiA, double& IB, double& fiB, double& IC,
             double& fiC) {
    using fault::Var;
    fault::RecordRequest(code, phi);

    if (I < 0) I = 0;
    int r = 0;
    if (I > globImax) r = 2;  // reported, never limited

    // An unhandled code answers 3 even when the current was too large.
    const fault::ApplyRow row = static_cast<unsigned>(code) > 123U ? nullptr : fault::CurrentRows::Find(code);
    if (row == nullptr) return 3;
    if (code == 123 && fault::A1Enabled()) glob_bFault_A1_Enable = 1;

    fault::Work w;
    w.I = I;
    w.Phi = phi;
    row(w, IA, fiA, IB, fiB, IC, fiC);
    return r;
}

}  // namespace kv
