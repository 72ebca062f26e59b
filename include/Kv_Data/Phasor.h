// Phasor arithmetic: complex numbers in rectangular (Complex, FComplex) and polar
// (Polar) form, and the angle conversions used throughout the library.
//
// Units: Complex, Polar, CtoP, PtoC, arg, XYtoZF and IsEqualAngles work in radians;
// ZFtoXY, NormAngleGr and AbsAngleGr in degrees ("Gr" in a name means degrees).
#pragma once

#include "Kv_Data/Platform.h"

namespace kv {

class Polar;

class KV_DATA_API FComplex {
public:
    FComplex() : m_re(0.0f), m_im(0.0f) {}
    FComplex(float re, float im) : m_re(re), m_im(im) {}
    FComplex(const FComplex&) = default;
    FComplex& operator=(const FComplex& f);

    float Re() const { return m_re; }
    float Im() const { return m_im; }

private:
    float m_re;
    float m_im;
};

class KV_DATA_API Complex {
public:
    Complex();
    Complex(double re, double im);
    // Rectangular form of a modulus and an angle in radians; the int only selects this overload.
    Complex(double mod, double ang, int);
    // Does not convert: the object is (0, 0) whatever the polar value. The polar
    // product and quotient inherit this; use PtoC or Complex(mod, ang, 0) to convert.
    explicit Complex(const Polar& p);
    Complex(FComplex f);
    explicit Complex(const Complex* p);
    Complex(const Complex&) = default;

    double Re() const;
    double Im() const { return m_im; }
    void SetRe(double re) { m_re = re; }
    void SetIm(double im) { m_im = im; }
    // A new (0, 0); the object itself is left as it is.
    Complex Zero() const { return Complex(); }
    // This becomes c with each part whose magnitude is below eps (strictly) replaced by 0.
    void SetEx(const Complex& c, double eps);

    Complex operator+() const { return *this; }
    Complex operator-() const { return Complex(-m_re, -m_im); }
    Complex& operator=(const Complex& c);
    Complex& operator=(double x);  // (x, 0)
    Complex& operator+=(const Complex& c);
    Complex& operator-=(const Complex& c);
    Complex& operator+=(double x);  // the real part only
    Complex& operator-=(double x);  // the real part only
    Complex& operator*=(const Complex& c);
    Complex& operator*=(double x);
    Complex& operator/=(double x);
    // Unguarded: a zero divisor gives the infinities or not-a-number of IEEE division.
    Complex& operator/=(const Complex& c);

    // The parts as two doubles (16 bytes) or, through DoubleToFloat, two floats (8 bytes).
    void Serialize(CArchive& ar);
    void FSerialize(CArchive& ar);

private:
    double m_re;
    double m_im;

    friend class Polar;
};

KV_DATA_API double real(const Complex& c);
KV_DATA_API double imag(const Complex& c);
KV_DATA_API Complex conj(const Complex& c);
KV_DATA_API Complex PtoC(double mod, double ang);
inline Complex polar(double mod, double ang) { return PtoC(mod, ang); }
KV_DATA_API double abs(const Complex& c);
// The modulus through hypot, not its square: abs and norm agree up to rounding.
KV_DATA_API double norm(const Complex& c);
// atan2(im, re); the zero phasor (both parts below 1e-50) has the angle +pi/2.
KV_DATA_API double arg(const Complex& c);

KV_DATA_API Complex operator+(const Complex& a, const Complex& b);
KV_DATA_API Complex operator-(const Complex& a, const Complex& b);
KV_DATA_API Complex operator+(double x, const Complex& c);
KV_DATA_API Complex operator+(const Complex& c, double x);
KV_DATA_API Complex operator-(double x, const Complex& c);
KV_DATA_API Complex operator-(const Complex& c, double x);
KV_DATA_API Complex operator*(const Complex& a, const Complex& b);
KV_DATA_API Complex operator*(const Complex& c, double x);
KV_DATA_API Complex operator*(double x, const Complex& c);
// Guarded: a divisor whose modulus is below 1e-6 gives (0, 0), not infinity.
KV_DATA_API Complex operator/(const Complex& a, const Complex& b);
KV_DATA_API Complex operator/(const Complex& c, double x);
KV_DATA_API Complex operator/(double x, const Complex& c);
KV_DATA_API int operator==(const Complex& a, const Complex& b);
KV_DATA_API int operator!=(const Complex& a, const Complex& b);

class KV_DATA_API Polar {
public:
    Polar();
    Polar(double mod, double ang);
    // Polar form of (re, im): angle 0 for a modulus outside [1e-7, 1e35].
    Polar(double re, double im, int);
    Polar(const Complex& c);
    Polar(const Polar&) = default;

    double Mod() const;
    // The angle, or 0 when digits > 0 and the modulus lies outside [10^-digits, 1e10].
    double Ang(int digits) const;
    void AngGtoR();  // the angle field from degrees to radians, in place
    void AngRtoG();  // the angle field from radians to degrees, in place
    Polar& operator=(const Polar& p);

private:
    // Polar and Complex have the same shape and share their plain routines.
    Complex m_pair;
};

KV_DATA_API Polar CtoP(double re, double im);
inline Polar complex(double re, double im) { return CtoP(re, im); }

KV_DATA_API Polar operator+(const Polar& a, const Polar& b);
KV_DATA_API Polar operator-(const Polar& a, const Polar& b);
// Converts its operands with Complex(Polar), which does not convert: the product is
// not the product of the two phasors. Use Complex arithmetic for that.
KV_DATA_API Polar operator*(const Polar& a, const Polar& b);
// Guards first: a quotient above 1e10 gives modulus 1e9, one below 1e-15 gives 0;
// otherwise the same caveat as operator*.
KV_DATA_API Polar operator/(const Polar& a, const Polar& b);

// In place: x <- hypot(x, y), y <- atan2(y, x) in radians, both from the values on entry.
KV_DATA_API void XYtoZF(double& x, double& y);
// In place: f is an angle in degrees; z <- z·cos f, f <- z·sin f.
KV_DATA_API void ZFtoXY(double& z, double& f);
KV_DATA_API double GtoR(double deg);
KV_DATA_API double RtoG(double rad);

// Degrees folded towards (-360, 360): an angle of at most 360 in magnitude comes back
// unchanged, sign included (540 -> -180, 360 -> 360).
KV_DATA_API float NormAngleGr(float a);
KV_DATA_API double NormAngleGr(double a);
// Degrees folded into [-0.0001, 359.999] while glob_bEnableAbsAngle is set, else unchanged.
KV_DATA_API float AbsAngleGr(float a);
KV_DATA_API double AbsAngleGr(double a);
// 1 when two angles in radians agree to whole degrees modulo 360.
KV_DATA_API int IsEqualAngles(double a, double b);

}  // namespace kv
