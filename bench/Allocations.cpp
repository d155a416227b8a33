#include "Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> g_Allocations{0};

}  // namespace

// The other forms end in these.
void* operator new(std::size_t size)
{
    g_Allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size != 0 ? size : 1); memory != nullptr) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace orbis::bench {

std::uint64_t Allocations() noexcept { return g_Allocations.load(std::memory_order_relaxed); }

}  // namespace orbis::bench
