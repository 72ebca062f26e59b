#include "Kv_Relay/Assessment.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "Kv_Relay/Error.h"
#include "Kv_Relay/Waveforms.h"

namespace kv::relay {

std::optional<double> FirstRisingEdge(const comtrade::Record& r, std::size_t channel, double after) {
    if (channel >= r.digital.size()) throw Error("assess: no digital channel " + std::to_string(channel + 1));
    const auto states = r.Digital(channel);
    const auto begin = static_cast<std::size_t>(std::lower_bound(r.times.begin(), r.times.end(), after) - r.times.begin());
    for (std::size_t k = std::max<std::size_t>(begin, 1); k < r.samples; ++k)
        if (states[k - 1] == 0 && states[k] == 1) return r.times[k];
    return std::nullopt;
}

std::vector<AssessmentResult> Assess(const Sequence& q, const comtrade::Record& r) {
    // Where each state starts on the record's time axis.
    const double trigger = r.TriggerOffset();
    const double shift = trigger - TriggerTime(q);
    auto startOf = [&q, shift](const std::string& name) {
        double start = 0;
        for (const State& s : q.states) {
            if (s.name == name) return start + shift;
            start += s.duration;
        }
        throw Error("assess: '" + name + "' is not a state of the sequence");
    };
    const double end = r.samples > 0 ? r.times.back() : 0.0;

    std::vector<AssessmentResult> results;
    for (std::size_t k = 0; k < q.assessments.size(); ++k) {
        const Assessment& a = q.assessments[k];
        const auto channel = std::find_if(r.digital.begin(), r.digital.end(),
                                          [&a](const comtrade::DigitalInfo& d) { return d.name == a.channel; });
        if (channel == r.digital.end())
            throw Error("assess[" + std::to_string(k) + "] (" + a.name + "): the record has no digital channel '" +
                        a.channel + "'");
        const auto index = static_cast<std::size_t>(channel - r.digital.begin());
        const double from = startOf(a.from);
        const std::optional<double> edge = FirstRisingEdge(r, index, from);

        AssessmentResult result;
        result.name = a.name;
        if (edge) result.measured = *edge - from;
        if (a.expected) {
            const double tolerance = std::max(a.absolute, a.relative * *a.expected);
            result.low = *a.expected - tolerance;
            result.high = *a.expected + tolerance;
            result.passed = result.measured && std::abs(*result.measured - *a.expected) <= tolerance;
        } else {
            const double until = a.until ? startOf(*a.until) : end;
            result.low = 0.0;
            result.high = until - from;
            result.passed = !edge || (a.until && *edge >= until);
        }
        results.push_back(std::move(result));
    }
    return results;
}

}  // namespace kv::relay
