// Every numeric routine with NaN, infinities, signed zeros, denormals, ±1e308 and the
// extreme int codes. Run under the sanitizers, a call that completes is already the
// main check; where the library defines an in-band result, it is checked too.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "Kv_Data.h"

namespace {

using kv::CString;
using kv::CValueIU;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDenorm = std::numeric_limits<double>::denorm_min();
constexpr double kHostile[] = {kNaN, kInf, -kInf, 0.0, -0.0, kDenorm, -kDenorm, 1e308, -1e308};
constexpr int kExtremeInts[] = {INT_MIN, INT_MIN + 1, -1, INT_MAX - 1, INT_MAX};
constexpr double kPi = 3.141592653589793;

bool Same(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }
bool Tiny(double x) { return x == 0.0 || std::fabs(x) == kDenorm; }

// The limits and switches that the transforms and the synthesis read, at their start-up
// values whatever an earlier test left.
class Hostile : public ::testing::Test {
protected:
    void SetUp() override {
        kv::globUmax = 120, kv::globImax = 20, kv::cst58V = 57.735026918962575;
        kv::cstUmax100 = 100, kv::cst173V = 207.9, kv::glob_bEnableAbsAngle = 1, kv::glob_bArm = 0;
    }
};

TEST_F(Hostile, RoundingSaturatesAndClamps) {
    const struct {
        double x;
        int round, roundshort;
        float single;
    } rows[] = {
        {kInf, INT_MAX, 32767, 1e35f},    {-kInf, INT_MIN, -32768, -1e35f}, {1e308, INT_MAX, 32767, 1e35f},
        {-1e308, INT_MIN, -32768, -1e35f}, {0.0, 0, 0, 1e-35f},
        {-0.0, 0, 0, 1e-35f},  // -0 >= 0 takes the positive clamp
        {kDenorm, 0, 0, 1e-35f},          {-kDenorm, 0, 0, -1e-35f},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(kv::round(r.x), r.round) << r.x;
        EXPECT_EQ(kv::round(static_cast<float>(r.x)), r.round) << r.x;
        EXPECT_EQ(kv::roundshort(r.x), r.roundshort) << r.x;
        EXPECT_EQ(kv::DoubleToFloat(r.x), r.single) << r.x;
    }
    EXPECT_TRUE(std::isnan(kv::DoubleToFloat(kNaN)));

    for (const double x : kHostile) {
        // Through the C library's text and back: special values survive, denormals
        // print as (signed) zero.
        for (const int decimals : {2, INT_MIN}) {
            const double back = kv::dRound(x, decimals);
            const double expected = std::fabs(x) == kDenorm ? std::copysign(0.0, x) : x;
            EXPECT_TRUE(std::isnan(x) ? std::isnan(back) : Same(back, expected)) << x << " " << decimals;
        }
        for (const double b : {0.0, -0.0, kDenorm, -kDenorm}) EXPECT_EQ(kv::ResultDiv(x, b), 99999.9) << x;
        for (const int n : kExtremeInts) EXPECT_EQ(kv::IsEqual(x, x, n), 1) << x << " " << n;
        for (const double y : kHostile) {
            // Values below 1e-8 in magnitude round to 0 whatever the step.
            EXPECT_TRUE(!Tiny(x) || kv::dDivRound(x, y) == 0.0) << x << " " << y;
            kv::dDivRound(x, y), kv::dDivRoundDegree(x, y), kv::IsEqual(x, y, 3);
        }
        for (const int n : kExtremeInts) kv::DivRound(x, n);
    }
    for (const int a : kExtremeInts)
        for (const int b : kExtremeInts) kv::DivRound(a, b);
}

TEST_F(Hostile, NumberTextOfSpecialValues) {
    const struct {
        double x;
        int precision, width;
        const char* text;
    } rows[] = {{kNaN, 2, 6, "   nan"}, {kInf, 3, 8, "     inf"}, {-kInf, 0, 0, "-inf"}, {-0.0, 1, 4, "-0.0"},
                {1.5, INT_MIN, 0, "1.5"}};  // a negative precision means six decimals
    for (const auto& r : rows) EXPECT_EQ(kv::EStr(r.x, r.precision, r.width), r.text) << r.x;
    EXPECT_EQ(kv::EStr(1e308, 2, 0).GetLength(), 309 + 2);
    EXPECT_EQ(kv::EStr(-kDenorm, 2, 0), "-0.0");

    // Only a sign, a point or a digit starts a number; atof reads what follows.
    for (const auto& [text, value] : {std::pair{"nan", 99999999999.0}, {"inf", 99999999999.0}, {"-inf", -kInf},
                                      {"1e999", kInf}, {"4.9e-324", kDenorm}, {"-0", -0.0}}) {
        CString s(text);
        EXPECT_TRUE(Same(kv::EAtStr(s), value)) << text;
    }
    EXPECT_EQ(kv::LAtStr("nan"), 99999999);
    EXPECT_EQ(kv::LAtStr("-2147483649"), INT32_MIN);
    EXPECT_EQ(kv::StrL("2147483648"), INT32_MAX);
}

TEST_F(Hostile, PhasorsAndAngles) {
    for (const double x : kHostile)
        for (const double y : kHostile) {
            const kv::Complex a(x, y), b(y, x);
            kv::Complex c = a + b;
            c = a - b, c = a * b, c = a / b, c = a / x, c = x / a, c = x - a, c = a * x;
            c += b, c -= b, c *= b, c /= b, c *= x, c /= x;
            c.SetEx(a, y);
            kv::abs(a), kv::norm(a), kv::arg(a), kv::conj(a), kv::PtoC(x, y);
            if (Tiny(x) && Tiny(y)) {
                // The zero phasor points up, and dividing by it gives zero.
                EXPECT_EQ(kv::arg(a), kPi / 2);
                EXPECT_EQ(kv::Complex(1, 1) / a, kv::Complex(0, 0));
            }
            // No hostile modulus lies in [1e-7, 1e35]: every angle is 0.
            EXPECT_EQ(kv::CtoP(x, y).Ang(0), 0.0) << x << " " << y;
            kv::Polar p(x, y), q(y, x, 0);
            p = p + q, p = p - q, p = p * q, p = p / q;
            p.AngGtoR(), p.AngRtoG();
            // Whole degrees of the difference; NaN and anything beyond 32 bits truncate to
            // INT_MIN, which is no multiple of 360.
            EXPECT_EQ(kv::IsEqualAngles(x, y), std::fabs(x - y) < 1.0 ? 1 : 0) << x << " " << y;
            double zx = x, zy = y;
            kv::XYtoZF(zx, zy), kv::ZFtoXY(zx, zy);
        }
    EXPECT_EQ((kv::Polar(1, 0) / kv::Polar(0, 0)).Mod(), 1e9);
    EXPECT_EQ((kv::Polar(kInf, 0) / kv::Polar(1, 0)).Mod(), 1e9);
    // Beyond 308 digits the lower bound underflows to 0.
    for (const int digits : {INT_MIN, -1, 0, 400}) {
        EXPECT_EQ(kv::Polar(1e-4, 2.0).Ang(digits), 2.0);
        EXPECT_EQ(kv::Polar(2e10, 2.0).Ang(digits), digits > 0 ? 0.0 : 2.0);
    }

    kv::glob_bEnableAbsAngle = 1;
    for (const double x : kHostile) {
        kv::GtoR(x), kv::RtoG(x);
        const bool passes = std::isnan(x) || Tiny(x);  // NaN, zeros and denormals come back as they are
        for (const double folded : {kv::NormAngleGr(x), kv::AbsAngleGr(x),
                                    static_cast<double>(kv::NormAngleGr(static_cast<float>(x))),
                                    static_cast<double>(kv::AbsAngleGr(static_cast<float>(x)))})
            EXPECT_TRUE(!passes || Same(folded, static_cast<float>(x)) || Same(folded, x)) << x;
    }
    // Anything above 359.999 after folding snaps to 0.
    EXPECT_EQ(kv::AbsAngleGr(kInf), 0.0);
    EXPECT_EQ(kv::AbsAngleGr(1e308), 0.0);

    // The single-precision image clamps what a float cannot hold.
    kv::CMemFile file;
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        kv::Complex(kInf, -kInf).FSerialize(ar);
        kv::Complex(-0.0, -kDenorm).FSerialize(ar);
        kv::Complex(kNaN, 1e308).FSerialize(ar);
    }
    float stored[6];
    ASSERT_EQ(file.Bytes().size(), sizeof stored);
    std::memcpy(stored, file.Bytes().data(), sizeof stored);
    EXPECT_TRUE(stored[0] == 1e35f && stored[1] == -1e35f && stored[2] == 1e-35f);
    EXPECT_TRUE(stored[3] == -1e-35f && std::isnan(stored[4]) && stored[5] == 1e35f);
}

