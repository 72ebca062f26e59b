// Row expressions of the fault tables. A table cell is written the way the tables of
// the fault model read, e.g. `cell(Uf, K(360) - Delta + Phi - K(30))`, and is evaluated
// strictly left to right: ((360 - δ) + φ) - 30. The order matters to the last bit, so
// an expression is a flat chain of terms, never re-associated.
#pragma once

#include <array>
#include <cstddef>

namespace kv::fault {

// The working values a row may refer to; a synthesis call fills them before its rows.
enum class Var : unsigned char {
    constant,
    U,      // the fault voltage after the frame's limiting
    I,      // the fault current
    Phi,    // the fault angle, degrees
    Uh,     // voltage of the healthy phases
    Uf,     // voltage of each faulted phase of a phase-to-phase fault
    Delta,  // angular shift of the faulted phases, degrees
    Ux,     // negative-sequence patterns: faulted-phase voltage
    Psi,    // negative-sequence patterns: angle, degrees
    Ub,     // isolated-neutral earth faults: voltage of the two healthy phases
    Theta,  // isolated-neutral earth faults: angle, degrees
    Aux,
    Uhealthy,
    Ik,     // the fixed second current
    Up,     // the supply voltage
    Nominal,  // the nominal phase voltage cst58V
    Extra,  // a value a row computes for itself
    count
};

struct Term {
    char op;  // '+', '-', '*', '/' on the value so far; ignored for the first term
    Var var;
    double constant;
};

inline constexpr std::size_t kMaxTerms = 6;

struct Expr {
    std::array<Term, kMaxTerms> terms{};
    std::size_t count = 0;
};

constexpr Expr K(double value) {
    Expr e;
    e.terms[0] = {'+', Var::constant, value};
    e.count = 1;
    return e;
}

constexpr Expr V(Var var) {
    Expr e;
    e.terms[0] = {'+', var, 0.0};
    e.count = 1;
    return e;
}

// Appends one term; the right operand must be a single term, which keeps the chain flat
// (a compound right operand does not compile in a constant expression).
constexpr Expr Append(Expr lhs, char op, const Expr& rhs) {
    if (rhs.count != 1 || lhs.count >= kMaxTerms) throw "a row expression is a flat chain of single terms";
    lhs.terms[lhs.count] = rhs.terms[0];
    lhs.terms[lhs.count].op = op;
    ++lhs.count;
    return lhs;
}

constexpr Expr operator+(const Expr& a, const Expr& b) { return Append(a, '+', b); }
constexpr Expr operator-(const Expr& a, const Expr& b) { return Append(a, '-', b); }
constexpr Expr operator*(const Expr& a, const Expr& b) { return Append(a, '*', b); }
constexpr Expr operator/(const Expr& a, const Expr& b) { return Append(a, '/', b); }
constexpr Expr operator+(const Expr& a, double b) { return Append(a, '+', K(b)); }
constexpr Expr operator-(const Expr& a, double b) { return Append(a, '-', K(b)); }
constexpr Expr operator*(const Expr& a, double b) { return Append(a, '*', K(b)); }
constexpr Expr operator/(const Expr& a, double b) { return Append(a, '/', K(b)); }

inline constexpr Expr U = V(Var::U);
inline constexpr Expr I = V(Var::I);
inline constexpr Expr Phi = V(Var::Phi);
inline constexpr Expr Uh = V(Var::Uh);
inline constexpr Expr Uf = V(Var::Uf);
inline constexpr Expr Delta = V(Var::Delta);
inline constexpr Expr Ux = V(Var::Ux);
inline constexpr Expr Psi = V(Var::Psi);
inline constexpr Expr Ub = V(Var::Ub);
inline constexpr Expr Theta = V(Var::Theta);
inline constexpr Expr Aux = V(Var::Aux);
inline constexpr Expr Uhealthy = V(Var::Uhealthy);
inline constexpr Expr Ik = V(Var::Ik);
inline constexpr Expr Up = V(Var::Up);
inline constexpr Expr Nominal = V(Var::Nominal);
inline constexpr Expr Extra = V(Var::Extra);

// √3 as the fault model uses it.
inline constexpr double kSqrt3 = 1.7320508075688772;

// The values of the working variables during one call, named as in Var, all 0 until
// set. The constructor names every slot, so the compiler clears the block with plain
// stores; an aggregate's zero-fill became a string instruction that cost more than a
// short row's arithmetic.
struct Work {
    Work()
        : U(0), I(0), Phi(0), Uh(0), Uf(0), Delta(0), Ux(0), Psi(0), Ub(0), Theta(0), Aux(0), Uhealthy(0), Ik(0),
          Up(0), Nominal(0), Extra(0) {}

