#include "Kv_Relay/Error.h"

#include <charconv>

namespace kv::relay {

Error::~Error() = default;

void Fail(std::string_view field, std::string_view requirement, double value) {
    char number[32];
    const auto end = std::to_chars(number, number + sizeof number, value).ptr;
    std::string message(field);
    message.append(": ").append(requirement).append(", got ").append(number, end);
    throw Error(message);
}

}  // namespace kv::relay
