// What the COMTRADE writer and reader share inside the library.
#pragma once

#include <optional>
#include <string_view>

#include "Kv_Relay/Comtrade.h"

namespace kv::relay::comtrade::detail {

// The data format a name gives, in any letter case; nothing for any other text.
std::optional<DataFormat> FindDataFormat(std::string_view text);

}  // namespace kv::relay::comtrade::detail
