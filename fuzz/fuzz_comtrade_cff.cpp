// COMTRADE combined files (.cff): sections found, counted binary data cut out, the
// configuration and the data read. Bad input must end in kv::relay::Error and nothing else.
#include <cstdint>
#include <span>

#include "ComtradeCheck.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace comtrade = kv::relay::comtrade;
    const std::span<const std::uint8_t> cff(data, size);
    try {
        const auto read = [&](comtrade::Values values) { return comtrade::ReadCombined(cff, "f", values); };
        const comtrade::Record r = read(comtrade::Values::AsRecorded);
        kvfuzz::CheckRecord(r);
        kvfuzz::CheckPrimary(r, read);
    } catch (const kv::relay::Error&) {
    }
    return 0;
}
