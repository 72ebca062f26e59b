// The platform layer's basic types: the integer widths, handles and constants that
// the library's interface is written in.
#pragma once

#include <cstdint>

#include "Kv_Data/Export.h"

namespace kv {

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;  // every "long" of the library is 32-bit, as on the original platform
using BOOL = int;
using ULONGLONG = std::uint64_t;
using LONGLONG = std::int64_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;

// Distinct opaque handle types; a null handle means "none".
struct HWND__;
struct HINSTANCE__;
struct HANDLE__;
using HWND = HWND__*;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
using HANDLE = HANDLE__*;

#ifndef TRUE
inline constexpr BOOL TRUE = 1;
#endif
#ifndef FALSE
inline constexpr BOOL FALSE = 0;
#endif

struct CPoint {
    LONG x = 0;
    LONG y = 0;
    constexpr CPoint() = default;
    constexpr CPoint(LONG initX, LONG initY) : x(initX), y(initY) {}
    friend constexpr bool operator==(const CPoint&, const CPoint&) = default;
};

struct CSize {
    LONG cx = 0;
    LONG cy = 0;
    constexpr CSize() = default;
    constexpr CSize(LONG initCx, LONG initCy) : cx(initCx), cy(initCy) {}
    friend constexpr bool operator==(const CSize&, const CSize&) = default;
};

}  // namespace kv
