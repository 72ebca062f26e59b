// Complex and polar arithmetic, the angle folding, and their floors.

#include <cmath>
#include <cstddef>

#include "BenchSupport.h"
#include "Kv_Data/Phasor.h"

namespace {

using kvbench::Keep;
using kvbench::Opaque;

const double kDegToRad = 3.141592653589793 / 180;

// Polar values, angles in radians; the rectangular form of the first is near (3, 4).
constexpr double kModA = 5;
constexpr double kAngA = 0.9;
constexpr double kModB = 2;
constexpr double kAngB = -2.1;

// A rectangular value with a negative part, as (re, im).
constexpr double kRe = 3;
constexpr double kIm = -4;

struct PtoCCase {
    void Routine() {
        double mod = kModA;
        double ang = kAngA;
        Opaque(mod);
        Opaque(ang);
        kv::Complex c = kv::PtoC(mod, ang);
        benchmark::DoNotOptimize(c);
    }
    void Floor() {
        double ang = kAngA;
        Opaque(ang);
        Keep(std::cos(ang));
        Keep(std::sin(ang));
    }
};

// hypot for the modulus, atan2 for the angle (the modulus lies within the bounds); the
// same calls for CtoP and XYtoZF, one of them for norm and arg.
void HypotAtan2Floor() {
    double re = kRe;
    double im = kIm;
    Opaque(re);
    Opaque(im);
    Keep(std::hypot(re, im));
    Keep(std::atan2(im, re));
}

struct CtoPCase {
    void Routine() {
        double re = kRe;
        double im = kIm;
        Opaque(re);
        Opaque(im);
        kv::Polar p = kv::CtoP(re, im);
        benchmark::DoNotOptimize(p);
    }
    void Floor() { HypotAtan2Floor(); }
};

struct XYtoZFCase {
    void Routine() {
        double x = kRe;
        double y = kIm;
        Opaque(x);
        Opaque(y);
        kv::XYtoZF(x, y);
        Keep(x);
        Keep(y);
    }
    void Floor() { HypotAtan2Floor(); }
};

struct ZFtoXYCase {
    const double angle = 53.13 * kDegToRad;
    void Routine() {
        double z = kModA;
        double f = 53.13;
        Opaque(z);
        Opaque(f);
        kv::ZFtoXY(z, f);
        Keep(z);
        Keep(f);
    }
    void Floor() {
        double a = angle;
        Opaque(a);
        Keep(std::cos(a));
        Keep(std::sin(a));
    }
};

struct NormCase {
    void Routine() {
        double re = kRe;
        double im = kIm;
        Opaque(re);
        Opaque(im);
        Keep(kv::norm(kv::Complex(re, im)));
    }
    void Floor() {
        double re = kRe;
        double im = kIm;
        Opaque(re);
        Opaque(im);
        Keep(std::hypot(re, im));
    }
};

struct ArgCase {
    void Routine() {
        double re = kRe;
        double im = kIm;
        Opaque(re);
        Opaque(im);
        Keep(kv::arg(kv::Complex(re, im)));
    }
    void Floor() {
        double re = kRe;
        double im = kIm;
        Opaque(re);
        Opaque(im);
        Keep(std::atan2(im, re));
    }
};

// Both operands to rectangular form, then hypot and atan2 of the sum (sign 1) or the
// difference (sign -1).
template <int Sign>
struct PolarSumCase {
    const kv::Polar a{kModA, kAngA};
    const kv::Polar b{kModB, kAngB};
    double x = 0;
    double y = 0;
    PolarSumCase() {
        const double bx = kModB * std::cos(kAngB);
        const double by = kModB * std::sin(kAngB);
        x = Sign > 0 ? kModA * std::cos(kAngA) + bx : kModA * std::cos(kAngA) - bx;
        y = Sign > 0 ? kModA * std::sin(kAngA) + by : kModA * std::sin(kAngA) - by;
    }
    void Routine() {
        kv::Polar r = Sign > 0 ? a + b : a - b;
        benchmark::DoNotOptimize(r);
    }
    void Floor() {
        double angA = kAngA;
        double angB = kAngB;
        double rx = x;
        double ry = y;
        Opaque(angA);
        Opaque(angB);
        Opaque(rx);
        Opaque(ry);
        Keep(std::cos(angA));
        Keep(std::sin(angA));
        Keep(std::cos(angB));
        Keep(std::sin(angB));
        Keep(std::hypot(rx, ry));
        Keep(std::atan2(ry, rx));
    }
};

// (a * b + c) / d - a: one of each of the common operators; only the guard of the
// quotient calls the C library (hypot of d).
struct ComplexArithmeticCase {
    kv::Complex a{3, 4};
    kv::Complex b{-1.5, 0.25};
    kv::Complex c{10, -2};
    kv::Complex d{0.5, 7};
    void Routine() {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(c);
        benchmark::DoNotOptimize(d);
        kv::Complex r = (a * b + c) / d - a;
        benchmark::DoNotOptimize(r);
    }
    void Floor() {
        double re = 0.5;
        double im = 7;
        Opaque(re);
        Opaque(im);
        Keep(std::hypot(re, im));
    }
};

// Angles that take every branch: folded by turns, wrapped up, snapped to 0, kept. The
// folding calls nothing in the C library: its floor is the loop alone.
struct AbsAngleGrCase {
    static constexpr double kAngles[8] = {-90, 359.9995, 720, 45, -0.00005, 1000.5, -725, 360};
    std::size_t k = 0;
    void Routine() {
        double a = kAngles[k];
        Opaque(a);
        Keep(kv::AbsAngleGr(a));
        k = (k + 1) & 7;
    }
    void Floor() {
        double a = kAngles[k];
        Opaque(a);
        Keep(a);
        k = (k + 1) & 7;
    }
};

int Register() {
    kvbench::RegisterPair<PtoCCase>("PtoC");
    kvbench::RegisterPair<CtoPCase>("CtoP");
    kvbench::RegisterPair<PolarSumCase<1>>("PolarSum");
    kvbench::RegisterPair<PolarSumCase<-1>>("PolarDifference");
    kvbench::RegisterPair<XYtoZFCase>("XYtoZF");
    kvbench::RegisterPair<ZFtoXYCase>("ZFtoXY");
    kvbench::RegisterPair<NormCase>("Norm");
    kvbench::RegisterPair<ArgCase>("Arg");
    kvbench::RegisterPair<ComplexArithmeticCase>("ComplexArithmetic");
    kvbench::RegisterPair<AbsAngleGrCase>("AbsAngleGr");
    return 0;
}
[[maybe_unused]] const int kRegistered = Register();

}  // namespace
