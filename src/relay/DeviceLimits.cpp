#include "Kv_Relay/DeviceLimits.h"

#include <algorithm>
#include <array>
#include <string>

#include "Kv_Data/State.h"
#include "Kv_Relay/Error.h"

namespace kv::relay {

namespace {
constexpr std::array<int, 7> kKnownTypes = {20, 21, 23, 30, 31, 35, 900};
}

std::span<const int> KnownDeviceTypes() { return kKnownTypes; }

DeviceLimits ApplyDeviceType(int code) {
    if (std::find(kKnownTypes.begin(), kKnownTypes.end(), code) == kKnownTypes.end())
        throw Error("device: unknown device type " + std::to_string(code) + "; known: 20, 21, 23, 30, 31, 35, 900");
    kv::glob_dwKavorType = static_cast<kv::DWORD>(code);
    kv::SetConstantsFromKavorType();
    return {kv::globUmax, kv::globImax};
}

}  // namespace kv::relay
