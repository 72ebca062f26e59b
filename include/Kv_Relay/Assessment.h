// Trip times read from a relay's record and judged against what the test expected.
//
// A trip time is the time of the first rising edge (0 → 1) of a digital channel at or after
// a reference time. The record's trigger is the start of the sequence's trigger state (see
// TriggerTime), so state s starts in the record at trigger + (Ts − Ttrigger). An assessment
// with an expected time t passes when a rising edge follows the start of `from` by d with
// |d − t| ≤ max(abs, rel·t); one with no expected time passes when no rising edge lies
// between the start of `from` and the start of `until` (default: the end of the record).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Export.h"
#include "Kv_Relay/Sequence.h"

namespace kv::relay {

// The time (on the axis of record.times) of the first sample k with states[k − 1] = 0 and
// states[k] = 1 and times[k] ≥ after; none when there is no such edge.
KV_RELAY_API std::optional<double> FirstRisingEdge(const comtrade::Record& record, std::size_t digitalChannel,
                                                   double after);

struct AssessmentResult {
    std::string name;
    bool passed = false;
    // Seconds from the start of `from`: the edge found, and the window it had to fall in
    // (for no trip: from 0 to the start of `until` or the end of the record).
    std::optional<double> measured;
    std::optional<double> low, high;
};

// Each of the sequence's assessments judged against the record. Error, naming the
// assessment, for a channel the record lacks.
KV_RELAY_API std::vector<AssessmentResult> Assess(const Sequence& sequence, const comtrade::Record& record);

}  // namespace kv::relay
