// A model of the fault synthesis for the tests, independent of the library: the limits as
// rules, the working values from the geometry of the fault (complex numbers), and each
// code's phasors in a short notation, "magnitude@angle" per phasor: "Uf@330-d+p" is Uf at
// 330 - δ + φ (the terms of Parse), "!" marks a raw angle, "-" a phase not written;
// numbers stand for themselves ("57.735@240").
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <climits>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "Kv_Data/Fault.h"
#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"

namespace faultmodel {

using Cx = std::complex<double>;
inline const double kR3 = std::sqrt(3.0);
inline double Deg(double rad) { return rad * 180 / std::numbers::pi; }
inline Cx At(double magnitude, double deg) { return std::polar(magnitude, deg * std::numbers::pi / 180); }
inline constexpr double kSentinel = -12345.678;

// Sets the start-up limits; restores every global the synthesis reads or writes.
class FaultSynthesis : public ::testing::Test {
protected:
    void SetUp() override {
        for (double* p : doubles_) savedD_.push_back(*p);
        for (int* p : ints_) savedI_.push_back(*p);
        savedW_ = {kv::glob_dwKavorType, kv::glob_dwProgramIconNumber};
        kv::cst58V = 100 / kR3, kv::cstUmax100 = 100, kv::cst173V = 207.9, kv::globUmax = 120, kv::globImax = 20;
        kv::glob_dUpitForProgramStandart = 220, kv::glob_bEnableAbsAngle = 1;
        kv::glob_dwKavorType = 35, kv::glob_dwProgramIconNumber = 103;  // code 123 sets its flag
    }
    void TearDown() override {
        for (std::size_t k = 0; k < doubles_.size(); ++k) *doubles_[k] = savedD_[k];
        for (std::size_t k = 0; k < ints_.size(); ++k) *ints_[k] = savedI_[k];
        kv::glob_dwKavorType = savedW_[0], kv::glob_dwProgramIconNumber = savedW_[1];
    }
    // The stored values the sequence patterns read, first the ones a test may zero.
    const std::vector<double*> doubles_ = {&kv::glob_dU0, &kv::glob_dU0f, &kv::glob_dU1, &kv::glob_dU1f,
        &kv::glob_dU2, &kv::glob_dU2f, &kv::glob_dI0, &kv::glob_dI0f, &kv::glob_dI1, &kv::glob_dI1f, &kv::glob_dI2,
        &kv::glob_dI2f, &kv::glob_dUA, &kv::glob_dUAf, &kv::glob_dUB, &kv::glob_dUBf, &kv::glob_dUC, &kv::glob_dUCf,
        &kv::glob_dIA, &kv::glob_dIAf, &kv::glob_dIB, &kv::glob_dIBf, &kv::glob_dIC, &kv::glob_dICf,
        &kv::glob_dUA_NoLoad, &kv::glob_dUAf_NoLoad, &kv::glob_dUB_NoLoad, &kv::glob_dUBf_NoLoad,
        &kv::glob_dUC_NoLoad, &kv::glob_dUCf_NoLoad, &kv::glob_dIA_NoLoad, &kv::glob_dIAf_NoLoad,
        &kv::glob_dIB_NoLoad, &kv::glob_dIBf_NoLoad, &kv::glob_dIC_NoLoad, &kv::glob_dICf_NoLoad, &kv::glob_dUk,
        &kv::glob_TT_dAngleKz, &kv::cst58V, &kv::cstUmax100, &kv::cst173V, &kv::globUmax, &kv::globImax,
        &kv::glob_dUpitForProgramStandart};
    const std::vector<int*> ints_ = {&kv::glob_b_ModeNoLoad, &kv::glob_n_U0_or_U1_or_U2,
        &kv::glob_n_I0_or_I1_or_I2, &kv::glob_bChangeUniversal_U_or_I, &kv::glob_bEnableAbsAngle,
        &kv::glob_TT_nCombo_TypeKz, &kv::glob_bFault_A1_Enable};

private:
    std::vector<double> savedD_;
    std::vector<int> savedI_;
    std::vector<kv::DWORD> savedW_;
};

struct Working {
    double U = 0, Uh = 0, Uf = 0, d = 0, Ux = 0, s = 0, Ub = 0, t = 0, I = 0, phi = 0;
    int r = 0;
};

// The faulted pair of a loop at line voltage U opposite a healthy phase Uh lies at the
// midpoint -Uh/2 ± U/2: their magnitude, and their shift δ from the healthy star.
inline void Loop(Working& w) {
    const Cx a(w.U / 2, -w.Uh / 2);  // phase A of an AB loop at 0 degrees, healthy C at 90
    w.Uf = std::abs(a);
    w.d = -30 - Deg(std::arg(a));
}

// The computed patterns, from the final U and Uh.
inline void Patterns(Working& w) {
    // 36-38: a loop at line voltage L = 100 - 2√3·U2 opposite the nominal phase.
    const double L = kv::cstUmax100 - 2 * kR3 * w.U;
    w.Ux = std::abs(Cx(L / 2, kv::cst58V / 2));
    w.s = Deg(std::arg(Cx(kv::cst58V / 2, L / 2)));
    // 93-95: a star Uh (U above nominal) shifted along the faulted phase until it holds U.
    const double star = w.U > kv::cst58V ? w.U : w.Uh;
    const Cx lagging = At(star, 240) + (w.U - star);
    w.Ub = std::abs(lagging);
    w.t = Deg(std::arg(lagging)) + 180;
}

struct Want { bool written = false; double m = 0, angle = 0; bool raw = false; };

// a op b op c ..., left to right; operands are numbers or the names in vars.
inline double Eval(const std::string& s, const std::map<std::string, double>& vars) {
    double value = 0;
    char op = s[0] == '-' ? '-' : '+';
    for (std::size_t k = op == '-' ? 1 : 0; k < s.size();) {
        double x = 0;
        if (std::isdigit(static_cast<unsigned char>(s[k]))) {
            char* end = nullptr;
            x = std::strtod(s.c_str() + k, &end);
            k = static_cast<std::size_t>(end - s.c_str());
        } else {
            std::size_t e = k;
            while (e < s.size() && std::isalnum(static_cast<unsigned char>(s[e]))) ++e;
            x = vars.at(s.substr(k, e - k));
            k = e;
        }
        value = op == '+' ? value + x : op == '-' ? value - x : op == '*' ? value * x : value / x;
        if (k < s.size()) op = s[k++];
    }
    return value;
}

// n cells "magnitude@angle", "!" after a raw angle, "-" for an output not written, or
// aliases that stand for several cells; an empty row writes nothing.
inline std::vector<Want> Parse(const std::string& row, const std::map<std::string, double>& vars, std::size_t n = 3,
                               const std::map<std::string, std::string>& aliases = {}) {
    std::vector<std::string> cells;
    std::istringstream in(row);
    for (std::string t; in >> t;) {
        std::istringstream sub(aliases.count(t) ? aliases.at(t) : t);
        for (std::string c; sub >> c;) cells.push_back(c);
    }
    if (!row.empty()) {
        EXPECT_EQ(cells.size(), n) << row;
    }
    std::vector<Want> p(n);
    for (std::size_t k = 0; k < n && k < cells.size(); ++k) {
        std::string c = cells[k];
        if (c == "-") continue;
        const bool raw = c.back() == '!';
        if (raw) c.pop_back();
        const std::size_t at = c.find('@');
        p[k] = {true, Eval(c.substr(0, at), vars), Eval(c.substr(at + 1), vars), raw};
    }
    return p;
}

// The working values by name: angle terms p (φ), d (δ), s (ψ), t (θ).
inline std::vector<Want> Parse(const std::string& row, const Working& w) {
    return Parse(row, {{"U", w.U}, {"Uh", w.Uh}, {"Uf", w.Uf}, {"Ux", w.Ux}, {"Ub", w.Ub}, {"I", w.I},
                       {"N", kv::cst58V}, {"Up", kv::glob_dUpitForProgramStandart}, {"r3", kR3}, {"p", w.phi},
                       {"d", w.d}, {"s", w.s}, {"t", w.t}});
}

// Folded angles lie in [-0.0001, 359.999] and agree modulo 360 (just below 360 folds to 0).
inline bool SameAngle(double got, double want, bool folded, double tol) {
    if (std::isnan(want)) return std::isnan(got);
    if (!folded) return std::fabs(got - want) <= tol;
    if (got < -0.0001 || got > 359.999) return false;
    const double turn = std::fmod(std::fabs(got - want), 360.0);
    return std::min(turn, 360 - turn) <= tol || (got == 0 && std::fmod(std::fmod(want, 360.0) + 360, 360.0) > 359.999);
}

// The flag of code 123: device type 35 and programs 101, 102, 103 or 105 only.
inline int A1(int code) {
    const kv::DWORD p = kv::glob_dwProgramIconNumber;
    return code == 123 && kv::glob_dwKavorType == 35 && (p == 101 || p == 102 || p == 103 || p == 105) ? 1 : 0;
}

// Counts mismatches and reports the first few with the call, so one wrong row does not
// flood the log.
struct Checker {
    int failures = 0;
    std::function<std::string()> where;
    void operator()(bool ok, const char* what, double got = 0) {
        if (!ok && ++failures <= 12) ADD_FAILURE() << where() << ": " << what << " " << got;
    }
    // The code and the angle to the bit (a -0 stays -0), and the A1 flag.
    void Recorded(int code, double phi) {
        (*this)(kv::glob_TT_nCombo_TypeKz == code && std::memcmp(&kv::glob_TT_dAngleKz, &phi, sizeof phi) == 0,
                "recorded code and angle");
        (*this)(kv::glob_bFault_A1_Enable == A1(code), "A1 flag", kv::glob_bFault_A1_Enable);
    }
    // Three phases, magnitude m[k·stride] and angle a[k·stride]; unwritten ones keep the sentinel.
    void Phases(const std::vector<Want>& want, const double* m, const double* a, std::size_t stride,
                double tol = 1e-9) {
        for (std::size_t k = 0; k < 3; ++k) {
            const double mk = m[k * stride], ak = a[k * stride];
            if (!want[k].written) {
                (*this)(mk == kSentinel && ak == kSentinel, "written phase", static_cast<double>(k));
                continue;
            }
            (*this)(std::fabs(mk - want[k].m) <= tol * std::max(1.0, std::fabs(want[k].m)), "magnitude", mk);
            (*this)(SameAngle(ak, want[k].angle, kv::glob_bEnableAbsAngle != 0 && !want[k].raw, tol), "angle", ak);
        }
    }
};

inline void PrimeRecorded() {
    kv::glob_TT_nCombo_TypeKz = 4711, kv::glob_TT_dAngleKz = -1, kv::glob_bFault_A1_Enable = 7;
}

inline std::vector<int> AllCodes() {
    std::vector<int> codes = {INT_MIN, -1, INT_MAX};
    for (int c = 0; c <= 200; ++c) codes.push_back(c);
    return codes;
}

template <typename T>
std::map<int, T> ByCode(const std::vector<std::pair<std::vector<int>, T>>& rows) {
    std::map<int, T> out;
    for (const auto& [codes, row] : rows)
        for (int c : codes) out[c] = row;
    return out;
}

inline std::string Call(const char* fn, int code, double magnitude, double phi) {
    std::ostringstream s;
    s << fn << "(" << code << ", " << magnitude << ", " << phi << ") fold " << kv::glob_bEnableAbsAngle
      << " Umax " << kv::globUmax;
    return s.str();
}

// The twelve outputs in argument order: UA fiUA UB fiUB UC fiUC IA fiIA IB fiIB IC fiIC.
using Out = std::array<double, 12>;

// The twelve-output SetUIFaza on sentinels; checks the recorded globals.
inline int Call12(Out& o, int code, double U, double I, double phi, double Unom, double Aux, double AuxAngle,
                  double Uhealthy) {
    o.fill(kSentinel);
    PrimeRecorded();
    const int r = kv::SetUIFaza(code, U, I, phi, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7], o[8], o[9], o[10],
                                o[11], Unom, Aux, AuxAngle, Uhealthy);
    Checker check{0, [=] { return Call("SetUIFaza", code, U, phi); }};
    check.Recorded(code, phi);
    return r;
}

