#include "Kv_Relay/Phasors.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Angles.h"
#include "Kv_Relay/Error.h"

namespace kv::relay {

double AngleDegrees360(Complex value) {
    if (value == Complex()) return 0.0;
    double degrees = std::atan2(value.imag(), value.real()) * kDegreesPerRadian;
    if (degrees < 0) degrees += 360.0;
    // -1e-15 + 360 rounds to 360, and atan2 gives -0 for a negative zero imaginary part.
    return degrees >= 360.0 || degrees == 0.0 ? 0.0 : degrees;
}

double AngleDegrees180(Complex value) {
    if (value == Complex()) return 0.0;
    const double degrees = std::atan2(value.imag(), value.real()) * kDegreesPerRadian;
    return degrees == 0.0 ? 0.0 : degrees;
}

Complex FromPolarDegrees(double magnitude, double angleDegrees) {
    const double radians = angleDegrees * kRadiansPerDegree;
    return {magnitude * std::cos(radians), magnitude * std::sin(radians)};
}

namespace {

void CheckPolar(double magnitude, double angleDegrees, std::string_view what) {
    if (!(magnitude >= 0) || !std::isfinite(magnitude))
        Fail(std::string(what) + ".magnitude", "must be a finite number >= 0", magnitude);
    if (!std::isfinite(angleDegrees)) Fail(std::string(what) + ".angle", "must be a finite number", angleDegrees);
}

}  // namespace

Complex CheckedPolar(double magnitude, double angleDegrees, std::string_view what) {
    CheckPolar(magnitude, angleDegrees, what);
    return FromPolarDegrees(magnitude, angleDegrees);
}

Complex PolarSweep::operator()(double magnitude, double angleDegrees, std::string_view what) {
    CheckPolar(magnitude, angleDegrees, what);
    return Unchecked(magnitude, angleDegrees);
}

// FromPolarDegrees's cosine and sine of the same radians, so the products are its own.
void PolarSweep::Turn(double angleDegrees) {
    const double radians = angleDegrees * kRadiansPerDegree;
    m_angle = angleDegrees;
    m_cos = std::cos(radians);
    m_sin = std::sin(radians);
}

double ThreePhase::LargestMagnitude() const { return std::max({a.Magnitude(), b.Magnitude(), c.Magnitude()}); }

std::array<PolarValue, 3> Report(const ThreePhase& phases) {
    const double largest = phases.LargestMagnitude();
    std::array<PolarValue, 3> reported{};
    for (std::size_t k = 0; k < 3; ++k) {
        const double magnitude = phases[k].Magnitude();
        if (magnitude != 0 && !(magnitude < 1e-12 * largest)) reported[k] = {magnitude, phases[k].Angle()};
    }
    return reported;
}

}  // namespace kv::relay