TEST_F(Hostile, ThreePhaseRecordsAndTransforms) {
    const CValueIU record(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    for (const int n : kExtremeInts) {
        for (const double got : {record.GetI(n), record.GetFiI(n), record.GetU(n), record.GetFiU(n), record.GetUI(n),
                                 record.GetFUI(n)})
            EXPECT_EQ(got, -1.0) << n;
    }

    using Transform = int (*)(CValueIU&, unsigned short);
    constexpr unsigned short kMasks[] = {0x0, 0x1, 0x2, 0x3, 0xFFFF};
    const Transform masked[] = {kv::FazToSim, kv::SimToFaz, kv::FazToLin, kv::SimToLin};
    for (const double x : kHostile)
        for (const unsigned short mask : kMasks) {
            CValueIU everywhere(x, x, x, x, x, x, x, x, x, x, x, x);
            CValueIU magnitudes(x, x, x, 0, 0, 0, x, x, x, 0, 0, 0);
            for (CValueIU* v : {&everywhere, &magnitudes}) {
                for (const Transform t : masked) {
                    CValueIU w(*v);
                    const int result = t(w, mask);
                    EXPECT_TRUE(result == 0 || result == 1);
                    // A NaN magnitude never fails the limit check.
                    EXPECT_TRUE(!std::isnan(x) || result == 1);
                }
                CValueIU w(*v), z(*v);
                EXPECT_TRUE(kv::FazToSimAnotherFields(w) <= 1 && kv::SimToFazAnotherFields(z) <= 1);
            }
        }

    // Phase A at 1e308: the sum of squares overflows (no hypot), so the component is
    // infinite and over the limit; the line value, through hypot, stays 1e308.
    CValueIU v(0, 0, 0, 0, 0, 0, 1e308, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToSim(v, 2), 0);
    EXPECT_EQ(v.dU[0], kInf);
    v = CValueIU(0, 0, 0, 0, 0, 0, 1e308, 0, 0, 0, 0, 0);
    EXPECT_EQ(kv::FazToLin(v, 2), 0);
    EXPECT_EQ(v.dU[0], 1e308);

    const struct {
        double m1, limit;
        int within;
    } checks[] = {{kNaN, 1, 1}, {1, kNaN, 1}, {0, -kInf, 0}, {1e308, 1e308, 0}, {kInf, kInf, 1}, {-kInf, 0, 0}};
    for (const auto& c : checks) {
        EXPECT_EQ(kv::UcheckSimToFaz(c.m1, 0, 0, 0, 0, 0, c.limit), c.within) << c.m1 << " " << c.limit;
        EXPECT_EQ(kv::IcheckSimToFaz(c.m1, 0, 0, 0, 0, 0, c.limit), c.within) << c.m1 << " " << c.limit;
    }
}

TEST_F(Hostile, StateObjectAndDeviceTypes) {
    const auto state = std::make_unique<kv::KavorState>();  // several pages: on the heap
    constexpr unsigned short kModes[] = {0x00, 0x11, 0x44, 0x77, 0xFFFF};
    for (const double x : kHostile)
        for (const unsigned short current : kModes) {
            state->m_wValueMode = current;
            const CValueIU value(x, x, x, x, x, x, x, x, x, x, x, x);
            for (unsigned mode = 0; mode <= 0x7F; ++mode) state->SetValue(value, static_cast<unsigned short>(mode));
            state->SetValue2(value, 0xFFFF);
            // In its own representation a record is stored as given.
            state->SetValue3(value, current);
            for (int k = 0; k < 3; ++k) EXPECT_TRUE(Same(state->m_Value3.dI[k], x) && Same(state->m_Value3.dFiU[k], x));
        }

    const kv::DWORD savedType = kv::glob_dwKavorType;
    for (const kv::DWORD type : {0U, 24U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        kv::glob_dwKavorType = type;
        EXPECT_EQ(kv::SetConstantsFromKavorType(), 1);
    }
    kv::glob_dwKavorType = savedType;
}

// The request as recorded, bit for bit: a NaN angle included.
void ExpectRecorded(int code, double phi) {
    EXPECT_EQ(kv::glob_TT_nCombo_TypeKz, code);
    EXPECT_TRUE(Same(kv::glob_TT_dAngleKz, phi)) << code;
}

TEST_F(Hostile, SynthesisTakesEveryCodeAndValue) {
    constexpr double kCallers = -7.25e-300;  // what the caller's variables hold
    std::vector<int> codes(kExtremeInts, kExtremeInts + std::size(kExtremeInts));
    for (int code = -3; code <= 136; ++code) codes.push_back(code);
    const double typical[7] = {50, 5, 30, 100, 57.7, 0, -1};  // U, I, phi, Unom, Aux, AuxAngle, Uhealthy
    for (const int code : codes)
        for (int position = 0; position < 7; ++position)
            for (const double x : kHostile) {
                double a[7];
                std::copy(typical, typical + 7, a);
                a[position] = x;
                const auto [u, i, phi, unom, aux, auxAngle, uHealthy] = a;
                const bool outside = code < 0 || code > 132;
                double o[12];
                std::fill(o, o + 12, kCallers);
                const auto untouched = [&] {
                    return std::all_of(o, o + 12, [](double d) { return Same(d, kCallers); });
                };

                int r = kv::SetUFaza(code, u, phi, o[0], o[1], o[2], o[3], o[4], o[5]);
                ExpectRecorded(code, phi);
                EXPECT_TRUE(r >= 0 && r <= 3);
                EXPECT_TRUE(!outside || (r == 3 && untouched())) << code;
                std::fill(o, o + 12, kCallers);
                r = kv::SetIFaza(code, i, phi, o[0], o[1], o[2], o[3], o[4], o[5]);
                EXPECT_TRUE(r == 0 || r == 2 || (r == 3 && untouched())) << code;
                EXPECT_TRUE(!outside || r == 3) << code;
                std::fill(o, o + 12, kCallers);
                r = kv::SetUIFaza(code, u, i, phi, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7], o[8], o[9], o[10],
                                  o[11], unom, aux, auxAngle, uHealthy);
                ExpectRecorded(code, phi);
                EXPECT_TRUE(r >= 0 && r <= 3 && (r != 3 || untouched())) << code;
                EXPECT_TRUE(!outside || r == 3) << code;
                CValueIU v(kCallers, kCallers, kCallers, kCallers, kCallers, kCallers, kCallers, kCallers, kCallers,
                           kCallers, kCallers, kCallers);
                r = kv::SetUIFaza(code, kExtremeInts[position % 5], position % 2, u, i, phi, v);
                EXPECT_TRUE(r >= 0 && r <= 3);
                const bool handled = code >= 3 && code <= 126;
                EXPECT_TRUE(handled || (r == 3 && Same(v.dU[0], kCallers) && Same(v.dI[2], kCallers))) << code;
            }

    // In band: a current is reported, never limited; a voltage is limited; negative
    // magnitudes count as 0; NaN exceeds no limit; an infinite angle folds to 0.
    double m = 0, f = 0, unused = 0;
    EXPECT_EQ(kv::SetIFaza(0, kInf, 0, m, f, unused, unused, unused, unused), 2);
    EXPECT_EQ(m, kInf);
    EXPECT_EQ(kv::SetIFaza(0, -kInf, 0, m, f, unused, unused, unused, unused), 0);
    EXPECT_EQ(m, 0.0);
    EXPECT_EQ(kv::SetIFaza(0, kNaN, 0, m, f, unused, unused, unused, unused), 0);
    EXPECT_TRUE(std::isnan(m));
    EXPECT_EQ(kv::SetUFaza(0, kInf, 0, m, f, unused, unused, unused, unused), 1);
    EXPECT_EQ(m, kv::globUmax);
    EXPECT_EQ(kv::SetUFaza(3, 1e308, kInf, m, f, unused, unused, unused, unused), 1);
    EXPECT_TRUE(m == kv::globUmax && f == 0.0);
    EXPECT_EQ(kv::SetUFaza(0, -kInf, 0, m, f, unused, unused, unused, unused), 0);
    EXPECT_EQ(m, 0.0);
    double o[12];
    // From 500 V nominal up, single-phase faults are not limited.
    EXPECT_EQ(kv::SetUIFaza(0, kInf, 1, 0, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7], o[8], o[9], o[10], o[11],
                            kInf, 0, 0, 0),
              0);
    EXPECT_EQ(o[0], kInf);
}

