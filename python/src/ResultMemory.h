// Memory for the large result arrays of the batch functions, kept for reuse when those
// arrays die. Fresh pages cost the kernel's zeroing and a fault on first touch: for 10^6
// impedance faults that was 40% of the call. Blocks of dead results are kept, up
// to kKeptBytes in all, and handed to the next results that fit them.
#pragma once

#include <cstddef>
#include <vector>

#include "Bindings.h"

namespace kvpy {

// At most this much memory of dead results is kept; kvdata.free_kept_memory() frees it.
inline constexpr std::size_t kKeptBytes = std::size_t{512} << 20;
// Smaller arrays come from numpy as usual: their pages are few and numpy keeps its own.
inline constexpr std::size_t kSmallestKeptArray = std::size_t{1} << 20;

// Raw storage of `bytes`, from kept memory where a kept block fits; owned by the capsule
// that hands it back when the array built on it dies.
struct ResultBlock {
    void* data;
    py::capsule owner;
};
ResultBlock TakeResultBlock(std::size_t bytes);

// A C-contiguous array of `shape` whose elements are left for the caller to write.
template <class T>
py::array_t<T> ResultArray(const std::vector<py::ssize_t>& shape) {
    std::size_t count = 1;
    for (const py::ssize_t extent : shape) count *= static_cast<std::size_t>(extent);
    if (count * sizeof(T) < kSmallestKeptArray) return py::array_t<T>(shape);
    ResultBlock block = TakeResultBlock(count * sizeof(T));
    return py::array_t<T>(shape, static_cast<T*>(block.data), block.owner);
}

// Frees the kept memory; returns how many bytes that was.
std::size_t FreeKeptMemory();

}  // namespace kvpy
