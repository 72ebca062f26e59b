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

// One quantity against the device's limit: its largest value and where that is.
struct LimitCheck {
    const char* quantity;   // "phase voltages", "line voltages", "phase currents"
    const char* key;        // the same as a name: "phase_voltages", ...
    const char* limitName;  // the core's global that holds the limit: "globUmax", ...
    const char* unit;       // "V" or "A"
    double limit;
    double largest;
    const char* where;  // the phase ("A") or line ("BC") of the largest
    bool exceeded;
};

struct LimitChecks {
    LimitCheck items[3];
    int count = 0;
    bool within = true;
};

// The limits as an engineer means them, as the core holds them now: the phase voltages
// against the phase-voltage limit globUmax, the line voltages against the line-voltage
// limit globUmaxAB, the phase currents against globImax. (The core's own transforms
// compare components and line values with the phase limits.) Magnitudes of A, B, C and
// of AB, BC, CA; the voltages or the currents alone where the other is nullptr.
KV_RELAY_API LimitChecks CheckLimits(const double* phaseVoltages, const double* lineVoltages,
                                     const double* phaseCurrents);

}  // namespace kv::relay
