#include "Kv_Relay/ImpedanceFault.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using kv::relay::Calculate;
using kv::relay::Complex;
using kv::relay::ConstantCurrent;
using kv::relay::ConstantVoltage;
using kv::relay::Error;
using kv::relay::FaultLoop;
using kv::relay::Impedance;
using kv::relay::ImpedanceFault;
using kv::relay::ResidualCompensation;
using kv::relay::SourceImpedance;
using kv::relay::SourceToLineRatio;

constexpr FaultLoop kLoops[] = {FaultLoop::AN, FaultLoop::BN, FaultLoop::CN, FaultLoop::AB,
                                FaultLoop::BC, FaultLoop::CA, FaultLoop::ABC};

ImpedanceFault Example(FaultLoop loop = FaultLoop::AN) {
    ImpedanceFault f;
    f.loop = loop;
    f.z = Impedance::Polar(5, 75);
    f.k0 = ResidualCompensation::Polar(0.8, -5);
    f.model = ConstantCurrent{5};
    return f;
}

void ExpectPolar(kv::relay::Phasor p, double magnitude, double angle, double tolerance, const char* what) {
    EXPECT_NEAR(p.Magnitude(), magnitude, tolerance) << what;
    if (magnitude != 0) {
        EXPECT_NEAR(p.Angle(), angle, 0.01) << what;
    }
}

void ExpectClose(Complex a, Complex b, const std::string& what) {
    EXPECT_LE(std::abs(a - b), 1e-12 * std::max(1.0, std::abs(b))) << what << ": " << a << " vs " << b;
}

TEST(ImpedanceFaultTest, WorkedExampleOfAnEarthFault) {
    const auto r = Calculate(Example());
    ExpectPolar(r.phases.voltages.a, 44.958, 0, 5e-4, "VA");
    ExpectPolar(r.phases.voltages.b, 57.735, 240, 5e-4, "VB");
    ExpectPolar(r.phases.voltages.c, 57.735, 120, 5e-4, "VC");
    ExpectPolar(r.phases.currents.a, 5, 287.22, 1e-12, "IA");
    EXPECT_EQ(r.phases.currents.b.Value(), Complex());
    EXPECT_EQ(r.phases.currents.c.Value(), Complex());
    // ZE = VA / IA
    const Complex ze = r.phases.voltages.a.Value() / r.phases.currents.a.Value();
    EXPECT_NEAR(std::abs(ze), 8.9915, 5e-5);
    EXPECT_NEAR(std::arg(ze) * 180 / 3.141592653589793, 72.78, 5e-3);

    EXPECT_NEAR(*r.k0.rerl, 1.0572, 5e-5);
    EXPECT_NEAR(*r.k0.xexl, 0.7783, 5e-5);
    EXPECT_NEAR(r.k0.z0z1Magnitude, 3.397, 5e-4);
    EXPECT_NEAR(r.k0.z0z1Angle, -3.53, 5e-3);
    EXPECT_NEAR(r.k0.magnitude, 0.8, 1e-15);
    EXPECT_NEAR(r.k0.angle, -5, 1e-12);
    EXPECT_EQ(r.testCurrent, 5);
    EXPECT_TRUE(r.feasible);
    EXPECT_FALSE(r.limits.has_value());
}

TEST(ImpedanceFaultTest, FaultedLoopSeesTheLineImpedanceUnderEveryModel) {
    const kv::relay::TestModel models[] = {ConstantCurrent{5}, ConstantVoltage{20},
                                           SourceImpedance{Impedance::Polar(2, 80), std::nullopt},
                                           SourceToLineRatio{0.5, ResidualCompensation::Polar(1.2, 10)}};
    for (const FaultLoop loop : kLoops) {
        for (const auto& model : models) {
            ImpedanceFault f = Example(loop);
            f.model = model;
            const auto r = Calculate(f);
            const std::string what = std::string(Name(loop)) + " " + std::string(Name(model));
            const auto l = static_cast<std::size_t>(loop);
            // The faulted loops: the earth loop, the phase-to-phase loop, or all six.
            for (std::size_t k = 0; k < 6; ++k) {
                const bool faulted = loop == FaultLoop::ABC || k == l;
                if (!faulted) continue;
                ASSERT_TRUE(r.loops[k].has_value()) << what << " loop " << k;
                ExpectClose(r.loops[k]->Value(), f.z.Value(), what);
            }
            // The voltages stay a closed system: the phase voltages of a star sum to 0 where no
            // earth current flows.
            const auto& v = r.phases.voltages;
            if (loop >= FaultLoop::AB) ExpectClose(v.a.Value() + v.b.Value() + v.c.Value(), 0, what);
            // A constant voltage is the faulted loop's voltage.
            if (std::holds_alternative<ConstantVoltage>(model)) {
                const Complex loopVoltage = loop == FaultLoop::AB   ? v.a.Value() - v.b.Value()
                                            : loop == FaultLoop::BC ? v.b.Value() - v.c.Value()
                                            : loop == FaultLoop::CA ? v.c.Value() - v.a.Value()
                                            : loop == FaultLoop::ABC ? v.a.Value()
                                                                     : v[l].Value();
                EXPECT_NEAR(std::abs(loopVoltage), 20, 1e-12) << what;
            }
        }
    }
}

