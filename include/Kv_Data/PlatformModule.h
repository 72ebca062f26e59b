// Modules and their string tables. The library has its own module handle
// (GetKvDataInstance); a host program registers its own tables at run time and
// receives a handle for each, on which the same loading functions work.
#pragma once

#include <cstdint>
#include <span>

#include "Kv_Data/PlatformTypes.h"

namespace kv {

struct StringTableEntry {
    WORD id;
    const char* text;  // 8-bit text as it is to be loaded (Windows-1251 for Russian)
};

// A new module holding a copy of `entries`; a later entry with the same id wins.
KV_DATA_API HINSTANCE RegisterStringTable(std::span<const StringTableEntry> entries);
// FALSE for a handle that is not a registered table (the library's own included).
KV_DATA_API BOOL UnregisterStringTable(HINSTANCE module);

// The library's own module handle, non-null from load to unload.
KV_DATA_API HINSTANCE GetKvDataInstance();

// Resource names and types are small integers carried in a pointer.
struct HRSRC__;
using HRSRC = HRSRC__*;
inline const char* MAKEINTRESOURCEA(WORD id) {
    return reinterpret_cast<const char*>(static_cast<std::uintptr_t>(id));
}
inline const char* const RT_STRING = MAKEINTRESOURCEA(6);

// A string table holds its strings in blocks of 16: block b (from 1) holds the ids
// 16·(b − 1) to 16·(b − 1) + 15. Found when the module has a string in the block named
// by `name`; only the type RT_STRING exists.
KV_DATA_API HRSRC FindResourceA(HMODULE module, const char* name, const char* type);

// String `id` (its low 16 bits, as on the platform) of `module` into `buffer`, cut to
// bufferMax − 1 characters and terminated; the number of characters copied, 0 (with an
// empty buffer) when the module has no such string. A null module is the host program:
// its registered tables are searched in the order of registration.
KV_DATA_API int LoadStringA(HINSTANCE module, UINT id, char* buffer, int bufferMax);

// The path of a module's file: the running executable for a null handle, the shared
// library for the library's own handle; 0 for anything else. The text is cut and
// terminated to fit, the result then being `size`.
KV_DATA_API DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size);

}  // namespace kv
