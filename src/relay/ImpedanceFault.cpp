#include "Kv_Relay/ImpedanceFault.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

#include "Angles.h"

namespace kv::relay {

namespace {

constexpr std::string_view kFaultLoopNames[] = {"AN", "BN", "CN", "AB", "BC", "CA", "ABC"};
constexpr std::string_view kMeasuringLoopNames[] = {"AN", "BN", "CN", "AB", "BC", "CA"};

// The source star, degrees: EA = Vn∠0°, EB = Vn∠−120°, EC = Vn∠120°; and its unit phasors.
constexpr double kPhaseAngle[3] = {0.0, -120.0, 120.0};
const Complex kUnitStar[3] = {FromPolarDegrees(1.0, kPhaseAngle[0]), FromPolarDegrees(1.0, kPhaseAngle[1]),
                              FromPolarDegrees(1.0, kPhaseAngle[2])};

// A phase-to-phase loop: its phases X and Y, the healthy phase W, and the angle of EXY.
struct PhaseToPhaseLoop {
    std::size_t x, y, w;
    double lineAngle;
};
constexpr PhaseToPhaseLoop kPhaseToPhase[] = {
    //  X  Y  W   EXY
    {0, 1, 2, 30.0},   // AB
    {1, 2, 0, -90.0},  // BC
    {2, 0, 1, 150.0},  // CA
};
const Complex kUnitLine[3] = {FromPolarDegrees(1.0, kPhaseToPhase[0].lineAngle),
                              FromPolarDegrees(1.0, kPhaseToPhase[1].lineAngle),
                              FromPolarDegrees(1.0, kPhaseToPhase[2].lineAngle)};

// Rounding can put the faulted loop's voltage a few ulps above its pre-fault value (a
// source model with ZS = 0, a constant voltage of Vn): that is no impossible fault.
constexpr double kFeasibleSlack = 1e-9;

// e^(j·arg Z) as Z/|Z|, `magnitude` = |Z|: no angle is taken, which is cheaper and leaves
// no rounding noise where Z lies on an axis, and a tiny Z cannot overflow. The angle of a
// zero impedance is 0.
Complex Direction(Complex z, double magnitude) {
    if (magnitude == 0) return {1.0, 0.0};
    return {z.real() / magnitude, z.imag() / magnitude};
}

// IT∠(θ − arg Z) as IT·e^(jθ)·conj(Z)/|Z|, `unit` = e^(jθ), `magnitude` = |Z|.
Complex AgainstAngleOf(double it, Complex unit, Complex z, double magnitude) {
    const Complex d = Direction(z, magnitude);
    return {it * (unit.real() * d.real() + unit.imag() * d.imag()),
            it * (unit.imag() * d.real() - unit.real() * d.imag())};
}

double Largest(const Complex (&phases)[3]) {
    return std::max({Magnitude(phases[0]), Magnitude(phases[1]), Magnitude(phases[2])});
}

// a / b as (a·conj(b)) / |b|², where |b|² lies well inside the range of doubles;
// elsewhere the library's division, which scales against overflow and underflow.
// The library's costs more than the rest of a loop's impedance.
Complex Divide(Complex a, Complex b) {
    const double n = b.real() * b.real() + b.imag() * b.imag();
    if (!(n > 1e-300 && n < 1e300)) return a / b;
    const Complex q((a.real() * b.real() + a.imag() * b.imag()) / n, (a.imag() * b.real() - a.real() * b.imag()) / n);
    return std::isfinite(q.real()) && std::isfinite(q.imag()) ? q : a / b;
}

// x − x is 0 for every finite x and NaN otherwise: one test for all six phasors.
bool AllFinite(const Complex (&v)[3], const Complex (&i)[3]) {
    double sum = 0;
    for (std::size_t k = 0; k < 3; ++k)
        sum += (v[k].real() - v[k].real()) + (v[k].imag() - v[k].imag()) + (i[k].real() - i[k].real()) +
               (i[k].imag() - i[k].imag());
    return sum == 0;
}

void RequireFinite(Complex z, std::string_view field) {
    if (!std::isfinite(z.real())) Fail(std::string(field) + ".real", "must be a finite number", z.real());
    if (!std::isfinite(z.imag())) Fail(std::string(field) + ".imag", "must be a finite number", z.imag());
}

void RequireNonNegative(double value, std::string_view field) {
    if (!(value >= 0) || !std::isfinite(value)) Fail(field, "must be a finite number >= 0", value);
}

void Validate(const ImpedanceFault& f) {
    if (static_cast<unsigned>(f.loop) > static_cast<unsigned>(FaultLoop::ABC))
        Fail("loop", "must be AN, BN, CN, AB, BC, CA or ABC", static_cast<double>(f.loop));
    if (!(f.nominalVoltage > 0) || !std::isfinite(f.nominalVoltage))
        Fail("nominal", "must be a finite number > 0", f.nominalVoltage);
    RequireFinite(f.z.Value(), "z");
    RequireFinite(f.k0.Value(), "k0");
    if (f.relayK0) RequireFinite(f.relayK0->Value(), "relay_k0");
    if (const auto* m = std::get_if<ConstantCurrent>(&f.model)) RequireNonNegative(m->current, "current");
    if (const auto* m = std::get_if<ConstantVoltage>(&f.model)) RequireNonNegative(m->voltage, "voltage");
    if (const auto* m = std::get_if<SourceImpedance>(&f.model)) {
        RequireFinite(m->source.Value(), "source");
        if (m->sourceK0) RequireFinite(m->sourceK0->Value(), "ks");
    }
    if (const auto* m = std::get_if<SourceToLineRatio>(&f.model)) {
        RequireNonNegative(m->sir, "sir");
        if (m->sourceK0) RequireFinite(m->sourceK0->Value(), "ks");
    }
    if (f.limits) {
        RequireNonNegative(f.limits->umax, "limits.umax");
        RequireNonNegative(f.limits->imax, "limits.imax");
    }
}

// The source impedance and its k0 of a source model.
struct Source {
    Complex zs;
    Complex ks;
};
Source SourceOf(const ImpedanceFault& f) {
    if (const auto* m = std::get_if<SourceImpedance>(&f.model))
        return {m->source.Value(), m->sourceK0.value_or(f.k0).Value()};
    const auto& m = std::get<SourceToLineRatio>(f.model);
    const double magnitude = Magnitude(f.z.Value()), zs = m.sir * magnitude;
    const Complex d = Direction(f.z.Value(), magnitude);
    return {{zs * d.real(), zs * d.imag()}, m.sourceK0.value_or(f.k0).Value()};
}

bool IsSourceModel(const TestModel& model) {
    return std::holds_alternative<SourceImpedance>(model) || std::holds_alternative<SourceToLineRatio>(model);
}

// IT of a constant-current or constant-voltage model; `loopImpedance` is |ZE|, 2·|Z| or |Z|.
double TestCurrent(const TestModel& model, double loopImpedance) {
    if (const auto* m = std::get_if<ConstantCurrent>(&model)) return m->current;
    const double ut = std::get<ConstantVoltage>(model).voltage;
    if (loopImpedance == 0) throw Error("voltage: a constant voltage needs a loop impedance that is not 0");
    return ut / loopImpedance;
}

Complex SourceQuotient(Complex e, Complex denominator) {
    if (denominator == Complex()) throw Error("source: the source and line impedances of the loop add up to 0");
    return Divide(e, denominator);
}

}  // namespace

FaultLoop ParseFaultLoop(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (std::size_t k = 0; k < std::size(kFaultLoopNames); ++k)
        if (upper == kFaultLoopNames[k]) return static_cast<FaultLoop>(k);
    throw Error("loop: must be AN, BN, CN, AB, BC, CA or ABC, got '" + std::string(text) + "'");
}

std::string_view Name(FaultLoop loop) { return kFaultLoopNames[static_cast<std::size_t>(loop)]; }
std::string_view Name(MeasuringLoop loop) { return kMeasuringLoopNames[static_cast<std::size_t>(loop)]; }

std::string_view Name(const TestModel& model) {
    constexpr std::string_view kNames[] = {"current", "voltage", "source", "sir"};
    return kNames[model.index()];
}

ResidualCompensation::ResidualCompensation(Complex k0)
    : m_k0(k0), m_magnitude(std::abs(k0)), m_angle(AngleDegrees180(k0)), m_z0z1Magnitude(std::abs(Z0Z1())),
      m_z0z1Angle(AngleDegrees180(Z0Z1())) {}

ResidualCompensation ResidualCompensation::Polar(double magnitude, double angleDegrees) {
    return ResidualCompensation(CheckedPolar(magnitude, angleDegrees, "k0"));
}

ResidualCompensation ResidualCompensation::FromRERLXEXL(double rerl, double xexl, Impedance line) {
    if (!std::isfinite(rerl)) Fail("k0.rerl", "must be a finite number", rerl);
    if (!std::isfinite(xexl)) Fail("k0.xexl", "must be a finite number", xexl);
    if (line.Value() == Complex()) throw Error("k0: RE/RL and XE/XL need a line impedance that is not 0");
    return ResidualCompensation(Complex(rerl * line.R(), xexl * line.X()) / line.Value());
}

ResidualCompensation ResidualCompensation::FromZ0Z1(double magnitude, double angleDegrees) {
    return ResidualCompensation((CheckedPolar(magnitude, angleDegrees, "z0z1") - 1.0) / 3.0);
}

std::optional<double> ResidualCompensation::RERL(Impedance line) const {
    if (line.R() == 0) return std::nullopt;
    return (m_k0 * line.Value()).real() / line.R();
}

std::optional<double> ResidualCompensation::XEXL(Impedance line) const {
    if (line.X() == 0) return std::nullopt;
    return (m_k0 * line.Value()).imag() / line.X();
}

Complex ResidualCompensation::Z0Z1() const { return 1.0 + 3.0 * m_k0; }

ResidualCompensationForms Forms(ResidualCompensation k0, Impedance line) {
    return {k0.Magnitude(), k0.Angle(), k0.RERL(line), k0.XEXL(line), k0.Z0Z1Magnitude(), k0.Z0Z1Angle()};
}

ImpedanceFaultResult Calculate(const ImpedanceFault& f) {
    Validate(f);
    const double vn = f.nominalVoltage / std::sqrt(3.0);
    // vn·(cos θ, sin θ): the same products as FromPolarDegrees(vn, θ) gives.
    const Complex e[3] = {vn * kUnitStar[0], vn * kUnitStar[1], vn * kUnitStar[2]};
    const Complex z = f.z.Value();
    const Complex k0 = f.k0.Value();
    const bool sourceModel = IsSourceModel(f.model);
    const Source source = sourceModel ? SourceOf(f) : Source{};

    ImpedanceFaultResult r;
    Complex v[3] = {e[0], e[1], e[2]};
    Complex i[3] = {};
    std::size_t faulted = 0;  // a faulted phase, for the test current
    const auto loop = static_cast<std::size_t>(f.loop);
    if (loop < 3) {  // earth fault on phase x
        const std::size_t x = loop;
        const Complex ze = z * (1.0 + k0);
        if (sourceModel) {
            i[x] = SourceQuotient(e[x], source.zs * (1.0 + source.ks) + ze);
        } else {
            const double magnitude = Magnitude(ze);
            i[x] = AgainstAngleOf(TestCurrent(f.model, magnitude), kUnitStar[x], ze, magnitude);
        }
        v[x] = ze * i[x];
        faulted = x;
        r.loopVoltage = Magnitude(v[x]);
        r.preFaultLoopVoltage = vn;
    } else if (loop < 6) {  // phase-to-phase fault on x-y
        const PhaseToPhaseLoop& p = kPhaseToPhase[loop - 3];
        Complex ix;
        if (sourceModel) {
            ix = SourceQuotient(e[p.x] - e[p.y], 2.0 * (source.zs + z));
        } else {
            const double magnitude = Magnitude(z);
            ix = AgainstAngleOf(TestCurrent(f.model, 2.0 * magnitude), kUnitLine[loop - 3], z, magnitude);
        }
        const Complex vxy = 2.0 * z * ix;
        i[p.x] = ix;
        i[p.y] = -ix;
        v[p.x] = (vxy - e[p.w]) / 2.0;
        v[p.y] = (-vxy - e[p.w]) / 2.0;
        faulted = p.x;
        r.loopVoltage = Magnitude(vxy);
        r.preFaultLoopVoltage = f.nominalVoltage;
    } else {  // three-phase fault
        const double magnitude = Magnitude(z);
        const double it = sourceModel ? 0.0 : TestCurrent(f.model, magnitude);
        for (std::size_t x = 0; x < 3; ++x) {
            i[x] = sourceModel ? SourceQuotient(e[x], source.zs + z) : AgainstAngleOf(it, kUnitStar[x], z, magnitude);
            v[x] = z * i[x];
        }
        r.loopVoltage = Magnitude(v[0]);
        r.preFaultLoopVoltage = vn;
    }
    r.feasible = !(r.loopVoltage > r.preFaultLoopVoltage * (1.0 + kFeasibleSlack));
    if (!AllFinite(v, i)) throw Error("z: the fault's voltages or currents lie beyond the range of numbers");
    for (std::size_t k = 0; k < 3; ++k) {
        r.phases.voltages[k] = Phasor(v[k]);
        r.phases.currents[k] = Phasor(i[k]);
    }

    // What the relay measures, with its own k0.
    const Complex k0r = f.relayK0.value_or(f.k0).Value();
    const Complex in = i[0] + i[1] + i[2];
    const double largestCurrent = Largest(i);
    const double floor = 1e-12 * largestCurrent;
    const auto apparent = [floor](Complex voltage, Complex current) -> std::optional<Impedance> {
        const double magnitude = Magnitude(current);
        if (magnitude == 0 || magnitude < floor) return std::nullopt;
        return Impedance(Divide(voltage, current));
    };
    for (std::size_t x = 0; x < 3; ++x) r.loops[x] = apparent(v[x], i[x] + k0r * in);
    for (std::size_t k = 0; k < 3; ++k) {
        const PhaseToPhaseLoop& p = kPhaseToPhase[k];
        r.loops[3 + k] = apparent(v[p.x] - v[p.y], i[p.x] - i[p.y]);
    }

    r.k0 = Forms(f.k0, f.z);
    r.sourceImpedance = Impedance(source.zs);
    r.testCurrent = Magnitude(i[faulted]);
    if (f.limits) {
        LimitVerdicts& l = r.limits.emplace();
        l.largestVoltage = Largest(v);
        l.largestCurrent = largestCurrent;
        l.voltageExceeded = l.largestVoltage > f.limits->umax;
        l.currentExceeded = l.largestCurrent > f.limits->imax;
    }
    return r;
}

}  // namespace kv::relay