TEST(ImpedanceFaultTest, ModelsAgreeWhereTheyShould) {
    for (const FaultLoop loop : kLoops) {
        ImpedanceFault source = Example(loop);
        source.model = SourceToLineRatio{2, std::nullopt};
        const auto bySource = Calculate(source);

        ImpedanceFault explicitSource = Example(loop);
        explicitSource.model = SourceImpedance{Impedance::Polar(10, 75), std::nullopt};
        const auto byImpedance = Calculate(explicitSource);

        ImpedanceFault current = Example(loop);
        current.model = ConstantCurrent{bySource.testCurrent};
        const auto byCurrent = Calculate(current);
        // A source at the line's angle with the line's k0 drives the current at the angle
        // that the constant-current model gives it.
        for (std::size_t k = 0; k < 3; ++k) {
            const std::string what = std::string(Name(loop)) + " phase " + std::to_string(k);
            ExpectClose(byImpedance.phases.currents[k].Value(), bySource.phases.currents[k].Value(), what);
            ExpectClose(byCurrent.phases.currents[k].Value(), bySource.phases.currents[k].Value(), what);
            ExpectClose(byCurrent.phases.voltages[k].Value(), bySource.phases.voltages[k].Value(), what);
        }
        EXPECT_TRUE(bySource.feasible) << Name(loop);
        ExpectClose(bySource.sourceImpedance.Value(), std::polar(10.0, 75 * 3.141592653589793 / 180), "ZS");
    }
}

TEST(ImpedanceFaultTest, PhaseToPhaseGeometryAndTheRelaysOwnK0) {
    ImpedanceFault f = Example(FaultLoop::BC);
    f.relayK0 = ResidualCompensation();  // a relay set to k0 = 0
    const auto r = Calculate(f);
    const auto& i = r.phases.currents;
    ExpectClose(i.c.Value(), -i.b.Value(), "IC = -IB");
    EXPECT_EQ(i.a.Value(), Complex());
    ExpectPolar(r.phases.voltages.a, 100 / std::sqrt(3.0), 0, 1e-12, "healthy VA");
    EXPECT_NEAR(i.b.Angle(), std::fmod(-90 - 75 + 720, 360.0), 1e-9);  // IB lags EBC by the line angle
    // Without an earth current every earth loop measures V / I; the healthy phase has none.
    EXPECT_FALSE(r.loops[0].has_value());
    ExpectClose(r.loops[1]->Value(), r.phases.voltages.b.Value() / i.b.Value(), "BN");
    // The two loops beside the fault see more than Z.
    EXPECT_GT(r.loops[3]->Magnitude(), 5);
    EXPECT_GT(r.loops[5]->Magnitude(), 5);

    // An earth fault measured with another k0 does not see Z.
    ImpedanceFault earth = Example(FaultLoop::CN);
    earth.relayK0 = ResidualCompensation::Polar(0.5, 0);
    const auto measured = Calculate(earth);
    EXPECT_GT(std::abs(measured.loops[2]->Value() - earth.z.Value()), 0.1);
}

TEST(ImpedanceFaultTest, ResidualCompensationFormsConvertBothWays) {
    const Impedance z = Impedance::RX(1.2, 4.5);
    const ResidualCompensation k0 = ResidualCompensation::Polar(0.67, -12);
    const auto forms = Forms(k0, z);
    ExpectClose(ResidualCompensation::FromRERLXEXL(*forms.rerl, *forms.xexl, z).Value(), k0.Value(), "RE/RL");
    ExpectClose(ResidualCompensation::FromZ0Z1(forms.z0z1Magnitude, forms.z0z1Angle).Value(), k0.Value(), "Z0/Z1");
    ExpectClose(ResidualCompensation::Polar(forms.magnitude, forms.angle).Value(), k0.Value(), "polar");
    // RE/RL = XE/XL = k for a real k0 = k
    const auto real = Forms(ResidualCompensation(Complex(0.8, 0)), z);
    EXPECT_DOUBLE_EQ(*real.rerl, 0.8);
    EXPECT_DOUBLE_EQ(*real.xexl, 0.8);
    // No RE/RL on a purely reactive line, no XE/XL on a resistive one.
    EXPECT_FALSE(Forms(k0, Impedance::RX(0, 3)).rerl.has_value());
    EXPECT_FALSE(Forms(k0, Impedance::RX(3, 0)).xexl.has_value());
    EXPECT_EQ(Forms(ResidualCompensation(), z).z0z1Magnitude, 1);
}

