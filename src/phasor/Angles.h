// The folding of angles in degrees, inline for the synthesis tables, which fold every
// angle they write; AbsAngleGr and NormAngleGr are these same bodies.
#pragma once

#include <cmath>
#include <cstdint>

#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace kv::angles {

// round(q)·360 in 32-bit integer arithmetic, wrapping as the processor does.
inline int WholeTurns(double q) {
    return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::int64_t>(round(q)) * 360));
}

// One body for both precisions: the float version keeps the angle a float between
// steps and computes the quotient in double.
template <class T>
[[gnu::always_inline]] inline T Norm(T a) {
    const double q = static_cast<double>(a) / 360;
    if (std::fabs(q) > 1) a = a - static_cast<T>(WholeTurns(q));
    if (a >= 360.0001) a = a - 360;
    if (a <= -360.0001) a = a + 360;
    return a;
}

template <class T>
[[gnu::always_inline]] inline T Abs(T a) {
    if (glob_bEnableAbsAngle == 0) return a;
    a = Norm(a);
    if (a < -0.0001) a = a + 360;
    if (a > 359.999) a = 0;
    return a;
}

}  // namespace kv::angles
