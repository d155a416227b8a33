// Collects everything over and over from one plug-in object on the workstation, and ends with status 1 when memory or what is open
// grows: orbis-soak [COLLECTIONS]
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <system_error>

#include <fmt/format.h>

#include "Collections.h"
#include "simulated/MachineFile.h"

namespace {

std::atomic<std::int64_t> g_Blocks{0};

// The blocks that were allocated here. A DLL of Windows has allocation functions of its own, so what is freed here may be one of
// its texts; such a block does not count. Nor does one that finds no place near its hash.
constinit std::array<std::atomic<void*>, 0x40000> g_Own{};

bool Replace(void* block, void* before, void* after) noexcept
{
    constexpr std::size_t kWindow = 256;
    const std::size_t hash = reinterpret_cast<std::uintptr_t>(block) / 16;
    for (std::size_t probe = hash; probe < hash + kWindow; ++probe) {
        void* expected = before;
        if (g_Own[probe % g_Own.size()].compare_exchange_strong(expected, after, std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

}  // namespace

// Blocks that are allocated and not yet freed, libraries included where they share these functions. The form that does not throw
// is here too: the sanitizers have one of their own, which does not end in the first.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* memory = std::malloc(size != 0 ? size : 1);
    g_Blocks.fetch_add(memory != nullptr && Replace(memory, nullptr, memory) ? 1 : 0, std::memory_order_relaxed);
    return memory;
}
void* operator new(std::size_t size)
{
    if (void* memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept
{
    g_Blocks.fetch_sub(memory != nullptr && Replace(memory, memory, nullptr) ? 1 : 0, std::memory_order_relaxed);
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

namespace orbis::proof {
namespace {

// Where the system tells; 0 elsewhere.
long ResidentPages()
{
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident;
}
std::ptrdiff_t OpenFiles()
{
    std::error_code none;
    const std::filesystem::directory_iterator files("/proc/self/fd", none);
    return none ? 0 : std::distance(begin(files), end(files));
}

int Soak(int collections)
{
    constexpr int kLines = 10;
    const auto machine = simulated::LoadMachineFile("machines/workstation.txtpb");
    platform::Platform::Replace(machine.get());
    int status = 0;
    {
        Veyra::Orbis::Plugins::StorageCollectorPlugin plugin(nullptr);
        const auto round = [&plugin] {
            for (const Datatype datatype : kDatatypes) {
                static_cast<void>(Collect(plugin, datatype));
            }
        };
        round();  // what is made once
        const simulated::OpenCounts open = machine->OpenObjects();
        const std::int64_t blocks = g_Blocks;
        const std::ptrdiff_t files = OpenFiles();
        const auto started = std::chrono::steady_clock::now();
        const int rounds = (collections + static_cast<int>(kDatatypes.size()) - 1) / static_cast<int>(kDatatypes.size());
        fmt::print("{:>12} {:>12} {:>15} {:>11} {:>8}\n", "collections", "heap blocks", "resident pages", "open files", "seconds");
        for (int done = 0; done <= rounds; ++done) {
            if (done * kLines / rounds != (done - 1) * kLines / rounds || done == 0) {
                const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - started;
                fmt::print("{:>12} {:>12} {:>15} {:>11} {:>8.1f}\n", done * static_cast<int>(kDatatypes.size()), g_Blocks.load(),
                           ResidentPages(), OpenFiles(), seconds.count());
                status = g_Blocks != blocks || machine->OpenObjects() != open ? 1 : status;
            }
            if (done < rounds) {
                round();
            }
        }
        // One that each round leaves open. On Windows the system's own handles come and go.
        status = OpenFiles() >= files + rounds ? 1 : status;
    }
    platform::Platform::Replace(nullptr);
    const bool isBalanced = machine->OpenObjects() == simulated::OpenCounts{} && machine->Misuses().empty();
    fmt::print("{}\n", status == 0 && isBalanced ? "flat, and nothing open at the end" : "NOT FLAT, or something left open");
    return status == 0 && isBalanced ? 0 : 1;
}

}  // namespace
}  // namespace orbis::proof

int main(int argc, char** argv) { return orbis::proof::Soak(argc > 1 ? std::max(1, std::atoi(argv[1])) : 10000); }
