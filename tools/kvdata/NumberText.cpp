#include "NumberText.h"

// {fmt}'s shortest-digits routine compiled here, where it can be inlined, and with its
// full table of powers of ten rather than the compressed one it recomputes entries from.
#define FMT_USE_FULL_CACHE_DRAGONBOX 1
#include <fmt/format.h>
#include <fmt/format-inl.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace kvdata {

namespace {

// The `count` decimal digits of n (count_digits(n), at most 17) from `at`. Two halves
// of 32 bits, each formatted in 32-bit arithmetic: the lower one keeps its leading zeros.
char* Digits(char* at, int count, std::uint64_t n) {
    if (count <= 8) return fmt::detail::format_decimal(at, static_cast<std::uint32_t>(n), count).end;
    const int high = count - 8;
    fmt::detail::format_decimal(at, static_cast<std::uint32_t>(n / 100000000), high);
    std::memcpy(at + high, "00000000", 8);
    return fmt::detail::format_decimal(at + high, static_cast<std::uint32_t>(n % 100000000), 8).end;
}

}  // namespace

char* WriteShortest(char* at, double value) {
    if (!std::isfinite(value)) return std::to_chars(at, at + kShortestLength, value).ptr;
    if (std::signbit(value)) {
        *at++ = '-';
        value = -value;
    }
    if (value == 0) {
        *at++ = '0';
        return at;
    }
    // Whole numbers below 10^16 are exact and read back as written; plain is the shorter
    // form unless trailing zeros make the exponent form shorter ("1e+06"). The round trip
    // through an integer tells them apart at a fraction of floor's cost.
    const auto whole = static_cast<std::uint64_t>(value < 1e16 ? value : 0);
    if (static_cast<double>(whole) == value) {
        if (whole < 100000 || whole % 10 != 0) return Digits(at, fmt::detail::count_digits(whole), whole);
    }

    const auto decimal = fmt::detail::dragonbox::to_decimal(value);
    const int n = fmt::detail::count_digits(decimal.significand);
    const int point = n + decimal.exponent;  // digits before the decimal point

    // Lengths of the two forms; the exponent takes at least two digits ("1e-07").
    const int e = point - 1;
    const int eDigits = std::abs(e) >= 100 ? 3 : 2;
    const int scientificLength = n + (n > 1 ? 1 : 0) + 2 + eDigits;
    const int plainLength = point <= 0 ? 2 - point + n : point >= n ? point : n + 1;
    if (plainLength <= scientificLength) {
        if (point <= 0) {
            *at++ = '0';
            *at++ = '.';
            for (int k = 0; k < -point; ++k) *at++ = '0';
            return Digits(at, n, decimal.significand);
        }
        if (point >= n) {
            Digits(at, n, decimal.significand);
            for (int k = n; k < point; ++k) at[k] = '0';
            return at + point;
        }
        // The digits one place to the right, then the integer part moved back over the point.
        Digits(at + 1, n, decimal.significand);
        for (int k = 0; k < point; ++k) at[k] = at[k + 1];
        at[point] = '.';
        return at + n + 1;
    }
    // d.ddde±XX: the digits from the second place, then the first moved before the point.
    Digits(at + 1, n, decimal.significand);
    at[0] = at[1];
    if (n > 1) {
        at[1] = '.';
        at += n + 1;
    } else {
        at += 1;
    }
    *at++ = 'e';
    *at++ = e < 0 ? '-' : '+';
    const int magnitude = std::abs(e);
    if (magnitude < 10) *at++ = '0';
    return std::to_chars(at, at + 3, magnitude).ptr;
}

}  // namespace kvdata
