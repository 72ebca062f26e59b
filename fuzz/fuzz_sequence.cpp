// Sequence files as anyone might write them: any text is read, and what reads is played
// and synthesised. Bad input must end in kv::relay::Error and nothing else.
#include <cmath>
#include <cstdint>
#include <string_view>

#include "FuzzInput.h"
#include "Kv_Relay.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const kv::relay::Sequence sequence = kv::relay::ParseSequence(text);
        // Long records cost time, not coverage: keep them to a few thousand samples.
        double duration = 0;
        for (const auto& state : sequence.states) duration += state.duration;
        const double rate = duration * sequence.rate > 20000 ? 20000 / duration : sequence.rate;
        const kv::relay::Waveforms waveforms(sequence, rate);
        KV_FUZZ_CHECK(waveforms.Samples() >= 1);
        for (std::size_t c = 0; c < kv::relay::kChannels; ++c)
            for (const double x : waveforms.Analog(static_cast<kv::relay::Channel>(c))) KV_FUZZ_CHECK(std::isfinite(x));
        (void)kv::relay::ToRecord(sequence, waveforms, kv::relay::comtrade::Time{});
    } catch (const kv::relay::Error&) {
    }
    return 0;
}
