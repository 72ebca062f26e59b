// What the synthesis functions share: the codes of a table row, the tables compiled row
// by row, the writing of a cell, the request every call records first, and the working
// values of the computed patterns that several functions use.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "fault/Expr.h"
#include "phasor/AngleConstants.h"
#include "phasor/Angles.h"

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

// Fault codes run from 0 to 132.
inline constexpr std::size_t kCodeCount = 133;

// A cell of a table, named at compile time: the field `field` of row r of rows, either a
// Cell or a Triple, of which phase k.
template <const auto& rows, std::size_t r, auto field, std::size_t k = 0>
struct CellAt {
    static constexpr const Cell& Get() {
        const auto& f = rows[r].*field;
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(f)>, Cell>) {
            return f;
        } else {
            return f[k];
        }
    }
};

// Term i of an expression of the cell At names, combined with the value so far; the
// term's operation and operand are constants here.
template <class At, Expr Cell::*part, std::size_t i>
[[gnu::always_inline]] inline double Step(double soFar, const Work& w) {
    constexpr Term t = (At::Get().*part).terms[i];
    double x = t.constant;
    if constexpr (t.var != Var::constant) {
        constexpr double Work::*slot = kWorkSlots[static_cast<std::size_t>(t.var) - 1];
        x = w.*slot;
    }
    if constexpr (i == 0) {
        return x;
    } else {
        return Combine(t.op, soFar, x);
    }
}

template <class At, Expr Cell::*part, std::size_t... i>
[[gnu::always_inline]] inline double EvaluateAt(const Work& w, std::index_sequence<i...>) {
    double result = 0;
    ((result = Step<At, part, i>(result, w)), ...);
    return result;
}

// The cell At names, written with each expression unrolled into its terms, every
// operation and operand known to the compiler: the cost is that of the written
// arithmetic, in its written order. Magnitude first, then the angle; a cell that is not
// written leaves both as they are.
template <class At>
[[gnu::always_inline]] inline void WriteCellAt(const Work& w, double& magnitude, double& angle) {
    if constexpr (At::Get().written) {
        magnitude = EvaluateAt<At, &Cell::magnitude>(w, std::make_index_sequence<At::Get().magnitude.count>{});
        const double a = EvaluateAt<At, &Cell::angle>(w, std::make_index_sequence<At::Get().angle.count>{});
        if constexpr (At::Get().raw) {
            angle = a;
        } else {
            angle = angles::Abs(a);
        }
    }
}

// A table of rows, each row compiled into a function of its own,
// Rule::Row<rows, r>(args...), which writes the row's cells through WriteCellAt. Rows
// are found by code through an index built at compile time; a code out of range or in
// two rows does not compile.
template <const auto& rows, class Rule, class Fn>
class CompiledRows;

template <const auto& rows, class Rule, class R, class... Args>
class CompiledRows<rows, Rule, R (*)(Args...)> {
public:
    using Fn = R (*)(Args...);

    // The function of the row that lists code, or null.
    static Fn Find(int code) {
        return code >= 0 && static_cast<std::size_t>(code) < kCodeCount ? kByCode[static_cast<std::size_t>(code)]
                                                                          : nullptr;
    }

    // For each code, whether its row reads one of vars (false for a code without a row).
    template <class... V>
    static constexpr std::array<bool, kCodeCount> CodesReading(V... vars) {
        std::array<bool, kCodeCount> reading{};
        for (const auto& row : rows)
            for (std::size_t k = 0; k < row.codes.count; ++k)
                reading[static_cast<std::size_t>(row.codes.list[k])] = (Reads(row, vars) || ...);
        return reading;
    }

private:
    static constexpr std::size_t kRowCount = std::size(rows);

    template <std::size_t... r>
    static constexpr std::array<Fn, kCodeCount> Index(std::index_sequence<r...>) {
        const std::array<Fn, kRowCount> functions = {&Rule::template Row<rows, r>...};
        std::array<Fn, kCodeCount> byCode{};
        for (std::size_t k = 0; k < kRowCount; ++k) {
            for (std::size_t c = 0; c < rows[k].codes.count; ++c) {
                const int code = rows[k].codes.list[c];
                if (code < 0 || static_cast<std::size_t>(code) >= kCodeCount) throw "fault code out of range";
                if (byCode[static_cast<std::size_t>(code)] != nullptr) throw "fault code in two rows";
                byCode[static_cast<std::size_t>(code)] = functions[k];
            }
        }
        return byCode;
    }

    static constexpr std::array<Fn, kCodeCount> kByCode = Index(std::make_index_sequence<kRowCount>{});
};

// Which codes place a faulted loop: their rows' cells read Uf or δ (the rows' own
// routines read only U and Uh). For the other codes a frame skips the loop's square
// root and arctangent, whose results nothing would read.
class LoopCodes {
public:
    template <class... Tables>
    static constexpr LoopCodes Of() {
        const std::array<std::array<bool, kCodeCount>, sizeof...(Tables)> reading = {
            Tables::CodesReading(Var::Uf, Var::Delta)...};
        LoopCodes loop;
        for (const auto& table : reading)
            for (std::size_t k = 0; k < kCodeCount; ++k) loop.m_codes[k] = loop.m_codes[k] || table[k];
        return loop;
    }

    constexpr bool Places(int code) const {
        return code >= 0 && static_cast<std::size_t>(code) < kCodeCount && m_codes[static_cast<std::size_t>(code)];
    }

private:
    std::array<bool, kCodeCount> m_codes{};
};

// Phases A, B, C of the outputs, given as doubles or as pointers to them.
inline double& Slot(double& x) { return x; }
inline double& Slot(double* x) { return *x; }

// The three cells of the Triple field `half` of row r into phases A, B, C of the outputs.
template <const auto& rows, std::size_t r, auto half, class Magnitudes, class Angles>
[[gnu::always_inline]] inline void WriteTripleAt(const Work& w, Magnitudes& magnitude, Angles& angle) {
    WriteCellAt<CellAt<rows, r, half, 0>>(w, Slot(magnitude[0]), Slot(angle[0]));
    WriteCellAt<CellAt<rows, r, half, 1>>(w, Slot(magnitude[1]), Slot(angle[1]));
    WriteCellAt<CellAt<rows, r, half, 2>>(w, Slot(magnitude[2]), Slot(angle[2]));
}

// The rows of several tables as one array, in the order given.
template <class Row, std::size_t... N>
constexpr auto Join(const Row (&... tables)[N]) {
    std::array<Row, (N + ...)> joined{};
    std::size_t k = 0;
    ((std::copy(std::begin(tables), std::end(tables), joined.begin() + static_cast<std::ptrdiff_t>(k)), k += N), ...);
    return joined;
}

// A cell known only at run time: magnitude first, then the angle; a cell that is not
// written leaves both as they are.
inline void WriteCell(const Cell& c, const Work& w, double& magnitude, double& angle) {
    if (!c.written) return;
    magnitude = Evaluate(c.magnitude, w);
    const double a = Evaluate(c.angle, w);
    angle = c.raw ? a : angles::Abs(a);
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
