#include "Kv_Relay/SamplePhasors.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

#include "Angles.h"
#include "Kv_Relay/Error.h"

namespace kv::relay {

namespace {

using comtrade::Record;

constexpr double kEvenSpacing = 1e-6;  // s: timestamps this close count as one rate

// A run of samples at one constant rate, and the window length there.
struct Window {
    std::size_t first = 0;  // the segment's first sample index
    std::size_t last = 0;   // its last
    std::size_t n = 0;      // samples per cycle
};

std::size_t WholeCycle(double rate, double fn, const std::string& where) {
    const double n = rate / fn;
    const double whole = std::round(n);
    if (!(std::abs(n - whole) <= 1e-9 * whole) || whole < 4)
        throw Error(where + ": " + std::to_string(rate) + " samples per second at " + std::to_string(fn) +
                    " Hz is not a whole number of at least 4 samples per cycle");
    return static_cast<std::size_t>(whole);
}

double LineFrequency(const Record& r) {
    if (!(r.lineFrequency > 0) || !std::isfinite(r.lineFrequency))
        throw Error("phasors: the record gives no line frequency to estimate phasors at");
    return r.lineFrequency;
}

// The constant-rate run that holds sample k.
Window SegmentOf(const Record& r, std::size_t k) {
    const double fn = LineFrequency(r);
    if (!r.rates.empty()) {
        std::size_t first = 0;
        for (const comtrade::RateSegment& s : r.rates) {
            const std::size_t last = std::min(s.lastSample, r.samples) - 1;  // sample numbers count from 1
            if (s.lastSample >= 1 && k <= last) return {first, last, WholeCycle(s.rate, fn, "phasors")};
            first = s.lastSample;
        }
        throw Error("phasors: sample " + std::to_string(k + 1) + " lies beyond the record's rate lines");
    }
    // No rate lines: the spacing of the timestamps around k, which must hold over the window.
    if (r.samples < 2) throw Error("phasors: a record of one sample has no rate");
    const std::size_t at = std::max<std::size_t>(k, 1);
    const double dt = r.times[at] - r.times[at - 1];
    if (!(dt > 0)) throw Error("phasors: the timestamps do not increase at sample " + std::to_string(at + 1));
    const std::size_t n = WholeCycle(1.0 / dt, fn, "phasors (rate from the timestamps)");
    const std::size_t first = k + 1 >= n ? k + 1 - n : 0;
    for (std::size_t m = first + 1; m <= std::max(k, first + 1) && m < r.samples; ++m)
        if (!(std::abs(r.times[m] - r.times[m - 1] - dt) <= kEvenSpacing))
            throw Error("phasors: the timestamps are not evenly spaced within 1 us around sample " + std::to_string(m + 1));
    return {first, r.samples - 1, n};
}

// Σ x_m · e^(−j·2π·fn·t_m) over [first, first + n), with the exponentials given; none for a
// missing value.
std::optional<Phasor> Estimate(std::span<const double> x, std::size_t first, std::size_t n, const Complex* turn) {
    Complex sum;
    for (std::size_t m = 0; m < n; ++m) {
        const double value = x[first + m];
        if (std::isnan(value)) return std::nullopt;
        sum += value * turn[m];
    }
    return Phasor(std::sqrt(2.0) / static_cast<double>(n) * sum);
}

void Turns(const Record& r, std::size_t first, std::size_t n, double fn, std::vector<Complex>& turn) {
    turn.resize(n);
    for (std::size_t m = 0; m < n; ++m) {
        const double angle = 2 * kPi * fn * r.times[first + m];
        turn[m] = Complex(std::cos(angle), -std::sin(angle));
    }
}

std::vector<std::optional<SequenceComponents>> GroupComponents(const std::vector<PhaseGroup>& groups,
                                                               const std::vector<std::optional<Phasor>>& channels) {
    std::vector<std::optional<SequenceComponents>> out;
    for (const PhaseGroup& g : groups) {
        if (channels[g.a] && channels[g.b] && channels[g.c])
            out.push_back(Symmetrical({*channels[g.a], *channels[g.b], *channels[g.c]}));
        else
            out.emplace_back();
    }
    return out;
}

}  // namespace

std::optional<Phasor> PhasorAt(const Record& r, std::size_t channel, double t) {
    if (channel >= r.analog.size()) throw Error("phasors: no analog channel " + std::to_string(channel + 1));
    if (!std::isfinite(t)) Fail("phasors: time", "must be a finite number", t);
    if (r.samples == 0 || t < r.times.front()) return std::nullopt;
    const auto k = static_cast<std::size_t>(std::upper_bound(r.times.begin(), r.times.end(), t) - r.times.begin()) - 1;
    const Window w = SegmentOf(r, k);
    if (k + 1 < w.n) return std::nullopt;  // would begin before the first sample
    const std::size_t first = k + 1 - w.n;
    if (first < w.first) throw Error("phasors: the window ending at " + std::to_string(t) + " s spans two sample rates");
    std::vector<Complex> turn;
    Turns(r, first, w.n, r.lineFrequency, turn);
    return Estimate(r.Analog(channel), first, w.n, turn.data());
}

std::vector<PhaseGroup> PhaseGroups(const Record& r) {
    // Per unit, the A, B and C channels in the order they appear.
    std::map<std::string, std::array<std::vector<std::size_t>, 3>> byUnit;
    std::vector<std::string> units;
    for (std::size_t c = 0; c < r.analog.size(); ++c) {
        std::string ph = r.analog[c].phase;
        ph.erase(std::remove_if(ph.begin(), ph.end(), [](unsigned char ch) { return std::isspace(ch); }), ph.end());
        if (ph.size() != 1) continue;
        const int phase = std::toupper(static_cast<unsigned char>(ph[0])) - 'A';
        if (phase < 0 || phase > 2) continue;
        if (!byUnit.count(r.analog[c].unit)) units.push_back(r.analog[c].unit);
        byUnit[r.analog[c].unit][static_cast<std::size_t>(phase)].push_back(c);
    }
    std::vector<PhaseGroup> groups;
    for (const std::string& unit : units) {
        const auto& phases = byUnit[unit];
        const std::size_t sets = std::min({phases[0].size(), phases[1].size(), phases[2].size()});
        for (std::size_t k = 0; k < sets; ++k) groups.push_back({unit, phases[0][k], phases[1][k], phases[2][k]});
    }
    return groups;
}

PhasorsAtTime PhasorsAt(const Record& r, double t) {
    PhasorsAtTime out;
    out.time = t;
    for (std::size_t c = 0; c < r.analog.size(); ++c) out.channels.push_back(PhasorAt(r, c, t));
    out.groups = GroupComponents(PhaseGroups(r), out.channels);
    return out;
}

std::vector<PhasorsAtTime> PhasorsEveryCycle(const Record& r) {
    std::vector<PhasorsAtTime> cycles;
    if (r.samples == 0) return cycles;
    const double fn = LineFrequency(r);
    const std::vector<PhaseGroup> groups = PhaseGroups(r);
    std::vector<Complex> turn;
    std::size_t first = 0;
    while (first < r.samples) {
        const Window w = SegmentOf(r, first);
        if (first + w.n - 1 > w.last) {  // no whole cycle left at this rate
            first = w.last + 1;
            continue;
        }
        Turns(r, first, w.n, fn, turn);
        PhasorsAtTime at;
        at.time = r.times[first + w.n - 1];
        for (std::size_t c = 0; c < r.analog.size(); ++c)
            at.channels.push_back(Estimate(r.Analog(c), first, w.n, turn.data()));
        at.groups = GroupComponents(groups, at.channels);
        cycles.push_back(std::move(at));
        first += w.n;
    }
    return cycles;
}

}  // namespace kv::relay
