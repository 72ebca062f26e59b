// COMTRADE data files under a configuration: the input is the configuration, a line
// "===", then the data file's bytes (without the line, all of it is configuration).
// Bad input must end in kv::relay::Error and nothing else.
#include <cstdint>
#include <span>
#include <string_view>

#include "ComtradeCheck.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace comtrade = kv::relay::comtrade;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    constexpr std::string_view kSeparator = "\n===\n";
    const std::size_t at = input.find(kSeparator);
    const std::string_view cfg = input.substr(0, at);
    const std::span<const std::uint8_t> dat = at == std::string_view::npos
                                                  ? std::span<const std::uint8_t>()
                                                  : std::span(data, size).subspan(at + kSeparator.size());
    try {
        const auto read = [&](comtrade::Values values) {
            return comtrade::ReadConfigurationAndData(cfg, dat, "f", values);
        };
        const comtrade::Record r = read(comtrade::Values::AsRecorded);
        kvfuzz::CheckRecord(r);
        kvfuzz::CheckPrimary(r, read);
    } catch (const kv::relay::Error&) {
    }
    return 0;
}
