#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Kv_Data/PlatformExceptions.h"
#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"
#include "util/Truncate.h"

namespace kv {

namespace {

constexpr LONG kLAtStrNone = 99999999;
constexpr double kEAtStrNone = 99999999999.0;

// 32-bit two's-complement wrap of a result computed wider (modular since C++20).
int Wrap32(long long v) { return static_cast<std::int32_t>(v); }

// round and roundshort differ only in the bound at which they saturate.
int RoundBounded(double x, double bound, int high, int low) {
    if (std::fabs(x) > bound) return x > 0 ? high : low;
    const int t = TruncToInt32(x);
    if (std::fabs(x - static_cast<double>(t)) < 0.5) return t;
    // The sign of t, not of x: -1 < x <= -0.5 steps up to +1.
    return t < 0 ? Wrap32(t - 1LL) : Wrap32(t + 1LL);
}

// The magnitude of the multiple of b nearest to |a|, in 32-bit arithmetic: |INT_MIN|
// stays INT_MIN, and INT_MIN / -1 wraps where the processor would trap.
int NearestMultipleOfMagnitude(int a, int b) {
    if (b == 0) return 0;
    const long long m = a < 0 ? Wrap32(-static_cast<long long>(a)) : a;
    const long long q = Wrap32(m / b);
    const long long r = m % b;
    const long long bb = b;
    const long long v = bb - std::llabs(r) <= bb / 2 ? (q + 1) * bb : q * bb;
    return Wrap32(v);
}

// atol with the 32-bit long of the original platform, which saturates.
LONG AtoLong32(const char* text) {
    const long v = std::strtol(text, nullptr, 10);
    if (v > INT32_MAX) return INT32_MAX;
    if (v < INT32_MIN) return INT32_MIN;
    return static_cast<LONG>(v);
}

}  // namespace

int round(double x) { return RoundBounded(x, 2147483647.0, INT_MAX, INT_MIN); }

int round(float x) { return round(static_cast<double>(x)); }

int roundshort(double x) { return RoundBounded(x, 32767.0, 32767, -32768); }

double dRound(double x, int n) {
    // One buffer per thread so that concurrent callers each get their own result.
    thread_local char buffer[512];
    // Past 1074 decimals every double prints exactly and only zeros follow, and the
    // buffer keeps 511 characters: more decimals would change nothing but the time.
    constexpr int kExactDecimals = 1100;
    std::snprintf(buffer, sizeof buffer, "%.*lf", n > kExactDecimals ? kExactDecimals : n, x);
    return std::atof(buffer);
}

int DivRound(int a, int b) {
    const bool nonNegative = a >= 0;
    const int v = NearestMultipleOfMagnitude(a, b);
    return nonNegative ? v : Wrap32(-static_cast<long long>(v));
}

int DivRound(double x, int b) {
    // Cut to tenths, not rounded: 2.49 becomes 24 tenths.
    const int a = TruncToInt32(10.0 * x);
    const int v = NearestMultipleOfMagnitude(a, Wrap32(10LL * b));
    return a >= 0 ? v / 10 : Wrap32(-static_cast<long long>(v)) / 10;
}

double dDivRound(double x, double step) {
    if (std::fabs(step) < std::fabs(x) && std::fabs(step) > 1e-8)
        return static_cast<double>(round(x / step)) * step;
    if (std::fabs(x) < 1e-8) return 0;
    // Not larger than the step: one whole step, never zero.
    return x > 0 ? std::fabs(step) : -std::fabs(step);
}

double dDivRoundDegree(double x, double n) {
    if (n == 0) return x;
    const double p = std::ceil(std::log10(std::fabs(x)));
    return dDivRound(x, std::pow(10.0, p - n));
}

double ResultDiv(double a, double b) {
    if (std::fabs(b) <= 1e-5) return 99999.9;
    return a / b;
}

int IsEqual(double a, double b, int n) {
    static constexpr double kScale[] = {1.0,  10.0,  100.0,  1000.0,  10000.0,
                                        1e5,  1e6,   1e7,    1e8,     1e9};
    const double k = n >= 1 && n <= 9 ? kScale[n] : 1.0;
    return TruncToInt32(k * a) == TruncToInt32(k * b) ? 1 : 0;
}

float DoubleToFloat(double x) {
    if (std::fabs(x) > 1e35) return x > 0 ? static_cast<float>(1e35) : static_cast<float>(-1e35);
    if (std::fabs(x) < 1e-35) return x >= 0 ? static_cast<float>(1e-35) : static_cast<float>(-1e-35);
    return static_cast<float>(x);
}

CString LStr(LONG n) {
    CString text;
    text.Format("%d", n);
    return text;
}

CString EStr(double x, int precision, int width) {
    // A text longer than a string can hold (a width of INT_MIN is 2^31 blanks) is no
    // text: "" rather than an exception, and without first printing it.
    constexpr long long kLongest = INT_MAX - 400;
    if (std::llabs(static_cast<long long>(width)) > kLongest || precision > kLongest) return CString();
    CString text;
    try {
        text.Format("%*.*f", width, precision, x);
    } catch (const CInvalidArgException&) {
        return CString();
    }
    if (glob_bUseInFieldPoint == 0) {
        const int point = text.Find('.');
        if (point >= 0) text.SetAt(point, ',');
    }
    // Equal precision and width is the callers' way of keeping the trailing zeros.
    if (precision == width) return text;
    return TruncNullEndStr(text);
}

LONG LAtStr(const CString& s) {
    const char* first = std::strpbrk(s.GetString(), "-0123456789");
    if (first == nullptr) return kLAtStrNone;
    return AtoLong32(first);
}

double EAtStr(CString& s) {
    if (s.IsEmpty()) return kEAtStrNone;
    // The caller's string is rewritten on purpose: callers read it back with points.
    int replaced = 0;
    for (int comma = s.Find(','); comma >= 0; comma = s.Find(',')) {
        s.SetAt(comma, '.');
        if (++replaced == 4) return kEAtStrNone;
    }
    const char* first = std::strpbrk(s.GetString(), ".,-0123456789");
    if (first == nullptr) return kEAtStrNone;
    return std::atof(first);
}

LONG StrL(const char* s) { return s == nullptr ? 0 : AtoLong32(s); }

}  // namespace kv
