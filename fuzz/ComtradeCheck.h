// What the COMTRADE fuzz targets check of any record that reads: arrays of the sizes the
// record gives, states of 0 or 1, finite times, and the same shape with the values
// converted to primary ones (or the error of a ratio that cannot convert).
#pragma once

#include <cmath>
#include <string>

#include "FuzzInput.h"
#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/Error.h"

namespace kvfuzz {

inline void CheckRecord(const kv::relay::comtrade::Record& r) {
    namespace comtrade = kv::relay::comtrade;
    KV_FUZZ_CHECK(r.revision == 1991 || r.revision == 1999 || r.revision == 2013);
    KV_FUZZ_CHECK(r.times.size() == r.samples);
    KV_FUZZ_CHECK(r.values.size() == r.analog.size() * r.samples);
    KV_FUZZ_CHECK(r.states.size() == r.digital.size() * r.samples);
    for (const auto s : r.states) KV_FUZZ_CHECK(s <= 1);
    for (const double t : r.times) KV_FUZZ_CHECK(std::isfinite(t));
    if (!r.rates.empty()) KV_FUZZ_CHECK(r.rates.back().lastSample == r.samples);
    for (std::size_t k = 1; k < r.rates.size(); ++k) KV_FUZZ_CHECK(r.rates[k].lastSample > r.rates[k - 1].lastSample);
    KV_FUZZ_CHECK(std::isfinite(r.TriggerOffset()));
    // Valid UTF-8 comes back as it is, so a second pass changes nothing.
    const std::string station = comtrade::TextAsUtf8(r.station);
    KV_FUZZ_CHECK(comtrade::TextAsUtf8(station) == station);
    for (const auto& c : r.analog) {
        const std::string name = comtrade::TextAsUtf8(c.name);
        KV_FUZZ_CHECK(comtrade::TextAsUtf8(name) == name);
    }
}

// The reading again with primary values: the same shape, or an error for the ratio.
template <class Read>
void CheckPrimary(const kv::relay::comtrade::Record& r, Read read) {
    try {
        const kv::relay::comtrade::Record p = read(kv::relay::comtrade::Values::Primary);
        KV_FUZZ_CHECK(p.samples == r.samples && p.values.size() == r.values.size() && p.states == r.states);
    } catch (const kv::relay::Error& e) {
        KV_FUZZ_CHECK(std::string(e.what()).find("give no ratio") != std::string::npos);
    }
}

}  // namespace kvfuzz
