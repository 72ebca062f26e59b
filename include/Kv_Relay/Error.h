// The one exception of the engineering layer: bad input, with a message that names the
// field and the value ("current: must be >= 0, got -5").
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "Kv_Relay/Export.h"

namespace kv::relay {

class KV_RELAY_API Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~Error() override;
};

// "field: requirement, got value", the value as its shortest round-trip text.
[[noreturn]] KV_RELAY_API void Fail(std::string_view field, std::string_view requirement, double value);

}  // namespace kv::relay
