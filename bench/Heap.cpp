#include "Heap.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<std::uint64_t> g_Allocations{0};
std::atomic<std::int64_t> g_Bytes{0};
std::atomic<std::int64_t> g_Peak{0};

// A block's size precedes it.
constexpr std::size_t kFront = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

// All other forms call these.
void* operator new(std::size_t size)
{
    auto* block = static_cast<std::byte*>(std::malloc(kFront + size));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(block, &size, sizeof(size));
    g_Allocations.fetch_add(1, std::memory_order_relaxed);
    const auto added = static_cast<std::int64_t>(size);
    const std::int64_t bytes = g_Bytes.fetch_add(added, std::memory_order_relaxed) + added;
    if (bytes > g_Peak.load(std::memory_order_relaxed)) {  // only one thread measures
        g_Peak.store(bytes, std::memory_order_relaxed);
    }
    return block + kFront;
}

void operator delete(void* memory) noexcept
{
    if (memory == nullptr) {
        return;
    }
    std::byte* block = static_cast<std::byte*>(memory) - kFront;
    std::size_t size = 0;
    std::memcpy(&size, block, sizeof(size));
    g_Bytes.fetch_sub(static_cast<std::int64_t>(size), std::memory_order_relaxed);
    std::free(block);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

namespace orbis::bench {

HeapUse Heap() noexcept { return {g_Allocations, g_Bytes, g_Peak}; }
void ResetHeapPeak() noexcept { g_Peak.store(g_Bytes); }

}  // namespace orbis::bench
