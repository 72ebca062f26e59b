// The cosines and sines the forward transforms keep from call to call. A sweep along one
// input leaves most phase angles as they were (the healthy phases of a fault): each
// phase's values are kept, per thread, with the angle they belong to, and reused while
// that angle keeps every bit.
#pragma once

#include <bit>
#include <cstdint>

namespace kv::threephase {

// The cosine and sine of one angle, side by side so that they make one sincos call.
struct CosSin {
    double c;
    double s;
};

template <class T>
struct Kept {
    std::uint64_t bits = 0;
    bool valid = false;
    T value{};

    template <class Compute>
    [[gnu::always_inline]] T Of(double fi, Compute compute) {
        const auto key = std::bit_cast<std::uint64_t>(fi);
        if (valid && bits == key) return value;
        // What is returned is the fresh value, not the one just stored.
        const T fresh = compute(fi);
        value = fresh;
        bits = key;
        valid = true;
        return fresh;
    }
};

}  // namespace kv::threephase
