// Phasors, three-phase sets and impedances: the value types of the engineering layer.
//
// At every boundary a phasor is an RMS magnitude and an angle in degrees; inside it is a
// std::complex<double> x = |X|·e^(j·α), so that x(t) = √2·|X|·cos(ωt + α). A positive-
// sequence set has A at θ, B at θ − 120° and C at θ + 120°.
#pragma once

#include <array>
#include <bit>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Kv_Relay/Export.h"

namespace kv::relay {

using Complex = std::complex<double>;

// The angle of a complex value in degrees, in [0, 360); 0 for a zero value.
KV_RELAY_API double AngleDegrees360(Complex value);
// The angle of a complex value in degrees, in (−180, 180]; 0 for a zero value.
KV_RELAY_API double AngleDegrees180(Complex value);
// |X|·e^(j·angle), the angle in degrees.
KV_RELAY_API Complex FromPolarDegrees(double magnitude, double angleDegrees);
// The same for a value that a user gives: Error naming `what` unless the magnitude is a
// finite number >= 0 and the angle finite.
KV_RELAY_API Complex CheckedPolar(double magnitude, double angleDegrees, std::string_view what);

// CheckedPolar (or FromPolarDegrees, unchecked) along a sweep, with the same results: the
// cosine and sine of the last angle are kept while the angle keeps every bit, as it does
// when only magnitudes are swept.
class KV_RELAY_API PolarSweep {
public:
    Complex operator()(double magnitude, double angleDegrees, std::string_view what);
    Complex Unchecked(double magnitude, double angleDegrees) {
        if (std::bit_cast<std::uint64_t>(angleDegrees) != std::bit_cast<std::uint64_t>(m_angle)) Turn(angleDegrees);
        return {magnitude * m_cos, magnitude * m_sin};
    }

private:
    void Turn(double angleDegrees);

    double m_angle = 0;  // degrees
    double m_cos = 1, m_sin = 0;
};

// An RMS phasor.
class Phasor {
public:
    constexpr Phasor() = default;
    constexpr explicit Phasor(Complex value) : m_value(value) {}
    // magnitude in RMS units (V, A), angle in degrees.
    static Phasor Polar(double magnitude, double angleDegrees) {
        return Phasor(CheckedPolar(magnitude, angleDegrees, "phasor"));
    }

    constexpr Complex Value() const { return m_value; }
    double Magnitude() const { return std::abs(m_value); }
    // Degrees in [0, 360); a zero phasor has angle 0.
    double Angle() const { return AngleDegrees360(m_value); }

    friend constexpr bool operator==(const Phasor&, const Phasor&) = default;

private:
    Complex m_value{};
};

// Phases A, B and C of one quantity.
struct ThreePhase {
    Phasor a, b, c;

    Phasor& operator[](std::size_t phase) { return phase == 0 ? a : phase == 1 ? b : c; }
    const Phasor& operator[](std::size_t phase) const { return phase == 0 ? a : phase == 1 ? b : c; }
    // The largest of the three magnitudes.
    KV_RELAY_API double LargestMagnitude() const;
};

// The six phasors at the relay: phase voltages (V) and phase currents (A).
struct ThreePhaseSet {
    ThreePhase voltages;
    ThreePhase currents;
};

// A magnitude and an angle in degrees as front ends report them.
struct PolarValue {
    double magnitude = 0;
    double angle = 0;
};

// The phases as reported: angles in [0, 360), and a magnitude below 1e-12 of the largest
// of the set reported as 0 at angle 0, so that rounding noise shows as nothing.
KV_RELAY_API std::array<PolarValue, 3> Report(const ThreePhase& phases);

// A complex impedance Z = R + jX in ohms.
class Impedance {
public:
    constexpr Impedance() = default;
    constexpr explicit Impedance(Complex value) : m_value(value) {}
    // magnitude in Ω, angle in degrees.
    static Impedance Polar(double magnitude, double angleDegrees) {
        return Impedance(CheckedPolar(magnitude, angleDegrees, "impedance"));
    }
    static constexpr Impedance RX(double r, double x) { return Impedance(Complex(r, x)); }

    constexpr Complex Value() const { return m_value; }
    constexpr double R() const { return m_value.real(); }
    constexpr double X() const { return m_value.imag(); }
    double Magnitude() const { return std::abs(m_value); }
    // Degrees in (−180, 180]; the angle of a zero impedance is 0.
    double Angle() const { return AngleDegrees180(m_value); }

    friend constexpr bool operator==(const Impedance&, const Impedance&) = default;

private:
    Complex m_value{};
};

}  // namespace kv::relay
