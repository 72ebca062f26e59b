// Fault-type names as they come from files and dialogs: any bytes. Input: the name;
// its first byte, and its first four bytes as a little-endian int, also serve as codes
// for the forward lookup, and its second byte as the device type.
#include <cstdint>
#include <cstring>
#include <string_view>

#include "FuzzInput.h"
#include "Kv_Data.h"

namespace {

bool ADeviceWithTheA1Fault(kv::DWORD type) { return type == 35 || type == 23 || type == 31 || type == 30; }

void CheckForward(int code) {
    const kv::CString name = kv::GetStringFromDefineKZ(code);
    KV_FUZZ_CHECK(kv::glob_bFault_A1_Enable == (code == 123 && ADeviceWithTheA1Fault(kv::glob_dwKavorType)));
    if (code < 0 || code > 132) KV_FUZZ_CHECK(name.IsEmpty());
    // Every name leads back to its own code.
    if (!name.IsEmpty()) KV_FUZZ_CHECK(kv::GetDefineFromStringKZ(name) == code);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    kv::glob_dwKavorType = size > 1 ? data[1] : 31;

    const int code = kv::GetDefineFromStringKZ(kv::CString(bytes));
    KV_FUZZ_CHECK(code == -1 || !kv::GetStringFromDefineKZ(code).IsEmpty());

    if (size >= 1) CheckForward(data[0]);
    if (size >= 4) {
        int wide = 0;
        std::memcpy(&wide, data, sizeof wide);
        CheckForward(wide);
    }
    return 0;
}