    double U;
    double I;
    double Phi;
    double Uh;
    double Uf;
    double Delta;
    double Ux;
    double Psi;
    double Ub;
    double Theta;
    double Aux;
    double Uhealthy;
    double Ik;
    double Up;
    double Nominal;
    double Extra;

    double& operator[](Var var);
    double operator[](Var var) const;
};

// The slot of each variable, in the order of Var after the constant.
inline constexpr std::array<double Work::*, static_cast<std::size_t>(Var::count) - 1> kWorkSlots = {
    &Work::U,  &Work::I,  &Work::Phi,   &Work::Uh,  &Work::Uf,       &Work::Delta, &Work::Ux,      &Work::Psi,
    &Work::Ub, &Work::Theta, &Work::Aux, &Work::Uhealthy, &Work::Ik, &Work::Up,    &Work::Nominal, &Work::Extra};

inline double& Work::operator[](Var var) { return this->*kWorkSlots[static_cast<std::size_t>(var) - 1]; }
inline double Work::operator[](Var var) const { return this->*kWorkSlots[static_cast<std::size_t>(var) - 1]; }

// One step of an expression: the value so far combined with the next operand.
[[gnu::always_inline]] constexpr double Combine(char op, double soFar, double x) {
    switch (op) {
        case '+': return soFar + x;
        case '-': return soFar - x;
        case '*': return soFar * x;
        default: return soFar / x;
    }
}

constexpr double Operand(const Term& t, const Work& w) { return t.var == Var::constant ? t.constant : w[t.var]; }

// An expression known only at run time; the tables' own cells are compiled (Synthesis.h).
constexpr double Evaluate(const Expr& e, const Work& w) {
    double result = Operand(e.terms[0], w);
    for (std::size_t i = 1; i < e.count; ++i) result = Combine(e.terms[i].op, result, Operand(e.terms[i], w));
    return result;
}

// One output phasor of a row: its magnitude, its angle, and whether the angle is folded
// through AbsAngleGr (the rule) or stored raw. A phasor that is not written is absent.
struct Cell {
    bool written = false;
    Expr magnitude;
    Expr angle;
    bool raw = false;
};

constexpr Cell cell(const Expr& magnitude, const Expr& angle) { return {true, magnitude, angle, false}; }
constexpr Cell raw(const Expr& magnitude, const Expr& angle) { return {true, magnitude, angle, true}; }
constexpr Cell cell(double magnitude, double angle) { return cell(K(magnitude), K(angle)); }
constexpr Cell raw(double magnitude, double angle) { return raw(K(magnitude), K(angle)); }
constexpr Cell cell(const Expr& magnitude, double angle) { return cell(magnitude, K(angle)); }
constexpr Cell raw(const Expr& magnitude, double angle) { return raw(magnitude, K(angle)); }
inline constexpr Cell kNotWritten{};

// The three current or the three voltage cells of a row, phases A, B, C.
using Triple = std::array<Cell, 3>;

constexpr bool Reads(const Expr& e, Var var) {
    for (std::size_t i = 0; i < e.count; ++i)
        if (e.terms[i].var == var) return true;
    return false;
}

constexpr bool Reads(const Cell& c, Var var) {
    return c.written && (Reads(c.magnitude, var) || Reads(c.angle, var));
}

constexpr bool Reads(const Triple& cells, Var var) {
    return Reads(cells[0], var) || Reads(cells[1], var) || Reads(cells[2], var);
}

}  // namespace kv::fault