TEST(ImpedanceFaultTest, FeasibilityAndLimits) {
    ImpedanceFault f = Example(FaultLoop::AN);
    f.model = ConstantVoltage{100 / std::sqrt(3.0)};  // exactly the pre-fault voltage: still a fault
    EXPECT_TRUE(Calculate(f).feasible);
    f.model = ConstantVoltage{60};
    EXPECT_FALSE(Calculate(f).feasible);
    f.loop = FaultLoop::AB;
    f.model = ConstantCurrent{20};  // 2·5 Ω·20 A = 200 V across A-B > Un
    EXPECT_FALSE(Calculate(f).feasible);

    f.limits = kv::relay::DeviceLimits{120, 10};
    auto limits = *Calculate(f).limits;
    EXPECT_TRUE(limits.currentExceeded);
    EXPECT_EQ(limits.largestCurrent, 20);
    EXPECT_FALSE(limits.voltageExceeded);  // VA, VB near 101 V
    f.limits = kv::relay::DeviceLimits{100, 20};
    limits = *Calculate(f).limits;
    EXPECT_TRUE(limits.voltageExceeded);
    EXPECT_FALSE(limits.currentExceeded);

    // A zero impedance at constant current: the fault at the relay, every voltage 0 there.
    f = Example(FaultLoop::ABC);
    f.z = Impedance();
    const auto zero = Calculate(f);
    EXPECT_EQ(zero.phases.voltages.a.Value(), Complex());
    EXPECT_EQ(zero.loops[0]->Value(), Complex());
    EXPECT_EQ(zero.phases.currents.a.Angle(), 0);

    // A line on the reactance axis leaves no rounding noise in the currents, however tiny
    // the impedance: IA = −j·IT, IA − IB = IT∠(30° − 90°) with the star's own cosine.
    for (const double x : {5.0, 1e-310}) {
        f = Example(FaultLoop::AN);
        f.k0 = {};
        f.z = Impedance::RX(0, x);
        EXPECT_EQ(Calculate(f).phases.currents.a.Value(), Complex(0, -5)) << x;
        f.loop = FaultLoop::AB;
        const Complex unit = kv::relay::FromPolarDegrees(1, 30);
        EXPECT_EQ(Calculate(f).phases.currents.a.Value(), Complex(5 * unit.imag(), -5 * unit.real())) << x;
    }
}

TEST(ImpedanceFaultTest, BadInputNamesTheField) {
    const auto message = [](auto change) {
        ImpedanceFault f = Example();
        change(f);
        try {
            Calculate(f);
        } catch (const Error& e) {
            return std::string(e.what());
        }
        return std::string("no error");
    };
    const double nan = std::nan("");
    EXPECT_EQ(message([](ImpedanceFault& f) { f.model = ConstantCurrent{-5}; }),
              "current: must be a finite number >= 0, got -5");
    EXPECT_EQ(message([](ImpedanceFault& f) { f.nominalVoltage = 0; }), "nominal: must be a finite number > 0, got 0");
    EXPECT_EQ(message([&](ImpedanceFault& f) { f.z = Impedance::RX(nan, 1); }), "z.real: must be a finite number, got nan");
    EXPECT_EQ(message([&](ImpedanceFault& f) { f.relayK0 = ResidualCompensation(Complex(0, HUGE_VAL)); }),
              "relay_k0.imag: must be a finite number, got inf");
    EXPECT_EQ(message([](ImpedanceFault& f) { f.model = SourceToLineRatio{-1, {}}; }),
              "sir: must be a finite number >= 0, got -1");
    EXPECT_EQ(message([](ImpedanceFault& f) { f.z = Impedance(), f.model = ConstantVoltage{10}; }),
              "voltage: a constant voltage needs a loop impedance that is not 0");
    EXPECT_EQ(message([](ImpedanceFault& f) { f.z = Impedance(), f.model = SourceImpedance{}; }),
              "source: the source and line impedances of the loop add up to 0");
    EXPECT_EQ(message([](ImpedanceFault& f) { f.z = Impedance::RX(1e300, 1e300), f.model = ConstantCurrent{1e300}; }),
              "z: the fault's voltages or currents lie beyond the range of numbers");

    EXPECT_THROW(Impedance::Polar(-1, 0), Error);
    EXPECT_THROW(ResidualCompensation::Polar(1, nan), Error);
    EXPECT_THROW(ResidualCompensation::FromRERLXEXL(1, 1, Impedance()), Error);
    EXPECT_EQ(kv::relay::ParseFaultLoop("abc"), FaultLoop::ABC);
    EXPECT_EQ(kv::relay::ParseFaultLoop("cA"), FaultLoop::CA);
    for (const char* bad : {"", "A", "NA", "ABCN", "AN "}) EXPECT_THROW(kv::relay::ParseFaultLoop(bad), Error) << bad;
}

}  // namespace
