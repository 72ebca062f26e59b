// Numbers as users type them into the front ends (options, form fields), read alike by all.
#pragma once

#include <optional>
#include <string_view>

#include "Kv_Relay/Export.h"

namespace kv::relay {

// A finite decimal number, with an optional sign ('+' too), point and exponent; nothing
// else: no spaces, no hexadecimal, no nan or inf, nothing beyond the range of doubles.
KV_RELAY_API std::optional<double> ReadNumber(std::string_view text);

}  // namespace kv::relay