TEST_F(Hostile, UniversalFaultWithHostileGlobals) {
    double* const globals[] = {
        &kv::glob_dU0,        &kv::glob_dU1,        &kv::glob_dU2,        &kv::glob_dI0,        &kv::glob_dI1,
        &kv::glob_dI2,        &kv::glob_dU0f,       &kv::glob_dU1f,       &kv::glob_dU2f,       &kv::glob_dI0f,
        &kv::glob_dI1f,       &kv::glob_dI2f,       &kv::glob_dUA,        &kv::glob_dUB,        &kv::glob_dUC,
        &kv::glob_dIA,        &kv::glob_dIB,        &kv::glob_dIC,        &kv::glob_dUAf,       &kv::glob_dUBf,
        &kv::glob_dUCf,       &kv::glob_dIAf,       &kv::glob_dIBf,       &kv::glob_dICf,       &kv::glob_dUA_NoLoad,
        &kv::glob_dUB_NoLoad, &kv::glob_dUC_NoLoad, &kv::glob_dIA_NoLoad, &kv::glob_dIB_NoLoad, &kv::glob_dIC_NoLoad,
        &kv::glob_dUAf_NoLoad, &kv::glob_dUBf_NoLoad, &kv::glob_dUCf_NoLoad, &kv::glob_dIAf_NoLoad,
        &kv::glob_dIBf_NoLoad, &kv::glob_dICf_NoLoad, &kv::glob_dUk,
    };
    std::vector<double> saved;
    for (double* g : globals) saved.push_back(*g);
    const int savedU = kv::glob_n_U0_or_U1_or_U2, savedI = kv::glob_n_I0_or_I1_or_I2;
    const int savedChange = kv::glob_bChangeUniversal_U_or_I, savedNoLoad = kv::glob_b_ModeNoLoad;

    double o[12];
    for (const double x : kHostile)
        for (const int selector : {INT_MIN, -1, 0, 1, 2, 3, 5, 6, 255, 256, INT_MAX}) {
            for (double* g : globals) *g = x;
            kv::glob_n_U0_or_U1_or_U2 = selector, kv::glob_n_I0_or_I1_or_I2 = selector ^ 3;
            kv::glob_bChangeUniversal_U_or_I = selector & 1, kv::glob_b_ModeNoLoad = selector & 2;
            for (const double u : {x, 30.0}) {
                const int r = kv::SetUIFaza(103, u, x, x, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7], o[8], o[9],
                                            o[10], o[11], x, x, x, x);
                EXPECT_TRUE(r >= 0 && r <= 2) << x << " " << selector;  // the universal fault is always handled
            }
        }

    for (std::size_t k = 0; k < std::size(globals); ++k) *globals[k] = saved[k];
    kv::glob_n_U0_or_U1_or_U2 = savedU, kv::glob_n_I0_or_I1_or_I2 = savedI;
    kv::glob_bChangeUniversal_U_or_I = savedChange, kv::glob_b_ModeNoLoad = savedNoLoad;
}

