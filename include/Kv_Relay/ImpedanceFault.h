// A fault at an impedance, for distance-protection tests: the six phasors at the relay
// when a fault lies at the line impedance Z from it, and the impedances that the relay's
// six measuring loops then see.
//
// The system. Nominal line voltage Un (V), phase voltage Vn = Un / √3; before the fault
// the source star is EA = Vn∠0°, EB = Vn∠−120°, EC = Vn∠120°. The earth-loop impedance is
// ZE = Z·(1 + k0), k0 = (Z0 − Z1) / (3·Z1) the residual compensation factor.
//
// Earth fault on phase X (AN, BN, CN; θ = 0°, −120°, 120°), the other phases healthy:
//   constant current IT:  IX = IT∠(θ − arg ZE);
//   constant voltage UT:  IT = UT / |ZE|, then as constant current;
//   source ZS, kS:        IX = EX / (ZS·(1 + kS) + ZE);
//   VX = ZE·IX; a healthy phase keeps V = E and carries no current.
// Phase-to-phase fault on loop X-Y (AB, BC, CA), W the healthy phase, EXY = EX − EY at
// θXY = 30°, −90°, 150°:
//   constant current:     IX = IT∠(θXY − arg Z);
//   constant voltage:     IT = UT / (2·|Z|), UT the loop's line voltage;
//   source:               IX = EXY / (2·(ZS + Z));
//   IY = −IX, IW = 0, VXY = 2·Z·IX, VW = EW, VX = (VXY − EW) / 2, VY = (−VXY − EW) / 2.
// Three-phase fault ABC: IX = IT∠(θX − arg Z), IT = UT / |Z|, or IX = EX / (ZS + Z);
//   VX = Z·IX.
// The angle of a zero impedance is taken as 0; a model whose denominator is zero is an
// error.
//
// The relay measures ZXN = VX / (IX + k0r·IN), IN = IA + IB + IC, k0r its own k0 setting,
// and ZXY = (VX − VY) / (IX − IY). With k0r equal to the line's k0 the faulted loop sees Z.
//
// Nothing here touches global state: Calculate may run on several threads at once, and
// allocates nothing unless it throws.
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <variant>

#include "Kv_Relay/DeviceLimits.h"
#include "Kv_Relay/Error.h"
#include "Kv_Relay/Export.h"
#include "Kv_Relay/Phasors.h"

namespace kv::relay {

// The faulted loop.
enum class FaultLoop { AN, BN, CN, AB, BC, CA, ABC };

// "AN", "bc", "Abc", ...; Error for anything else.
KV_RELAY_API FaultLoop ParseFaultLoop(std::string_view text);
KV_RELAY_API std::string_view Name(FaultLoop loop);

// The six measuring loops of a distance relay, in this order everywhere.
enum class MeasuringLoop { AN, BN, CN, AB, BC, CA };
inline constexpr std::size_t kMeasuringLoops = 6;
KV_RELAY_API std::string_view Name(MeasuringLoop loop);

// The residual compensation factor k0 = (Z0 − Z1) / (3·Z1), dimensionless, in any of the
// three forms that relay settings use. The RE/RL and XE/XL form depends on the line
// impedance Z = R + jX:  k0 = (RE/RL·R + j·XE/XL·X) / Z; the Z0/Z1 form: k0 = (Z0/Z1 − 1) / 3.
class KV_RELAY_API ResidualCompensation {
public:
    constexpr ResidualCompensation() = default;  // k0 = 0
    explicit ResidualCompensation(Complex k0);

    // |k0| and its angle in degrees.
    static ResidualCompensation Polar(double magnitude, double angleDegrees);
    // RE/RL and XE/XL of the line impedance `line`; Error when `line` is zero.
    static ResidualCompensation FromRERLXEXL(double rerl, double xexl, Impedance line);
    // Z0/Z1 as magnitude and angle in degrees.
    static ResidualCompensation FromZ0Z1(double magnitude, double angleDegrees);

