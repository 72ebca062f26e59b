#include <cmath>
#include <cstdint>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"
#include "phasor/AngleConstants.h"
#include "phasor/Angles.h"
#include "util/Truncate.h"

namespace kv {

namespace {

// The polar form of (re, im): outside [1e-7, 1e35] the angle is 0, not what arg gives.
// A NaN component is no size: its angle comes from arg, so the NaN carries through.
Polar RectangularToPolar(double re, double im) {
    const double mod = std::hypot(re, im);
    const bool inRange = mod >= 1e-7 && mod <= 1e35;
    const double ang = inRange || std::isnan(re) || std::isnan(im) ? arg(Complex(re, im)) : 0.0;
    return Polar(mod, ang);
}

}  // namespace

Polar::Polar() : m_pair() {}
Polar::Polar(double mod, double ang) : m_pair(mod, ang) {}
Polar::Polar(double re, double im, int) : Polar(RectangularToPolar(re, im)) {}
Polar::Polar(const Complex& c) : Polar(RectangularToPolar(c.Re(), c.Im())) {}

double Polar::Mod() const { return m_pair.Re(); }

double Polar::Ang(int digits) const {
    const double ang = m_pair.m_im;
    if (digits <= 0) return ang;
    double power = 1.0;
    // Once the power overflows to infinity it stays there: stopping early changes no bit.
    for (int i = 0; i < digits && !std::isinf(power); ++i) power *= 10.0;
    const double t = 1.0 / power;
    const double mod = Mod();
    return t <= mod && mod <= 1e10 ? ang : 0.0;
}

void Polar::AngGtoR() { m_pair.m_im = m_pair.m_im * kDegToRad; }
void Polar::AngRtoG() { m_pair.m_im = m_pair.m_im * kRadToDeg; }

Polar& Polar::operator=(const Polar& p) {
    m_pair = p.m_pair;
    return *this;
}

Polar CtoP(double re, double im) { return RectangularToPolar(re, im); }

namespace {

struct Rectangular {
    double x;
    double y;
};

// Magnitude and angle are read once, so that the cosine and sine make one sincos call.
Rectangular ToRectangular(const Polar& p) {
    const double m = p.Mod();
    const double ang = p.Ang(0);
    return {m * std::cos(ang), m * std::sin(ang)};
}

// hypot for the magnitude and arg for the angle, whatever the size: no cut-offs here.
Polar FromRectangular(double x, double y) { return Polar(std::hypot(x, y), arg(Complex(x, y))); }

}  // namespace

Polar operator+(const Polar& a, const Polar& b) {
    const Rectangular ra = ToRectangular(a);
    const Rectangular rb = ToRectangular(b);
    return FromRectangular(ra.x + rb.x, ra.y + rb.y);
}

Polar operator-(const Polar& a, const Polar& b) {
    const Rectangular ra = ToRectangular(a);
    const Rectangular rb = ToRectangular(b);
    return FromRectangular(ra.x - rb.x, ra.y - rb.y);
}

Polar operator*(const Polar& a, const Polar& b) {
    const Complex product = Complex(a) * Complex(b);
    return Polar(product);
}

Polar operator/(const Polar& a, const Polar& b) {
    double m = b.Mod();
    if (m < 1e-20) m = 1e-20;
    const double q = a.Mod() / m;
    if (q > 1e10) return Polar(1e9, 0.0);  // the limit is 1e10, the value 1e9: both kept
    if (q < 1e-15) return Polar(0.0, 0.0);
    const Complex quotient = Complex(a) / Complex(b);
    return Polar(quotient);
}

void XYtoZF(double& x, double& y) {
    const double x0 = x;
    const double y0 = y;
    x = std::hypot(x0, y0);
    y = std::atan2(y0, x0);
}

void ZFtoXY(double& z, double& f) {
    const double mod = z;
    const double ang = f * kDegToRad;
    z = mod * std::cos(ang);
    f = mod * std::sin(ang);
}

double GtoR(double deg) { return deg * kDegToRad; }
double RtoG(double rad) { return rad * kRadToDeg; }

float NormAngleGr(float a) { return angles::Norm(a); }
double NormAngleGr(double a) { return angles::Norm(a); }
float AbsAngleGr(float a) { return angles::Abs(a); }
double AbsAngleGr(double a) { return angles::Abs(a); }

int IsEqualAngles(double a, double b) {
    const int degrees = TruncToInt32((a - b) * kRadToDeg);
    return degrees % 360 == 0 ? 1 : 0;
}

}  // namespace kv
