// Test-type names and string-table ids from arbitrary input. Input: the text searched
// by GetTestFromString; its first four bytes (little-endian) also serve as a test code
// and as a string-table id.
#include <cstdint>
#include <cstring>
#include <string_view>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

bool IsTestCode(int code) {
    switch (code) {
    case -1:
    case 0: case 1: case 2: case 3: case 4: case 5: case 10: case 11: case 18:
    case 60: case 61: case 62: case 63: case 210:
        return true;
    default:
        return false;
    }
}

void CheckCode(int code) {
    const kv::CString english = kv::GetStringFromTest(code);
    const kv::CString russian = kv::GetStringFromTestRus(code);
    // The library's string table holds a name for every code with an English key.
    KV_FUZZ_CHECK(english.IsEmpty() == russian.IsEmpty());
    if (code < 0 || code > 63) KV_FUZZ_CHECK(english.IsEmpty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    KV_FUZZ_CHECK(IsTestCode(kv::GetTestFromString(kv::CString(bytes))));

    if (size >= 1) CheckCode(data[0]);
    if (size >= 4) {
        int wide = 0;
        std::memcpy(&wide, data, sizeof wide);
        CheckCode(wide);
        // No host table is registered here: only the library's ids 1288 to 1300 exist.
        const auto id = static_cast<kv::UINT>(wide);
        const kv::UINT low = id & 0xFFFFU;  // string ids are 16 bits, as on the platform
        KV_FUZZ_CHECK(kv::GetStringFromResource(id).IsEmpty() == (low < 1288 || low > 1300));
    }
    return 0;
}
