#include "Kv_Relay/SamplePhasors.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <functional>

#include "Kv_Relay/Assessment.h"
#include "Kv_Relay/Error.h"
#include "Kv_Relay/Waveforms.h"

namespace {

using namespace kv::relay;
namespace ct = kv::relay::comtrade;

constexpr double kPi = 3.141592653589793;

// A record at `rate` of analog channels given as functions of time, and digital ones.
ct::Record Make(double rate, std::size_t samples, std::vector<std::pair<std::string, std::function<double(double)>>> analog,
                std::vector<std::pair<std::string, std::function<int(double)>>> digital = {}) {
    ct::Record r;
    r.lineFrequency = 50;
    r.rates = {{rate, samples}};
    r.samples = samples;
    for (std::size_t n = 0; n < samples; ++n) r.times.push_back(static_cast<double>(n) / rate);
    for (const auto& [name, f] : analog) {
        ct::AnalogInfo info;
        info.name = name;
        info.phase = std::string(1, name.back());
        info.unit = name.front() == 'U' ? "V" : "A";
        r.analog.push_back(info);
        for (const double t : r.times) r.values.push_back(f(t));
    }
    for (const auto& [name, f] : digital) {
        r.digital.push_back({name, "", "", 0});
        for (const double t : r.times) r.states.push_back(static_cast<std::uint8_t>(f(t)));
    }
    return r;
}

std::function<double(double)> Wave(double rms, double degrees, double frequency = 50) {
    return [=](double t) { return std::sqrt(2.0) * rms * std::cos(2 * kPi * frequency * t + degrees * kPi / 180); };
}

TEST(SamplePhasorsTest, SteadySinesGiveTheirPhasorsAndComponents) {
    const ct::Record r = Make(4000, 400, {{"UA", Wave(10, 30)}, {"UB", Wave(10, -90)}, {"UC", Wave(10, 150)}, {"IA", Wave(2, -45)}});
    const auto p = PhasorAt(r, 0, 0.05);
    ASSERT_TRUE(p.has_value());
    EXPECT_NEAR(p->Magnitude(), 10, 1e-12);
    EXPECT_NEAR(p->Angle(), 30, 1e-10);
    EXPECT_NEAR(PhasorAt(r, 3, 0.0999)->Angle(), 315, 1e-10);
    EXPECT_FALSE(PhasorAt(r, 0, 0.019).has_value());  // the window would begin before the first sample
    EXPECT_TRUE(PhasorAt(r, 0, 0.01975).has_value());  // sample 79 closes the first cycle

    const auto groups = PhaseGroups(r);
    ASSERT_EQ(groups.size(), 1u);  // IA alone is no set
    const PhasorsAtTime at = PhasorsAt(r, 0.06);
    ASSERT_TRUE(at.groups[0].has_value());
    EXPECT_NEAR(at.groups[0]->positive.Magnitude(), 10, 1e-12);
    EXPECT_LT(at.groups[0]->negative.Magnitude(), 1e-12);

    const auto cycles = PhasorsEveryCycle(r);
    ASSERT_EQ(cycles.size(), 5u);
    EXPECT_EQ(cycles[1].time, 159 / 4000.0);
    EXPECT_NEAR(cycles[4].channels[3]->Magnitude(), 2, 1e-12);

    ct::Record gap = r;
    gap.values[200] = std::nan("");
    EXPECT_FALSE(PhasorAt(gap, 0, 0.05).has_value());  // sample 200 lies in the window
    EXPECT_TRUE(PhasorAt(gap, 0, 0.07).has_value());
}

TEST(SamplePhasorsTest, OffNominalFrequencyTurnsTheEstimate) {
    // At 49.5 Hz the full-cycle estimate is near the RMS value and turns by 360·(49.5 − 50)/50
    // degrees a cycle.
    const ct::Record r = Make(4000, 4000, {{"IA", Wave(5, 0, 49.5)}});
    const auto cycles = PhasorsEveryCycle(r);
    for (std::size_t k = 1; k < cycles.size(); ++k) {
        EXPECT_NEAR(cycles[k].channels[0]->Magnitude(), 5, 0.05) << k;
        const double turn = std::remainder(cycles[k].channels[0]->Angle() - cycles[k - 1].channels[0]->Angle(), 360.0);
        EXPECT_NEAR(turn, -3.6, 0.1) << k;
    }
}

TEST(SamplePhasorsTest, WindowsNeedOneWholeRate) {
    EXPECT_NO_THROW(PhasorAt(Make(1000, 100, {{"IA", Wave(1, 0)}}), 0, 0.05));  // 20 a cycle
    ct::Record sixty = Make(1000, 100, {{"IA", Wave(1, 0)}});
    sixty.lineFrequency = 60;  // 16.7 samples a cycle
    EXPECT_THROW(PhasorAt(sixty, 0, 0.09), Error);
    EXPECT_THROW(PhasorAt(Make(150, 30, {{"IA", Wave(1, 0)}}), 0, 0.1), Error);  // 3 a cycle
    ct::Record two = Make(4000, 400, {{"IA", Wave(1, 0)}});
    two.rates = {{4000, 100}, {2000, 400}};
    EXPECT_THROW(PhasorAt(two, 0, two.times[120]), Error);  // spans both rates

    ct::Record stamped = Make(4000, 400, {{"IA", Wave(3, 10)}});
    stamped.rates.clear();  // times from timestamps, evenly spaced within 1 us
    stamped.times[100] += 4e-7;
    EXPECT_NEAR(PhasorAt(stamped, 0, 0.05)->Magnitude(), 3, 1e-3);
    stamped.times[150] += 3e-6;
    EXPECT_THROW(PhasorAt(stamped, 0, 0.05), Error);
}

TEST(AssessmentTest, TripTimesPassFailAndNoTrip) {
    Sequence q = ParseSequence(R"({"states": [{"name": "pre", "duration": 0.1},
        {"name": "fault", "duration": 0.2, "trigger": true}, {"name": "post", "duration": 0.2}],
        "assess": [{"name": "in time", "channel": "TRIP", "from": "fault", "expected": 0.03, "abs": 0.01},
                   {"name": "too slow", "channel": "TRIP", "from": "fault", "expected": 0.1, "abs": 0.01, "rel": 0.2},
                   {"name": "quiet before", "channel": "TRIP", "from": "pre", "until": "fault", "expected": null},
                   {"name": "quiet ever", "channel": "TRIP", "from": "pre", "expected": null}]})");
    // The record starts 0.05 s before the sequence: its trigger lies at 0.15 s.
    ct::Record r = Make(1000, 500, {{"IA", Wave(1, 0)}}, {{"TRIP", [](double t) { return t >= 0.18 ? 1 : 0; }}});
    r.trigger = r.start + std::chrono::milliseconds(150);
    EXPECT_EQ(FirstRisingEdge(r, 0, 0), 0.18);
    const auto results = Assess(q, r);
    ASSERT_EQ(results.size(), 4u);
    EXPECT_TRUE(results[0].passed);
    EXPECT_NEAR(*results[0].measured, 0.03, 1e-12);
    EXPECT_NEAR(*results[0].low, 0.02, 1e-12);
    EXPECT_FALSE(results[1].passed);
    EXPECT_NEAR(*results[1].high, 0.12, 1e-12);  // the relative tolerance is the larger
    EXPECT_TRUE(results[2].passed);
    EXPECT_NEAR(*results[2].high, 0.1, 1e-12);
    EXPECT_FALSE(results[3].passed);

    q.assessments[0].channel = "CLOSE";
    EXPECT_THROW(Assess(q, r), Error);
}

