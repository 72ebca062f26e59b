// The waveforms of a test sequence, sample by sample.
//
// The sequence has N = round(total duration · rate) samples at t_n = n / rate. The
// reference angle θ(t) = 2π ∫0..t f(τ) dτ, f the frequency of the state active at τ, is
// continuous across states and frequency changes. A channel whose phasor in state s is
// |X|∠α gives x(t) = √2·|X|·cos(θ(t) + α) + d(t). d is 0 unless the state has a DC
// offset; then, in the current channels only, d(t) = D·exp(−(t − Ts)/τ), D the previous
// state's waveform at Ts (its own d included; 0 before the first state) minus this
// state's steady waveform at Ts, so that each current is continuous at the boundary.
//
// Digital channels: one per state (1 while it is active), then one per binary output in
// the order the outputs first appear (each keeps its last value; all start at 0).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Export.h"
#include "Kv_Relay/Sequence.h"

namespace kv::relay {

// N for a rate (samples per second); Error unless the rate is a positive finite number and
// N is at least 1 and at most 10^9.
KV_RELAY_API std::size_t SampleCount(const Sequence& sequence, double rate);
// The states' names, then the binary outputs'.
KV_RELAY_API std::vector<std::string> DigitalChannelNames(const Sequence& sequence);
// Seconds from the first sample: the start of the state marked trigger, else of the second
// state, else 0.
KV_RELAY_API double TriggerTime(const Sequence& sequence);

// Writes every sample, in one pass and without allocating: analog[c] for Channel c (six
// spans), digital[d] for DigitalChannelNames()[d]; each span holds SampleCount samples.
KV_RELAY_API void Synthesise(const Sequence& sequence, std::span<const PlayedState> played, double rate,
                             std::span<const std::span<double>> analog,
                             std::span<const std::span<std::uint8_t>> digital);

// The waveforms with storage of their own.
class KV_RELAY_API Waveforms {
public:
    // At the sequence's rate, or at `rate` where it is above 0.
    explicit Waveforms(const Sequence& sequence, double rate = 0);

    std::size_t Samples() const { return m_samples; }
    double Rate() const { return m_rate; }
    double TimeOf(std::size_t n) const { return static_cast<double>(n) / m_rate; }
    std::span<const double> Analog(Channel channel) const;
    std::span<const std::uint8_t> Digital(std::size_t index) const;
    const std::vector<std::string>& DigitalNames() const { return m_digitalNames; }
    const std::vector<PlayedState>& Played() const { return m_played; }

private:
    std::size_t m_samples = 0;
    double m_rate = 0;
    std::vector<double> m_analog;         // channel-major, 6 · samples
    std::vector<std::uint8_t> m_digital;  // channel-major
    std::vector<std::string> m_digitalNames;
    std::vector<PlayedState> m_played;
};

// When the record starts: the sequence's start, else SOURCE_DATE_EPOCH (seconds) when it
// is set, else now.
KV_RELAY_API comtrade::Time RecordStart(const Sequence& sequence);

// The record of the waveforms: UA, UB, UC (V) and IA, IB, IC (A) on phases A, B, C, then
// the digital channels; trigger at TriggerTime. The record refers to the waveforms'
// samples: keep them alive while it is used.
KV_RELAY_API comtrade::RecordToWrite ToRecord(const Sequence& sequence, const Waveforms& waveforms,
                                              comtrade::Time start);

}  // namespace kv::relay
