#include <cmath>

#include "Kv_Data/Phasor.h"
#include "Kv_Data/Util.h"

namespace kv {

FComplex& FComplex::operator=(const FComplex& f) {
    m_re = f.m_re;
    m_im = f.m_im;
    return *this;
}

Complex::Complex() : m_re(0.0), m_im(0.0) {}
Complex::Complex(double re, double im) : m_re(re), m_im(im) {}
Complex::Complex(double mod, double ang, int) : m_re(mod * std::cos(ang)), m_im(mod * std::sin(ang)) {}

Complex::Complex(const Polar&) : m_re(0.0), m_im(0.0) {
    // The original computes the rectangular form into a temporary and drops it,
    // leaving the object unset; zero is our defined stand-in for "unset".
}

Complex::Complex(FComplex f) : m_re(f.Re()), m_im(f.Im()) {}
Complex::Complex(const Complex* p) : m_re(0.0), m_im(0.0) { *this = *p; }

double Complex::Re() const { return m_re; }

void Complex::SetEx(const Complex& c, double eps) {
    m_re = std::fabs(c.m_re) < eps ? 0.0 : c.m_re;
    m_im = std::fabs(c.m_im) < eps ? 0.0 : c.m_im;
}

Complex& Complex::operator=(const Complex& c) {
    m_re = c.m_re;
    m_im = c.m_im;
    return *this;
}

Complex& Complex::operator=(double x) {
    m_re = x;
    m_im = 0.0;
    return *this;
}

Complex& Complex::operator+=(const Complex& c) {
    m_re += c.m_re;
    m_im += c.m_im;
    return *this;
}

Complex& Complex::operator-=(const Complex& c) {
    m_re -= c.m_re;
    m_im -= c.m_im;
    return *this;
}

Complex& Complex::operator+=(double x) {
    m_re += x;
    return *this;
}

Complex& Complex::operator-=(double x) {
    m_re -= x;
    return *this;
}

Complex& Complex::operator*=(const Complex& c) {
    const double re = m_re;
    m_re = re * c.m_re - m_im * c.m_im;
    m_im = m_im * c.m_re + re * c.m_im;
    return *this;
}

Complex& Complex::operator*=(double x) {
    m_re *= x;
    m_im *= x;
    return *this;
}

Complex& Complex::operator/=(double x) {
    m_re /= x;
    m_im /= x;
    return *this;
}

Complex& Complex::operator/=(const Complex& c) {
    const double d = c.m_re * c.m_re + c.m_im * c.m_im;
    const double re = m_re;
    m_re = (re * c.m_re + m_im * c.m_im) / d;
    m_im = (-re * c.m_im + m_im * c.m_re) / d;
    return *this;
}

void Complex::Serialize(CArchive& ar) {
    if (ar.IsLoading())
        ar >> m_re >> m_im;
    else
        ar << m_re << m_im;
}

void Complex::FSerialize(CArchive& ar) {
    if (ar.IsLoading()) {
        float re = 0.0f;
        float im = 0.0f;
        ar >> re;
        m_re = re;
        ar >> im;
        m_im = im;
    } else {
        // Clamped, not cast: a stored zero loads back as 1e-35.
        ar << DoubleToFloat(m_re) << DoubleToFloat(m_im);
    }
}

double real(const Complex& c) { return c.Re(); }
double imag(const Complex& c) { return c.Im(); }
Complex conj(const Complex& c) { return Complex(c.Re(), -c.Im()); }
Complex PtoC(double mod, double ang) { return Complex(mod * std::cos(ang), mod * std::sin(ang)); }
double abs(const Complex& c) { return std::sqrt(c.Re() * c.Re() + c.Im() * c.Im()); }
double norm(const Complex& c) { return std::hypot(c.Re(), c.Im()); }

double arg(const Complex& c) {
    if (std::fabs(c.Re()) < 1e-50 && std::fabs(c.Im()) < 1e-50) return std::atan2(1.0, 0.0);
    return std::atan2(c.Im(), c.Re());
}

Complex operator+(const Complex& a, const Complex& b) { return Complex(a.Re() + b.Re(), a.Im() + b.Im()); }
Complex operator-(const Complex& a, const Complex& b) { return Complex(a.Re() - b.Re(), a.Im() - b.Im()); }
Complex operator+(double x, const Complex& c) { return Complex(c.Re() + x, c.Im()); }
Complex operator+(const Complex& c, double x) { return Complex(c.Re() + x, c.Im()); }
Complex operator-(double x, const Complex& c) { return Complex(x - c.Re(), -c.Im()); }
Complex operator-(const Complex& c, double x) { return Complex(c.Re() - x, c.Im()); }

Complex operator*(const Complex& a, const Complex& b) {
    return Complex(a.Re() * b.Re() - a.Im() * b.Im(), a.Im() * b.Re() + a.Re() * b.Im());
}

Complex operator*(const Complex& c, double x) { return Complex(c.Re() * x, c.Im() * x); }
Complex operator*(double x, const Complex& c) { return Complex(c.Re() * x, c.Im() * x); }

Complex operator/(const Complex& a, const Complex& b) {
    if (std::hypot(b.Re(), b.Im()) < 1e-6) return Complex(0.0, 0.0);
    double d = b.Re() * b.Re() + b.Im() * b.Im();
    double n = a.Re() * b.Re() + a.Im() * b.Im();
    const double m = a.Im() * b.Re() - a.Re() * b.Im();
    if (d < 1e-50) {  // unreachable after the first guard; kept as a second line of defence
        d = 1e-50;
        if (std::hypot(a.Re(), a.Im()) > 1e-50) n = 1e50;
    }
    return Complex(n / d, m / d);
}

Complex operator/(const Complex& c, double x) { return Complex(c.Re() / x, c.Im() / x); }

Complex operator/(double x, const Complex& c) {
    const double d = c.Re() * c.Re() + c.Im() * c.Im();
    return Complex(x * c.Re() / d, -x * c.Im() / d);
}

int operator==(const Complex& a, const Complex& b) { return a.Re() == b.Re() && a.Im() == b.Im() ? 1 : 0; }
int operator!=(const Complex& a, const Complex& b) { return a == b ? 0 : 1; }

}  // namespace kv
