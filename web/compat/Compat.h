// Included first in every unit of the WebAssembly build: what emscripten's older
// standard library lacks of C++20 (std::bit_cast, to_chars and from_chars of double).
#pragma once

#include <version>

#if !defined(__cpp_lib_bit_cast)
namespace std {
template <class To, class From>
constexpr To bit_cast(const From& from) noexcept {
    return __builtin_bit_cast(To, from);
}
}  // namespace std
#endif

#if !defined(__cpp_lib_to_chars)
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace std {

// The shortest text that reads back as `value`, fixed or scientific, whichever is shorter.
inline to_chars_result to_chars(char* first, char* last, double value) {
    char text[48];
    int length = 0;
    if (!isfinite(value)) {
        length = snprintf(text, sizeof text, "%s", isnan(value) ? (signbit(value) ? "-nan" : "nan") : value < 0 ? "-inf" : "inf");
    } else {
        char sci[40];
        int precision = 0;
        for (; precision < 17; ++precision) {
            snprintf(sci, sizeof sci, "%.*e", precision, value);
            if (strtod(sci, nullptr) == value) break;
        }
        // Digits and exponent of the shortest form.
        char digits[24];
        int count = 0;
        const char* p = sci;
        const bool negative = *p == '-';
        if (negative) ++p;
        for (; *p && *p != 'e'; ++p)
            if (*p != '.') digits[count++] = *p;
        const int exponent = atoi(p + 1);
        while (count > 1 && digits[count - 1] == '0') --count;
        // Scientific: d.ddde+XX.
        char s[48];
        int n = 0;
        if (negative) s[n++] = '-';
        s[n++] = digits[0];
        if (count > 1) {
            s[n++] = '.';
            for (int k = 1; k < count; ++k) s[n++] = digits[k];
        }
        n += snprintf(s + n, sizeof s - static_cast<size_t>(n), "e%c%02d", exponent < 0 ? '-' : '+', exponent < 0 ? -exponent : exponent);
        // Fixed.
        char f[400];
        int m = 0;
        if (negative) f[m++] = '-';
        if (exponent < 0) {
            f[m++] = '0';
            f[m++] = '.';
            for (int k = -1; k > exponent; --k) f[m++] = '0';
            for (int k = 0; k < count; ++k) f[m++] = digits[k];
        } else if (exponent + 1 >= count) {
            // A whole number: its exact digits, as the standard library writes them.
            m = snprintf(f, sizeof f, "%.0f", value);
        } else {
            for (int k = 0; k < count; ++k) {
                if (k == exponent + 1) f[m++] = '.';
                f[m++] = digits[k];
            }
        }
        if (m <= n) {
            if (last - first < m) return {last, errc::value_too_large};
            memcpy(first, f, static_cast<size_t>(m));
            return {first + m, errc()};
        }
        length = n;
        memcpy(text, s, static_cast<size_t>(n));
    }
    if (last - first < length) return {last, errc::value_too_large};
    memcpy(first, text, static_cast<size_t>(length));
    return {first + length, errc()};
}

inline from_chars_result from_chars(const char* first, const char* last, double& value) {
    if (first == last || *first == '+' || *first == ' ' || *first == '\t' || *first == '\n')
        return {first, errc::invalid_argument};
    char text[128];
    const size_t length = static_cast<size_t>(last - first) < sizeof text - 1 ? static_cast<size_t>(last - first) : sizeof text - 1;
    memcpy(text, first, length);
    text[length] = '\0';
    // No hexadecimal: "0x1" reads as 0 followed by "x1".
    const char* digits = text + (text[0] == '-');
    if (digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) text[digits - text + 1] = '\0';
    char* end = nullptr;
    errno = 0;
    const double v = strtod(text, &end);
    if (end == text) return {first, errc::invalid_argument};
    if (errno == ERANGE && (v == HUGE_VAL || v == -HUGE_VAL || v == 0)) return {first + (end - text), errc::result_out_of_range};
    value = v;
    return {first + (end - text), errc()};
}

}  // namespace std
#endif
