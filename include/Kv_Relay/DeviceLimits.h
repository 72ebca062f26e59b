// The output limits of a test set, and the device types whose limits the core knows.
#pragma once

#include <span>

#include "Kv_Relay/Export.h"

namespace kv::relay {

// Limits of the test set's outputs, per phase, RMS.
struct DeviceLimits {
    double umax = 0;  // V
    double imax = 0;  // A
};

// The device types that the core has constants for: 20, 21, 23, 30, 31, 35, 900.
KV_RELAY_API std::span<const int> KnownDeviceTypes();

// Puts a device type's constants in force in the core (its device-type code, then its
// constants), as the catalogue's synthesis will use them, and returns the phase limits
// globUmax and globImax. It writes the core's global state, so it is not for use while
// another thread calls the core. Error for a type the core has no constants for.
KV_RELAY_API DeviceLimits ApplyDeviceType(int code);

}  // namespace kv::relay
