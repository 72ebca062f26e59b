// The platform layer: the framework and system services that the library is written
// against, implemented on the C++ standard library and POSIX.
#pragma once

#include "Kv_Data/PlatformCollections.h"
#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/PlatformFile.h"
#include "Kv_Data/PlatformModule.h"
#include "Kv_Data/PlatformObject.h"
#include "Kv_Data/PlatformString.h"
#include "Kv_Data/PlatformTypes.h"
#include "Kv_Data/PlatformUi.h"
#include "Kv_Data/PlatformWindow.h"
