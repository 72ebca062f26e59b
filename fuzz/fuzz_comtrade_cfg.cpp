// COMTRADE configuration files as anyone might write them, read with an empty data file:
// every line is parsed before the data is looked at. Bad input must end in
// kv::relay::Error and nothing else.
#include <cstdint>
#include <string_view>

#include "ComtradeCheck.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace comtrade = kv::relay::comtrade;
    const std::string_view cfg(reinterpret_cast<const char*>(data), size);
    try {
        const auto read = [&](comtrade::Values values) {
            return comtrade::ReadConfigurationAndData(cfg, {}, "f", values);
        };
        const comtrade::Record r = read(comtrade::Values::AsRecorded);
        kvfuzz::CheckRecord(r);
        kvfuzz::CheckPrimary(r, read);
    } catch (const kv::relay::Error&) {
    }
    return 0;
}
