// Numbers in text: EAtStr, LAtStr and StrL on arbitrary bytes. Input: the text,
// embedded NULs included (the parsers stop at the first one, the comma rewriting of
// EAtStr does not).
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

constexpr kv::LONG kNoInteger = 99999999;
constexpr double kNoNumber = 99999999999.0;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const kv::CString text(bytes);

    const kv::LONG integer = kv::LAtStr(text);
    if (std::strpbrk(bytes.c_str(), "-0123456789") == nullptr) KV_FUZZ_CHECK(integer == kNoInteger);
    kv::StrL(bytes.c_str());

    // The caller's text has its commas turned into points, one at a time from the
    // left; the fourth ends the parse.
    kv::CString rewritten(bytes);
    const double number = kv::EAtStr(rewritten);
    const auto commas = std::count(bytes.begin(), bytes.end(), ',');
    std::string expected = bytes;
    for (long i = 0, at = 0; i < std::min<long>(commas, 4); ++i, ++at) {
        at = static_cast<long>(expected.find(',', static_cast<std::size_t>(at)));
        expected[static_cast<std::size_t>(at)] = '.';
    }
    KV_FUZZ_CHECK(rewritten.GetLength() == static_cast<int>(size));
    KV_FUZZ_CHECK(std::memcmp(rewritten.GetString(), expected.data(), size) == 0);
    if (commas >= 4 || bytes.empty()) KV_FUZZ_CHECK(number == kNoNumber);
    return 0;
}
