#include "NumberText.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace kvdata {

namespace {

constexpr char kPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

int DigitCount(std::uint64_t n) {
    int count = 1;
    for (std::uint64_t limit = 10; n >= limit && count < 20; limit *= 10) ++count;
    return count;
}

// The decimal digits of n written backwards so that they end just before `end`; eight
// at a time in 32-bit arithmetic, two at a time from a table.
void DigitsBefore(char* end, std::uint64_t n) {
    while (n >= 100000000) {
        auto low = static_cast<std::uint32_t>(n % 100000000);
        n /= 100000000;
        for (int k = 0; k < 4; ++k) {
            const std::uint32_t pair = (low % 100) * 2;
            low /= 100;
            *--end = kPairs[pair + 1];
            *--end = kPairs[pair];
        }
    }
    auto rest = static_cast<std::uint32_t>(n);
    while (rest >= 100) {
        const std::uint32_t pair = (rest % 100) * 2;
        rest /= 100;
        *--end = kPairs[pair + 1];
        *--end = kPairs[pair];
    }
    if (rest >= 10) {
        *--end = kPairs[rest * 2 + 1];
        *--end = kPairs[rest * 2];
    } else {
        *--end = static_cast<char>('0' + rest);
    }
}

}  // namespace

char* WriteShortest(char* at, double value) {
    if (!std::isfinite(value)) return std::to_chars(at, at + 32, value).ptr;
    if (std::signbit(value)) {
        *at++ = '-';
        value = -value;
    }
    if (value == 0) {
        *at++ = '0';
        return at;
    }
    // Whole numbers below 10^16 are exact and read back as written; plain is the shorter
    // form unless trailing zeros make the exponent form shorter ("1e+06").
    if (value < 1e16 && value == std::floor(value)) {
        const auto whole = static_cast<std::uint64_t>(value);
        const int n = DigitCount(whole);
        if (n <= 5 || whole % 10 != 0) {
            DigitsBefore(at + n, whole);
            return at + n;
        }
    }

    const auto decimal = fmt::detail::dragonbox::to_decimal(value);
    const int n = DigitCount(decimal.significand);
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
            DigitsBefore(at + n, decimal.significand);
            return at + n;
        }
        if (point >= n) {
            DigitsBefore(at + n, decimal.significand);
            for (int k = n; k < point; ++k) at[k] = '0';
            return at + point;
        }
        // The digits one place to the right, then the integer part moved back over the point.
        DigitsBefore(at + n + 1, decimal.significand);
        for (int k = 0; k < point; ++k) at[k] = at[k + 1];
        at[point] = '.';
        return at + n + 1;
    }
    // d.ddde±XX: the digits from the second place, then the first moved before the point.
    DigitsBefore(at + n + 1, decimal.significand);
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
    if (magnitude >= 100) *at++ = static_cast<char>('0' + magnitude / 100);
    *at++ = kPairs[(magnitude % 100) * 2];
    *at++ = kPairs[(magnitude % 100) * 2 + 1];
    return at;
}

}  // namespace kvdata
