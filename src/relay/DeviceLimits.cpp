#include "Kv_Relay/DeviceLimits.h"

#include <algorithm>
#include <array>
#include <string>

#include "Kv_Data/State.h"
#include "Kv_Relay/Error.h"

namespace kv::relay {

namespace {

constexpr std::array<int, 7> kKnownTypes = {20, 21, 23, 30, 31, 35, 900};
const char* const kPhases[] = {"A", "B", "C"};
const char* const kLines[] = {"AB", "BC", "CA"};

LimitCheck Check(const char* quantity, const char* key, const char* limitName, const char* unit, double limit,
                 const double* magnitude, const char* const* names) {
    const auto where = std::max_element(magnitude, magnitude + 3) - magnitude;
    return {quantity, key, limitName, unit, limit, magnitude[where], names[where], magnitude[where] > limit};
}

}  // namespace

std::span<const int> KnownDeviceTypes() { return kKnownTypes; }

DeviceLimits ApplyDeviceType(int code) {
    if (std::find(kKnownTypes.begin(), kKnownTypes.end(), code) == kKnownTypes.end())
        throw Error("device: unknown device type " + std::to_string(code) + "; known: 20, 21, 23, 30, 31, 35, 900");
    kv::glob_dwKavorType = static_cast<kv::DWORD>(code);
    kv::SetConstantsFromKavorType();
    return {kv::globUmax, kv::globImax};
}

}  // namespace kv::relay

namespace kv::relay {

LimitChecks CheckLimits(const double* phaseVoltages, const double* lineVoltages, const double* phaseCurrents) {
    LimitChecks c;
    if (phaseVoltages != nullptr)
        c.items[c.count++] = Check("phase voltages", "phase_voltages", "globUmax", "V", kv::globUmax, phaseVoltages, kPhases);
    if (lineVoltages != nullptr)
        c.items[c.count++] = Check("line voltages", "line_voltages", "globUmaxAB", "V", kv::globUmaxAB, lineVoltages, kLines);
    if (phaseCurrents != nullptr)
        c.items[c.count++] = Check("phase currents", "phase_currents", "globImax", "A", kv::globImax, phaseCurrents, kPhases);
    for (int k = 0; k < c.count; ++k) c.within = c.within && !c.items[k].exceeded;
    return c;
}

}  // namespace kv::relay
