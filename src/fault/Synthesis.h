// What the synthesis functions share: the codes of a table row, the writing of a cell,
// the request every call records first, and the working values of the computed
// patterns that several functions use.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "fault/Expr.h"
#include "phasor/AngleConstants.h"

namespace kv::fault {

// The codes one table row covers.
struct Codes {
    std::array<int, 6> list{};
    std::size_t count = 0;
};

template <typename... Code>
constexpr Codes On(Code... code) {
    return Codes{{code...}, sizeof...(code)};
}

// The row of a table that lists `code`, or null.
template <class Row, std::size_t N>
const Row* FindRow(const Row (&rows)[N], int code) {
    for (const Row& row : rows)
        for (std::size_t k = 0; k < row.codes.count; ++k)
            if (row.codes.list[k] == code) return &row;
    return nullptr;
}

// Magnitude first, then the angle; a cell that is not written leaves both as they are.
inline void WriteCell(const Cell& c, const Work& w, double& magnitude, double& angle) {
    if (!c.written) return;
    magnitude = Evaluate(c.magnitude, w);
    const double a = Evaluate(c.angle, w);
    angle = c.raw ? a : AbsAngleGr(a);
}

// Every call records the request before anything else, valid or not.
inline void RecordRequest(int code, double phi) {
    glob_TT_nCombo_TypeKz = code;
    glob_TT_dAngleKz = phi;
    glob_bFault_A1_Enable = 0;
}

// Code 123 (FaultA1N) is offered only on device type 35 in four of the test programs;
// stricter than the catalogue's lookup, which asks for the device type alone.
inline bool A1Enabled() {
    const DWORD icon = glob_dwProgramIconNumber;
    return glob_dwKavorType == 35 && (icon == 101 || icon == 102 || icon == 103 || icon == 105);
}

// 36-38: U is the negative-sequence voltage of a phase-to-phase fault whose healthy
// phase stays at the nominal cst58V (not Uh). L is the line voltage between the faulted
// phases; false when no such fault gives U (above about 28.87 V).
inline bool NegativeSequenceAcrossLine(Work& w) {
    const double L = cstUmax100 - (w[Var::U] + w[Var::U]) * kSqrt3;
    if (L > cstUmax100 + 0.001 || L < 0) return false;
    w[Var::Psi] = std::atan((L / 2) / (cst58V / 2)) * kRadToDeg;
    w[Var::Ux] = std::sqrt((L / 2) * L / 2 + (cst58V / 2) * cst58V / 2);
    return true;
}

// 93-95: the star of source voltages Uh with its neutral displaced so that the faulted
// phase keeps U. Always possible (true): a = 0 would need U = 1.5·Uh.
inline bool IsolatedNeutral(Work& w) {
    if (w[Var::U] > cst58V) w[Var::Uh] = w[Var::U];
    const double uh = w[Var::Uh];
    const double a = uh / 2 + uh - w[Var::U];
    const double b = uh * kSqrt3 / 2;
    w[Var::Theta] = std::atan(b / a) * kRadToDeg;
    w[Var::Ub] = std::sqrt(a * a + b * b);
    return true;
}

}  // namespace kv::fault
