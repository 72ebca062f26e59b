// The library's angle constants. Each unit that includes this header holds its own
// private copy; none is exported. They are formed from pi exactly as written here, so
// the last digits are those of these operations, not of a more precise pi.
#pragma once

namespace kv {

static const double kPi = 3.141592653589793;

static const double kThreeHalvesPi = kPi * 3 / 2;
static const double kTwoThirdsPi = (kPi + kPi) / 3;
static const double kTwoPi = kPi + kPi;
static const double kHalfPi = kPi / 2;
// Degrees to radians and back. The symmetrical-component and spectrum routines use the
// literal 0.01745329251994 instead; both factors are kept.
static const double kDegToRad = kPi / 180;
static const double kRadToDeg = 180 / kPi;

}  // namespace kv
