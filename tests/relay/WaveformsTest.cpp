#include "Kv_Relay/Waveforms.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Kv_Relay/Error.h"

namespace {

using namespace kv::relay;

constexpr double kPi = 3.141592653589793;

Sequence TwoStates(double frequency2, bool dc, std::optional<double> tau = {}) {
    Sequence q;
    q.rate = 1000;
    State pre;
    pre.name = "pre";
    pre.duration = 0.0105;  // the boundary falls between samples
    ExplicitPhasors p;
    p.values[3] = Phasor::Polar(2, 40);  // IA
    pre.phasors = p;
    State fault;
    fault.name = "fault";
    fault.duration = 0.05;
    fault.frequency = frequency2;
    fault.dcOffset = {dc, tau};
    ExplicitPhasors f;
    f.values[0] = Phasor::Polar(20, 10);  // UA
    f.values[3] = Phasor::Polar(10, -80);  // IA
    fault.phasors = f;
    fault.outputs = {{"TRIP", 1}};
    q.states = {pre, fault};
    return q;
}

TEST(WaveformsTest, SteadyPhasorsAndAContinuousReferenceAngle) {
    const Sequence q = TwoStates(45, false);
    const Waveforms w(q);
    ASSERT_EQ(w.Samples(), 61u);  // round(0.0605 · 1000)
    const auto ua = w.Analog(Channel::UA), ia = w.Analog(Channel::IA), ub = w.Analog(Channel::UB);
    const double vn = 100 / std::sqrt(3.0);
    for (std::size_t n = 0; n < w.Samples(); ++n) {
        const double t = w.TimeOf(n);
        // θ runs at 50 Hz up to 10.5 ms, then at 45 Hz from where it got to.
        const double theta = t < 0.0105 ? 2 * kPi * 50 * t : 2 * kPi * 50 * 0.0105 + 2 * kPi * 45 * (t - 0.0105);
        const bool fault = t >= 0.0105;
        EXPECT_NEAR(ia[n], std::sqrt(2.0) * (fault ? 10 : 2) * std::cos(theta + (fault ? -80 : 40) * kPi / 180), 1e-12) << n;
        EXPECT_NEAR(ua[n], std::sqrt(2.0) * (fault ? 20 : vn) * std::cos(theta + (fault ? 10 : 0) * kPi / 180), 1e-12) << n;
        EXPECT_NEAR(ub[n], std::sqrt(2.0) * vn * std::cos(theta - 120 * kPi / 180), 1e-12) << n;  // pre-fault, untouched
        EXPECT_EQ(w.Digital(0)[n], fault ? 0 : 1);
        EXPECT_EQ(w.Digital(1)[n], fault ? 1 : 0);
        EXPECT_EQ(w.Digital(2)[n], fault ? 1 : 0);  // TRIP from the fault on
    }
    EXPECT_EQ(w.DigitalNames(), (std::vector<std::string>{"pre", "fault", "TRIP"}));
    EXPECT_EQ(TriggerTime(q), 0.0105);  // no state marked: the second state's start
}

TEST(WaveformsTest, DcOffsetKeepsTheCurrentContinuousAndDecays) {
    const double tau = 0.01;
    const Sequence q = TwoStates(50, true, tau);
    Sequence fine = q;
    fine.rate = 1e6;  // to look at the boundary closely
    const Waveforms w(fine);
    const auto ia = w.Analog(Channel::IA);
    const std::size_t boundary = 10500;  // t = 10.5 ms exactly
    EXPECT_NEAR(ia[boundary], ia[boundary - 1], 0.01);  // no step
    const double theta = 2 * kPi * 50 * 0.0105;
    const double before = std::sqrt(2.0) * 2 * std::cos(theta + 40 * kPi / 180);
    EXPECT_NEAR(ia[boundary], before, 1e-9);
    // Three time constants on, e^-3 of the offset remains over the steady wave.
    const std::size_t later = boundary + 30000;
    ASSERT_LT(later, w.Samples());
    const double t = w.TimeOf(later);
    const double steady = std::sqrt(2.0) * 10 * std::cos(2 * kPi * 50 * t - 80 * kPi / 180);
    const double offset = before - std::sqrt(2.0) * 10 * std::cos(theta - 80 * kPi / 180);
    EXPECT_NEAR(ia[later], steady + offset * std::exp(-3.0), 1e-9);
    // Voltages take no offset.
    EXPECT_NEAR(w.Analog(Channel::UA)[later], std::sqrt(2.0) * 20 * std::cos(2 * kPi * 50 * t + 10 * kPi / 180), 1e-9);
}

TEST(WaveformsTest, SizesAndRatesAreChecked) {
    Sequence q = TwoStates(50, false);
    EXPECT_THROW(SampleCount(q, 0), Error);
    EXPECT_THROW(SampleCount(q, std::nan("")), Error);
    EXPECT_THROW(SampleCount(q, 1e20), Error);
    EXPECT_EQ(SampleCount(q, 4000), 242u);
    const auto played = Play(q);
    std::vector<double> storage(6 * 61);
    std::vector<std::span<double>> analog;
    for (std::size_t c = 0; c < 6; ++c) analog.emplace_back(storage.data() + c * 61, 61);
    std::vector<std::uint8_t> bits(2 * 61);
    std::vector<std::span<std::uint8_t>> digital{{bits.data(), 61}, {bits.data() + 61, 61}};
    EXPECT_THROW(Synthesise(q, played, 1000, analog, digital), Error);  // TRIP has no array
    q.states[1].trigger = true;
    q.states.push_back(q.states[0]);
    q.states.back().name = "post";
    EXPECT_EQ(TriggerTime(q), 0.0105);
}

}  // namespace
