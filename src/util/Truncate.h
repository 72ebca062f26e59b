// Conversions of doubles to 32-bit integers as the x86 processor does them, without
// the undefined behaviour of a plain cast.
#pragma once

#include <climits>

namespace kv {

// Truncation toward zero; NaN and values whose truncation leaves the 32-bit range give
// INT_MIN, as cvttsd2si does.
inline int TruncToInt32(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return INT_MIN;
    return static_cast<int>(v);
}

}  // namespace kv
