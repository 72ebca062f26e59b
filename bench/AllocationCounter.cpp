#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> g_allocations{0};

void* Allocate(std::size_t size) noexcept {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size == 0 ? 1 : size);
}

// aligned_alloc wants a size that is a multiple of the alignment.
void* AllocateAligned(std::size_t size, std::align_val_t al) noexcept {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    const auto alignment = static_cast<std::size_t>(al);
    const std::size_t rounded =
        size == 0 ? alignment : (size + alignment - 1) / alignment * alignment;
    return std::aligned_alloc(alignment, rounded);
}

// The throwing forms retry through the new-handler, as the standard's own do.
template <class Try>
void* AllocateOrThrow(Try attempt) {
    for (;;) {
        if (void* p = attempt()) return p;
        std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) throw std::bad_alloc();
        handler();
    }
}

}  // namespace

namespace kvbench {

std::size_t Allocations() { return g_allocations.load(std::memory_order_relaxed); }

}  // namespace kvbench

void* operator new(std::size_t size) {
    return AllocateOrThrow([size] { return Allocate(size); });
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow([size] { return Allocate(size); });
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t al) {
    return AllocateOrThrow([size, al] { return AllocateAligned(size, al); });
}
void* operator new[](std::size_t size, std::align_val_t al) {
    return AllocateOrThrow([size, al] { return AllocateAligned(size, al); });
}
void* operator new(std::size_t size, std::align_val_t al, const std::nothrow_t&) noexcept {
    return AllocateAligned(size, al);
}
void* operator new[](std::size_t size, std::align_val_t al, const std::nothrow_t&) noexcept {
    return AllocateAligned(size, al);
}

void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { std::free(p); }
