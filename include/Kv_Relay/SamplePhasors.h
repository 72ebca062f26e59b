// Phasors estimated from a record's samples.
//
// The phasor of a channel at time t is the full-cycle Fourier estimate over the N = rate / fn
// samples that end at the last sample at or before t:
//   X = (√2 / N) · Σ x_m · e^(−j·2π·fn·t_m),
// t_m the sample's time from the record's first sample, fn the record's line frequency. A
// steady √2·|X|·cos(2π·fn·t + α) gives |X|∠α exactly; at another frequency the estimate is
// not exact (it leaks, and turns from window to window). The window needs one constant
// sample rate (one rate segment, or with no rate lines timestamps evenly spaced to within
// 1 µs) and N = rate / fn a whole number of at least 4; otherwise the request is an Error
// that says so. A window with a missing value, or one that would begin before the first
// sample, gives no value.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Kv_Relay/Components.h"
#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Export.h"
#include "Kv_Relay/Phasors.h"

namespace kv::relay {

// The phasor of analog channel `channel` at time `t` (s, on the axis of record.times).
KV_RELAY_API std::optional<Phasor> PhasorAt(const comtrade::Record& record, std::size_t channel, double t);

// Analog channels whose ph is A, B and C with the same unit: a three-phase set. Several
// sets of one unit pair up in the order the channels appear.
struct PhaseGroup {
    std::string unit;
    std::size_t a = 0, b = 0, c = 0;  // analog channel indices
};
KV_RELAY_API std::vector<PhaseGroup> PhaseGroups(const comtrade::Record& record);

// Every channel's phasor at one time, and the symmetrical components of each phase group
// where all three phasors have a value.
struct PhasorsAtTime {
    double time = 0;  // s, on the axis of record.times
    std::vector<std::optional<Phasor>> channels;
    std::vector<std::optional<SequenceComponents>> groups;  // PhaseGroups order
};
KV_RELAY_API PhasorsAtTime PhasorsAt(const comtrade::Record& record, double t);

// The same at the end of every whole cycle of the record: windows one after the other, the
// first ending at sample N, then 2N, ... Each sample's e^(−j·2π·fn·t_m) is worked out once
// for all channels.
KV_RELAY_API std::vector<PhasorsAtTime> PhasorsEveryCycle(const comtrade::Record& record);

}  // namespace kv::relay
