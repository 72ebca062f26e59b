// What the library's own frame tells the platform layer: which registered module is
// the library itself.
#pragma once

#include "Kv_Data/PlatformTypes.h"

namespace kv::platform {

void SetKvDataInstance(HINSTANCE module);

}  // namespace kv::platform
