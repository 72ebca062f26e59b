#include "ResultMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <map>
#include <mutex>
#include <new>

namespace kvpy {

namespace {

// Blocks come in whole huge pages, and a kept block serves a request of at least half
// its size, so that a sweep of the same size finds its blocks again.
constexpr std::size_t kHugePage = std::size_t{2} << 20;

struct Block {
    void* data;
    std::size_t capacity;
};

class KeptBlocks {
public:
    Block Take(std::size_t bytes) {
        {
            const std::lock_guard lock(m_mutex);
            const auto fit = m_free.lower_bound(bytes);
            if (fit != m_free.end() && fit->first / 2 <= bytes) {
                const Block block{fit->second, fit->first};
                m_free.erase(fit);
                m_freeBytes -= block.capacity;
                return block;
            }
        }
        const std::size_t capacity = (bytes + kHugePage - 1) / kHugePage * kHugePage;
        void* data = std::aligned_alloc(kHugePage, capacity);
        if (data == nullptr) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
        madvise(data, capacity, MADV_HUGEPAGE);  // as numpy does for its large arrays
#endif
        return {data, capacity};
    }

    void Give(Block block) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_freeBytes + block.capacity <= kKeptBytes) {
                m_free.emplace(block.capacity, block.data);
                m_freeBytes += block.capacity;
                return;
            }
        }
        std::free(block.data);
    }

    std::size_t FreeAll() {
        std::multimap<std::size_t, void*> blocks;
        std::size_t bytes = 0;
        {
            const std::lock_guard lock(m_mutex);
            blocks.swap(m_free);
            bytes = m_freeBytes;
            m_freeBytes = 0;
        }
        for (const auto& [capacity, data] : blocks) std::free(data);
        return bytes;
    }

private:
    std::mutex m_mutex;
    std::multimap<std::size_t, void*> m_free;  // by capacity
    std::size_t m_freeBytes = 0;
};

// Never destroyed: arrays may die while the interpreter shuts down, after static
// destructors would have run.
KeptBlocks& Kept() {
    static auto* blocks = new KeptBlocks;
    return *blocks;
}

}  // namespace

ResultBlock TakeResultBlock(std::size_t bytes) {
    auto* block = new Block(Kept().Take(bytes));
    try {
        py::capsule owner(block, [](void* p) {
            const auto* b = static_cast<Block*>(p);
            Kept().Give(*b);
            delete b;
        });
        return {block->data, std::move(owner)};
    } catch (...) {
        Kept().Give(*block);
        delete block;
        throw;
    }
}

std::size_t FreeKeptMemory() { return Kept().FreeAll(); }

}  // namespace kvpy
