// Degrees at the layer's boundary, radians inside; and the magnitude of a complex value
// without hypot's cost where no overflow or underflow can occur.
#pragma once

#include <cmath>
#include <complex>

namespace kv::relay {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kRadiansPerDegree = kPi / 180.0;
inline constexpr double kDegreesPerRadian = 180.0 / kPi;

// |z|: sqrt(x² + y²) where the sum of squares lies well inside the range of doubles,
// else hypot, which neither overflows nor underflows but costs as much as a whole fault.
inline double Magnitude(std::complex<double> z) {
    const double squares = z.real() * z.real() + z.imag() * z.imag();
    if (squares > 1e-300 && squares < 1e300) return std::sqrt(squares);
    return z == std::complex<double>() ? 0.0 : std::hypot(z.real(), z.imag());  // no current is common
}

}  // namespace kv::relay
