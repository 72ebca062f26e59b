// A model of the fault synthesis for the tests, independent of the library: the limits as
// rules, the working values from the geometry of the fault (complex numbers), and each
// code's phasors as cells "magnitude angle [r]": "Uf 330-d+p" is Uf at 330 - δ + φ (terms
// p φ, d δ, s ψ, t θ), r marks a raw angle, "." a phase not written; numbers stand for
// themselves ("57.735 240").
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>
#include <cstdlib>
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
        kv::cst58V = 100 / kR3, kv::cstUmax100 = 100, kv::cst173V = 207.9, kv::globUmax = 120, kv::globImax = 20;
        kv::glob_dUpitForProgramStandart = 220, kv::glob_bEnableAbsAngle = 1;
        kv::glob_dwKavorType = 35, kv::glob_dwProgramIconNumber = 103;  // code 123 sets its flag
    }
    void TearDown() override {
        const Saved& s = saved_;
        kv::cst58V = s.c58, kv::cstUmax100 = s.c100, kv::cst173V = s.c173, kv::globUmax = s.umax;
        kv::globImax = s.imax, kv::glob_dUpitForProgramStandart = s.up, kv::glob_bEnableAbsAngle = s.fold;
        kv::glob_dwKavorType = s.type, kv::glob_dwProgramIconNumber = s.icon;
        kv::glob_TT_nCombo_TypeKz = s.code, kv::glob_TT_dAngleKz = s.angle, kv::glob_bFault_A1_Enable = s.a1;
    }

private:
    struct Saved {
        double c58 = kv::cst58V, c100 = kv::cstUmax100, c173 = kv::cst173V, umax = kv::globUmax, imax = kv::globImax;
        double up = kv::glob_dUpitForProgramStandart, angle = kv::glob_TT_dAngleKz;
        int fold = kv::glob_bEnableAbsAngle, code = kv::glob_TT_nCombo_TypeKz, a1 = kv::glob_bFault_A1_Enable;
        kv::DWORD type = kv::glob_dwKavorType, icon = kv::glob_dwProgramIconNumber;
    } saved_;
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

struct Want {
    bool written = false;
    double m = 0, angle = 0;
    bool raw = false;
};

// "A | B | C"; an empty text is three phases not written.
inline std::vector<Want> Cells(const std::string& row, const Working& w) {
    std::vector<Want> out(3);
    if (row.empty()) return out;
    const std::map<std::string, double> named = {
        {"U", w.U}, {"Uh", w.Uh}, {"Uf", w.Uf}, {"U/r3", w.U / kR3}, {"U/2", w.U / 2}, {"Ux", w.Ux},
        {"N", kv::cst58V}, {"Ub", w.Ub}, {"I", w.I}, {"I/3", w.I / 3}, {"1.3Uh", 1.3 * w.Uh},
        {"Up/2", kv::glob_dUpitForProgramStandart / 2}};
    std::istringstream cells(row);
    std::string text, mag, angle, flag;
    for (std::size_t k = 0; k < 3 && std::getline(cells, text, '|'); ++k) {
        std::istringstream in(text);
        flag.clear();
        if (!(in >> mag >> angle)) continue;  // "."
        in >> flag;
        char* rest = nullptr;
        double a = std::strtod(angle.c_str(), &rest);
        for (; *rest != 0; rest += 2) {
            const double term = rest[1] == 'p' ? w.phi : rest[1] == 'd' ? w.d : rest[1] == 's' ? w.s : w.t;
            a += rest[0] == '+' ? term : -term;
        }
        const auto m = named.find(mag);
        out[k] = {true, m != named.end() ? m->second : std::strtod(mag.c_str(), nullptr), a, flag == "r"};
    }
    return out;
}

// Folded angles lie in [-0.0001, 359.999] and agree modulo 360 (just below 360 folds to 0).
inline bool SameAngle(double got, double want, bool folded, double tol) {
    if (!folded) return std::fabs(got - want) <= tol;
    if (got < -0.0001 || got > 359.999) return false;
    const double turn = std::fmod(std::fabs(got - want), 360.0);
    return std::min(turn, 360 - turn) <= tol || (got == 0 && std::fmod(std::fmod(want, 360.0) + 360, 360.0) > 359.999);
}

// Counts mismatches and reports the first few with the call, so one wrong row does not
// flood the log.
struct Checker {
    int failures = 0;
    std::function<std::string()> where;
    void operator()(bool ok, const char* what, double got = 0) {
        if (!ok && ++failures <= 12) ADD_FAILURE() << where() << ": " << what << " " << got;
    }
    void Recorded(int code, double phi) {
        (*this)(kv::glob_TT_nCombo_TypeKz == code && kv::glob_TT_dAngleKz == phi, "recorded code and angle");
        (*this)(kv::glob_bFault_A1_Enable == (code == 123 ? 1 : 0), "A1 flag", kv::glob_bFault_A1_Enable);
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

}  // namespace faultmodel
