#include "Kv_Relay/Waveforms.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>

#include "Angles.h"
#include "Kv_Relay/Error.h"

namespace kv::relay {

namespace {

constexpr double kSqrt2 = 1.4142135623730951;
constexpr double kMaxSamples = 1e9;

double TotalDuration(const Sequence& q) {
    double total = 0;
    for (const State& s : q.states) total += s.duration;
    return total;
}

// The binary outputs in the order they first appear.
std::vector<std::string> OutputNames(const Sequence& q) {
    std::vector<std::string> names;
    for (const State& s : q.states)
        for (const auto& [name, value] : s.outputs)
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    return names;
}

// What one channel does in one state: √2·|X| and α, and the DC offset's D.
struct ChannelWave {
    double amplitude = 0;  // √2·|X|
    double angle = 0;      // α, radians
    double offset = 0;     // D
};

}  // namespace

std::size_t SampleCount(const Sequence& q, double rate) {
    if (!(rate > 0) || !std::isfinite(rate)) Fail("rate", "must be a finite number > 0", rate);
    const double n = std::round(TotalDuration(q) * rate);
    if (!(n >= 1)) Fail("rate", "gives no sample over the sequence's duration", rate);
    if (n > kMaxSamples) Fail("rate", "gives more than 10^9 samples over the sequence's duration", rate);
    return static_cast<std::size_t>(n);
}

std::vector<std::string> DigitalChannelNames(const Sequence& q) {
    std::vector<std::string> names;
    for (const State& s : q.states) names.push_back(s.name);
    for (std::string& name : OutputNames(q)) names.push_back(std::move(name));
    return names;
}

double TriggerTime(const Sequence& q) {
    double start = 0;
    for (const State& s : q.states) {
        if (s.trigger) return start;
        start += s.duration;
    }
    return q.states.size() > 1 ? q.states[0].duration : 0.0;
}

void Synthesise(const Sequence& q, std::span<const PlayedState> played, double rate,
                std::span<const std::span<double>> analog, std::span<const std::span<std::uint8_t>> digital) {
    const std::size_t n = SampleCount(q, rate);
    const std::vector<std::string> outputs = OutputNames(q);
    const std::size_t states = q.states.size();
    if (played.size() != states) throw Error("waveforms: the played states do not belong to the sequence");
    if (analog.size() != kChannels || digital.size() != states + outputs.size())
        throw Error("waveforms: give 6 analog and " + std::to_string(states + outputs.size()) + " digital arrays");
    for (const auto& a : analog)
        if (a.size() != n) throw Error("waveforms: an analog array does not hold " + std::to_string(n) + " samples");
    for (const auto& d : digital)
        if (d.size() != n) throw Error("waveforms: a digital array does not hold " + std::to_string(n) + " samples");

    // θ at each state's start, and each channel's wave and offset, state by state: the
    // offset needs the previous state's waveform at the boundary.
    std::vector<double> theta(states, 0.0);
    std::vector<std::array<ChannelWave, kChannels>> waves(states);
    for (std::size_t s = 0; s < states; ++s) {
        if (s > 0) theta[s] = theta[s - 1] + 2 * kPi * played[s - 1].frequency * q.states[s - 1].duration;
        for (std::size_t c = 0; c < kChannels; ++c) {
            const Phasor x = c < 3 ? played[s].phasors.voltages[c] : played[s].phasors.currents[c - 3];
            waves[s][c].amplitude = kSqrt2 * std::abs(x.Value());
            waves[s][c].angle = std::arg(x.Value());
        }
        if (!played[s].tau) continue;
        for (std::size_t c = 3; c < kChannels; ++c) {  // the currents only
            double previous = 0;  // before the first state
            if (s > 0) {
                const ChannelWave& w = waves[s - 1][c];
                previous = w.amplitude * std::cos(theta[s] + w.angle);
                if (played[s - 1].tau) previous += w.offset * std::exp(-q.states[s - 1].duration / *played[s - 1].tau);
            }
            waves[s][c].offset = previous - waves[s][c].amplitude * std::cos(theta[s] + waves[s][c].angle);
        }
    }

    // The outputs' values in each state.
    std::vector<std::vector<std::uint8_t>> outputValues(states, std::vector<std::uint8_t>(outputs.size(), 0));
    for (std::size_t s = 0; s < states; ++s) {
        if (s > 0) outputValues[s] = outputValues[s - 1];
        for (const auto& [name, value] : q.states[s].outputs) {
            const auto k = static_cast<std::size_t>(std::find(outputs.begin(), outputs.end(), name) - outputs.begin());
            outputValues[s][k] = static_cast<std::uint8_t>(value);
        }
    }

    std::size_t s = 0;
    double nextStart = states > 1 ? played[1].start : HUGE_VAL;
    for (std::size_t k = 0; k < n; ++k) {
        const double t = static_cast<double>(k) / rate;
        while (t >= nextStart && s + 1 < states) {
            ++s;
            nextStart = s + 1 < states ? played[s + 1].start : HUGE_VAL;
        }
        const double since = t - played[s].start;
        const double angle = theta[s] + 2 * kPi * played[s].frequency * since;
        const double decay = played[s].tau ? std::exp(-since / *played[s].tau) : 0.0;
        for (std::size_t c = 0; c < kChannels; ++c) {
            const ChannelWave& w = waves[s][c];
            double value = w.amplitude * std::cos(angle + w.angle);
            if (c >= 3 && played[s].tau) value += w.offset * decay;
            if (!std::isfinite(value))
                throw Error("states[" + std::to_string(s) + "]: the waveform of " + std::string(Name(static_cast<Channel>(c))) +
                            " lies beyond the range of numbers");
            analog[c][k] = value;
        }
        for (std::size_t d = 0; d < states; ++d) digital[d][k] = d == s ? 1 : 0;
        for (std::size_t o = 0; o < outputs.size(); ++o) digital[states + o][k] = outputValues[s][o];
    }
}

Waveforms::Waveforms(const Sequence& sequence, double rate)
    : m_rate(rate > 0 ? rate : sequence.rate), m_digitalNames(DigitalChannelNames(sequence)),
      m_played(Play(sequence)) {
    m_samples = SampleCount(sequence, m_rate);
    m_analog.assign(kChannels * m_samples, 0.0);
    m_digital.assign(m_digitalNames.size() * m_samples, 0);
    std::vector<std::span<double>> analog;
    for (std::size_t c = 0; c < kChannels; ++c) analog.emplace_back(m_analog.data() + c * m_samples, m_samples);
    std::vector<std::span<std::uint8_t>> digital;
    for (std::size_t d = 0; d < m_digitalNames.size(); ++d)
        digital.emplace_back(m_digital.data() + d * m_samples, m_samples);
    Synthesise(sequence, m_played, m_rate, analog, digital);
}

std::span<const double> Waveforms::Analog(Channel channel) const {
    return {m_analog.data() + static_cast<std::size_t>(channel) * m_samples, m_samples};
}

std::span<const std::uint8_t> Waveforms::Digital(std::size_t index) const {
    if (index >= m_digitalNames.size()) throw Error("waveforms: no digital channel " + std::to_string(index));
    return {m_digital.data() + index * m_samples, m_samples};
}

comtrade::Time RecordStart(const Sequence& q) {
    using namespace std::chrono;
    if (q.start) return *q.start;
    if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH"); epoch != nullptr && *epoch != '\0') {
        char* end = nullptr;
        errno = 0;
        const long long seconds = std::strtoll(epoch, &end, 10);
        if (*end != '\0' || errno != 0 || seconds < 0)
            throw Error(std::string("SOURCE_DATE_EPOCH: must be whole seconds since 1970, got '") + epoch + "'");
        return comtrade::Time(std::chrono::seconds(seconds));
    }
    return time_point_cast<microseconds>(system_clock::now());
}

comtrade::RecordToWrite ToRecord(const Sequence& q, const Waveforms& w, comtrade::Time start) {
    comtrade::RecordToWrite r;
    r.station = q.station;
    r.device = q.device;
    r.lineFrequency = q.nominalFrequency;
    r.sampleRate = w.Rate();
    r.samples = w.Samples();
    r.start = start;
    r.trigger = start + std::chrono::microseconds(std::llround(TriggerTime(q) * 1e6));
    static constexpr const char* kPhases[] = {"A", "B", "C"};
    for (std::size_t c = 0; c < kChannels; ++c)
        r.analog.push_back({std::string(Name(static_cast<Channel>(c))), kPhases[c % 3], c < 3 ? "V" : "A",
                            w.Analog(static_cast<Channel>(c))});
    for (std::size_t d = 0; d < w.DigitalNames().size(); ++d) r.digital.push_back({w.DigitalNames()[d], w.Digital(d), 0});
    return r;
}

}  // namespace kv::relay