    constexpr Complex Value() const { return m_k0; }
    double Magnitude() const { return m_magnitude; }
    double Angle() const { return m_angle; }  // degrees in (−180, 180]
    // RE/RL = Re(k0·Z) / R and XE/XL = Im(k0·Z) / X; no value where R or X is 0.
    std::optional<double> RERL(Impedance line) const;
    std::optional<double> XEXL(Impedance line) const;
    // Z0/Z1 = 1 + 3·k0, and its polar form (degrees in (−180, 180]).
    Complex Z0Z1() const;
    double Z0Z1Magnitude() const { return m_z0z1Magnitude; }
    double Z0Z1Angle() const { return m_z0z1Angle; }

    friend bool operator==(const ResidualCompensation& a, const ResidualCompensation& b) { return a.m_k0 == b.m_k0; }

private:
    Complex m_k0{};
    // The polar forms, worked out once: a sweep copies them with k0 instead of paying
    // for them at every point.
    double m_magnitude = 0, m_angle = 0, m_z0z1Magnitude = 1, m_z0z1Angle = 0;
};

// k0 in all three forms, for a result.
struct ResidualCompensationForms {
    double magnitude = 0;
    double angle = 0;  // degrees in (−180, 180]
    std::optional<double> rerl;
    std::optional<double> xexl;
    double z0z1Magnitude = 1;
    double z0z1Angle = 0;  // degrees in (−180, 180]
};
KV_RELAY_API ResidualCompensationForms Forms(ResidualCompensation k0, Impedance line);

// The test models: what the test set holds constant.
struct ConstantCurrent {
    double current = 0;  // IT, A RMS: the fault current in a faulted phase
};
struct ConstantVoltage {
    double voltage = 0;  // UT, V RMS: phase-to-earth for AN, BN, CN and ABC, line voltage for AB, BC, CA
};
struct SourceImpedance {
    Impedance source;                             // ZS, Ω
    std::optional<ResidualCompensation> sourceK0;  // kS; none: the line's k0
};
// A source given by its source-to-line impedance ratio: ZS = SIR·|Z| at the angle of Z.
struct SourceToLineRatio {
    double sir = 0;
    std::optional<ResidualCompensation> sourceK0;  // kS; none: the line's k0
};
using TestModel = std::variant<ConstantCurrent, ConstantVoltage, SourceImpedance, SourceToLineRatio>;
KV_RELAY_API std::string_view Name(const TestModel& model);  // "current", "voltage", "source", "sir"

struct ImpedanceFault {
    FaultLoop loop = FaultLoop::AN;
    Impedance z;                     // line impedance from the relay to the fault, Ω
    ResidualCompensation k0;         // the line's
    TestModel model = ConstantCurrent{};
    double nominalVoltage = 100;     // Un, line voltage, V
    std::optional<ResidualCompensation> relayK0;  // k0r; none: the line's
    std::optional<DeviceLimits> limits;
};

struct LimitVerdicts {
    bool voltageExceeded = false;  // a phase voltage above umax
    bool currentExceeded = false;  // a phase current above imax
    double largestVoltage = 0;
    double largestCurrent = 0;
};

struct ImpedanceFaultResult {
    ThreePhaseSet phases;
    ResidualCompensationForms k0;     // the line's
    Impedance sourceImpedance;        // ZS of a source model (as given or from SIR); 0 otherwise
    // Apparent impedance of each measuring loop (MeasuringLoop order); none where the
    // loop's current is 0 or below 1e-12 of the largest phase current.
    std::array<std::optional<Impedance>, kMeasuringLoops> loops;
    double testCurrent = 0;           // |I| of a faulted phase, A
    // False where the faulted loop's voltage exceeds its pre-fault value (|VX| > Vn for
    // earth and three-phase faults, |VXY| > Un for phase-to-phase), which no real fault gives.
    bool feasible = true;
    double loopVoltage = 0;          // |VX| (earth, three-phase) or |VXY| (phase-to-phase), V
    double preFaultLoopVoltage = 0;  // Vn or Un, V
    std::optional<LimitVerdicts> limits;  // when the fault gave limits
};

// The fault's phasors and what the relay measures. Error, naming the field, for a
// negative or non-finite magnitude, a non-finite value, Un ≤ 0, or a zero denominator.
KV_RELAY_API ImpedanceFaultResult Calculate(const ImpedanceFault& fault);

}  // namespace kv::relay