// What the voltages mean: the loop voltage of 6-8 is U ∠ φ against ref (the loop current's
// direction, or 1); 36-38 carry the negative-sequence voltage U; 93-95 are a balanced star
// plus a shift (no negative sequence) with the faulted phase at U ∠ φ. phases(code, u, phi,
// V) writes the three voltages and ref as V[3], and returns the result.
inline void ExpectPhysicalMeaning(const std::function<int(int, double, double, Cx*)>& phases) {
    const Cx a = At(1, 120);
    Cx v[4];
    const auto negative = [&] { return std::abs(v[0] + a * a * v[1] + a * v[2]) / 3.0; };
    for (double phi : {0.0, 30.0, 200.0})
        for (double u : {0.0, 5.0, 28.0, 57.0, 99.0, 150.0}) {
            for (int code : {6, 7, 8}) {
                phases(code, u, phi, v);
                EXPECT_LT(std::abs((v[code - 6] - v[(code - 5) % 3]) / v[3] - At(u, phi)), 1e-9) << code << " " << u;
            }
            for (int code : {36, 37, 38})
                if (phases(code, u, phi, v) == 0) { EXPECT_NEAR(negative(), u, 1e-9) << code; }
            for (int code : {93, 94, 95}) {
                phases(code, u, phi, v);
                EXPECT_LT(negative(), 1e-9) << code << " " << u;
                EXPECT_LT(std::abs(v[code - 93] - At(u, phi)), 1e-9) << code << " " << u;
            }
        }
}

}  // namespace faultmodel