// Generate, play, read, judge: a sequence written in each format reads back with each state's
// phasors at the end of its steady part, within what a sample can be off by, and its binary
// output is judged as a relay's trip would be.
TEST(RoundTripTest, SequencesReadBackWithTheirPhasorsAndTrips) {
    const Sequence q = ParseSequence(R"({"rate": 2000, "start": "2026-11-23T10:00:00",
        "states": [{"name": "pre", "duration": 0.06},
                   {"name": "fault", "duration": 0.04, "trigger": true,
                    "impedance": {"loop": "AN", "z": [4, 75], "k0": [0.8, -5], "current": 5}},
                   {"name": "trip", "duration": 0.03, "outputs": {"TRIP": 1},
                    "impedance": {"loop": "AN", "z": [4, 75], "k0": [0.8, -5], "current": 5}},
                   {"name": "open", "duration": 0.05, "outputs": {"TRIP": 0}}],
        "assess": [{"name": "zone 1", "channel": "TRIP", "from": "fault", "expected": 0.04, "abs": 0.001},
                   {"name": "too soon", "channel": "TRIP", "from": "fault", "expected": 0.02, "abs": 0.005},
                   {"name": "quiet", "channel": "TRIP", "from": "pre", "until": "fault", "expected": null}]})");
    const Waveforms waves(q);
    const auto dir = std::filesystem::temp_directory_path() / ("kv_round_trip_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const ct::WriteOptions options[] = {
        {ct::Revision::Rev1999, ct::DataFormat::Ascii, false},   {ct::Revision::Rev1999, ct::DataFormat::Binary, false},
        {ct::Revision::Rev2013, ct::DataFormat::Ascii, true},    {ct::Revision::Rev2013, ct::DataFormat::Binary, false},
        {ct::Revision::Rev2013, ct::DataFormat::Binary32, true}, {ct::Revision::Rev2013, ct::DataFormat::Float32, false}};
    for (const ct::WriteOptions& o : options) {
        SCOPED_TRACE(std::string(ct::Name(o.format)) + " " + std::to_string(static_cast<int>(o.revision)));
        const ct::Record r = ct::Read(ct::Write(ToRecord(q, waves, *q.start), dir / "r", o).front());
        for (std::size_t k = 0; k < q.states.size(); ++k) {
            const PlayedState& s = waves.Played()[k];
            const PhasorsAtTime at = PhasorsAt(r, s.start + q.states[k].duration - 0.0001);
            for (std::size_t c = 0; c < kChannels; ++c) {
                const Phasor expected = c < 3 ? s.phasors.voltages[c] : s.phasors.currents[c - 3];
                // A window of N samples each off by at most a/2 (FLOAT32: a = 1, off by a relative 2^-24).
                const double resolution = o.format == ct::DataFormat::Float32 ? 1e-5 : 0.71 * r.analog[c].a;
                ASSERT_TRUE(at.channels[c]);
                EXPECT_LE(std::abs(at.channels[c]->Value() - expected.Value()), resolution) << s.start << " " << c;
            }
        }
        const auto results = Assess(q, r);
        ASSERT_EQ(results.size(), 3u);
        EXPECT_TRUE(results[0].passed);
        EXPECT_NEAR(*results[0].measured, 0.04, 1e-9);
        EXPECT_FALSE(results[1].passed);
        EXPECT_TRUE(results[2].passed);
    }
    std::filesystem::remove_all(dir);
}

}  // namespace