TEST_F(Hostile, CataloguesAndTolerances) {
    const kv::DWORD savedType = kv::glob_dwKavorType;
    kv::glob_dwKavorType = 30;  // a type on which code 123 would raise the flag
    for (const int code : kExtremeInts) {
        EXPECT_TRUE(kv::GetStringFromDefineKZ(code).IsEmpty()) << code;
        EXPECT_EQ(kv::glob_bFault_A1_Enable, 0);
        EXPECT_TRUE(kv::GetStringFromTest(code).IsEmpty() && kv::GetStringFromTestRus(code).IsEmpty()) << code;
        EXPECT_EQ(kv::GetRomeNumber(code), " ") << code;
    }
    kv::glob_dwKavorType = savedType;

    // A threshold that NaN never falls below: the last pair stands.
    const struct {
        const char* table;
        double x;
        bool found;
        double absTol, percentTol;
    } currents[] = {{"0;0.05;1;5%", kNaN, true, 0, 5},    {"0;0.05;1;5%", -kInf, true, 0.05, 0},
                    {"0;0.05;1;5%", kInf, true, 0, 5},    {"0;0.05;1;5%", -0.0, true, 0.05, 0},
                    {"nan;0.05", 0.5, true, 0.05, 0},     {"0;1e999", 1, true, kInf, 0},
                    {"0;-inf", 1, false, -kInf, 0},       {"1e999;5%", 1e308, true, 0, 5}};
    for (const auto& c : currents) {
        double absTol = -1, percentTol = -1;
        int less = -1;
        EXPECT_EQ(kv::GetITolerance(c.table, c.x, absTol, less, percentTol), c.found) << c.table << " " << c.x;
        EXPECT_EQ(absTol, c.absTol) << c.table << " " << c.x;
        EXPECT_EQ(percentTol, c.percentTol) << c.table << " " << c.x;
    }
    const struct {
        const char* table;
        double x, t, tol;
    } times[] = {{"1;0.02;10;0.05", kNaN, 0, 0.05},  {"1;0.02;10;0.05", -kInf, 0, 0.02},
                 {"1;0.02;10;0.05", kInf, 0, 0.05},  {"1c;0.02;5c;0.05", 0, kNaN, 0.05},
                 {"1c;0.02;5c;0.05", 0, -kInf, 0.02}, {"1;0.02;10;0.05", 1e308, -1e308, 0.05}};
    for (const auto& c : times) {
        double minus = -1, plus = -1, percent = -1;
        int less = -1;
        EXPECT_TRUE(kv::GetTTolerance(c.table, c.x, c.t, minus, plus, less, percent)) << c.table << " " << c.x;
        EXPECT_EQ(minus, c.tol) << c.table << " " << c.x;
        EXPECT_EQ(plus, c.tol) << c.table << " " << c.x;
    }
}

