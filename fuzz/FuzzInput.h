// The input of a fuzz target: fields separated by '\n', numbers written as text and
// read with strtod / strtoll, so that "nan", "-inf", "1e308", "0x1p-1074", "-0" and
// "-2147483648" reach the library as the values they name, and seed files stay
// readable. A field that is missing reads as empty text and as the number 0; the last
// text field usually takes the rest of the input, line ends included.
#pragma once

#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace kvfuzz {

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : m_text(reinterpret_cast<const char*>(data), size) {}

    // Up to the next '\n', which is consumed.
    std::string Line() {
        const std::size_t end = m_text.find('\n', m_pos);
        const std::size_t stop = end == std::string_view::npos ? m_text.size() : end;
        std::string line(m_text.substr(m_pos, stop - m_pos));
        m_pos = end == std::string_view::npos ? m_text.size() : end + 1;
        return line;
    }

    std::string Rest() {
        std::string rest(m_text.substr(m_pos));
        m_pos = m_text.size();
        return rest;
    }

    double Double() {
        const std::string line = Line();
        return std::strtod(line.c_str(), nullptr);
    }

    // Saturates at the int range; any base strtoll accepts ("0x80000000").
    int Int() {
        const std::string line = Line();
        const long long v = std::strtoll(line.c_str(), nullptr, 0);
        if (v > INT_MAX) return INT_MAX;
        if (v < INT_MIN) return INT_MIN;
        return static_cast<int>(v);
    }

    // The low 32 bits, for unsigned globals such as the device type.
    std::uint32_t UInt32() {
        const std::string line = Line();
        return static_cast<std::uint32_t>(std::strtoull(line.c_str(), nullptr, 0));
    }

private:
    std::string_view m_text;
    std::size_t m_pos = 0;
};

// Equal as stored, NaN payloads and the sign of zero included.
inline bool SameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// A broken promise of the library: abort, which libFuzzer reports as a crash with the
// input that caused it.
[[noreturn]] inline void Fail(const char* what, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: check failed: %s\n", file, line, what);
    std::abort();
}

}  // namespace kvfuzz

#define KV_FUZZ_CHECK(condition) \
    ((condition) ? static_cast<void>(0) : ::kvfuzz::Fail(#condition, __FILE__, __LINE__))