TEST_F(Hostile, SpectrumGeometryAndMessageParameters) {
    const double samples[4] = {1, -1, kNaN, kInf};
    // A count that is not a number, infinite or negative fails before allocating.
    const struct {
        double fStart, fEnd, fStep;
        int count;
    } failing[] = {{kNaN, 10, 1, INT_MIN}, {0, kInf, 1, INT_MIN},     {0, 10, 0, INT_MIN}, {0, 0, 0, INT_MIN},
                   {0, -10, 1, -9},        {0, 1e308, 1e-308, INT_MIN}, {-kInf, kInf, 1, INT_MIN}};
    for (const auto& s : failing) {
        int count = 0;
        double *amp = nullptr, *phase = nullptr;
        EXPECT_FALSE(kv::GetSpectr(s.fStart, s.fEnd, s.fStep, 0, 1, 4, samples, count, amp, phase));
        EXPECT_EQ(count, s.count);
        EXPECT_TRUE(amp == nullptr && phase == nullptr);
    }
    for (const double x : kHostile)
        for (const int n : {INT_MIN, -1, 0, 4}) {
            int count = 0;
            double *amp = nullptr, *phase = nullptr;
            // An infinite step leaves one frequency.
            EXPECT_TRUE(kv::GetSpectr(x, 10, kInf, x, x, n, samples, count, amp, phase) || std::isnan(x) ||
                        std::isinf(x));
            // No samples: amplitude 0; for n = 0 it is 0 / 0.
            EXPECT_TRUE(count != 1 || n > 0 || (n < 0 ? amp[0] == 0.0 : std::isnan(amp[0]))) << x << " " << n;
            delete[] amp;
            delete[] phase;
            double a = -1, p = -1;
            EXPECT_EQ(kv::Get_Furie_Amp_Phase(x, n, samples, a, p), n != 0);
            EXPECT_TRUE(n >= 0 || a == 0.0);
        }

    const int corners[] = {INT_MIN, 0, INT_MAX};
    for (const int a : corners)
        for (const int b : corners)
            for (const int c : corners) {
                EXPECT_LE(kv::PointInLine(a, b, c), 1);
                for (const int d : corners) {
                    const kv::CPoint p1(a, b), p2(c, d);
                    kv::AngleLine(p1, p2), kv::LengthLine(p1, p2), kv::LengthLine(p1), kv::AngleLine(p1);
                    EXPECT_LE(kv::PointInLine(p1, p2, kv::CPoint(d, a)), 1);
                    kv::CPoint out;
                    for (const int e : corners)
                        EXPECT_LE(kv::PointIntersectTwoLine(out, p1, p2, kv::CPoint(e, d), kv::CPoint(c, e)), 1);
                }
            }
    for (const double x : kHostile) kv::LengthLine(x, -x), kv::LengthLine(x, 0, 0, x);
    // Widths in device units: everything fits INT_MAX, nothing fits INT_MIN.
    kv::CDC dc;
    EXPECT_EQ(kv::FormPath(&dc, "C:\\a\\b\\file.txt", INT_MAX), "C:\\a\\b\\file.txt");
    EXPECT_EQ(kv::FormPath(&dc, "C:\\a\\b\\file.txt", INT_MIN), "C:\\...\\b\\file.txt");

    const struct {
        double x;
        kv::UINT bits;
    } parameters[] = {
        {kNaN, 0x7FC00000U}, {-kInf, 0xFF800000U}, {-0.0, 0x80000000U}, {kDenorm, 0}, {-1e308, 0xFF800000U},
    };
    for (const auto& p : parameters) {
        EXPECT_EQ(kv::WPFromDouble(p.x), p.bits) << p.x;
        EXPECT_EQ(static_cast<kv::UINT>(kv::LPFromFloat(p.x)), p.bits) << p.x;
        EXPECT_EQ(static_cast<kv::UINT>(kv::LPFromFloat(static_cast<float>(p.x))), p.bits) << p.x;
    }
    EXPECT_TRUE(Same(kv::FloatFromLP(INT32_MIN), -0.0f));
    EXPECT_EQ(kv::FloatFromLP(0x7F800000), std::numeric_limits<float>::infinity());
    for (const int pump : kExtremeInts) EXPECT_EQ(kv::SleepEx1(0, pump), 1);
}

// Counts that the routines turn into work (decimals, digits, widths): the result does
// not depend on them beyond a few hundred, so neither does the time or memory (the
// test's time-out catches a routine that works through the whole count).
TEST(HostileCounts, HugeDecimalsDigitsAndWidths) {
    EXPECT_EQ(kv::dRound(1.5, INT_MAX), 1.5);
    EXPECT_EQ(kv::Polar(1.0, 2.0).Ang(INT_MAX), 2.0);
    EXPECT_EQ(kv::EStr(1.5, 2, INT_MIN), "");
    EXPECT_EQ(kv::EStr(1.5, INT_MAX, 0), "");
    EXPECT_EQ(kv::TRASE("x", 1.5, INT_MAX), 1);
}

}  // namespace
