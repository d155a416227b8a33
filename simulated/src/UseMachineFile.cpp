#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "simulated/MachineFile.h"
#include "simulated/orbis_simulated.h"

namespace orbis::simulated {
namespace {

// Machines live as long as the process: users of one that was replaced may still be alive.
void Use(std::unique_ptr<Machine> machine)
{
    static std::mutex mutex;
    static auto& machines = *new std::vector<std::unique_ptr<Machine>>;
    const std::lock_guard lock(mutex);
    platform::Platform::Replace(machine.get());
    machines.push_back(std::move(machine));
}

int Fail(const std::string& message, char* error, std::size_t errorSize)
{
    if (error != nullptr && errorSize > 0) {
        std::size_t length = std::min(message.size(), errorSize - 1);
        // Never a part of a character: step back over UTF-8 continuation bytes that would be cut off.
        while (length > 0 && length < message.size() && (static_cast<unsigned char>(message[length]) & 0xC0) == 0x80) {
            --length;
        }
        std::memcpy(error, message.data(), length);
        error[length] = '\0';
    }
    return 1;
}

}  // namespace
}  // namespace orbis::simulated

extern "C" int OrbisSimulatedUseMachineFile(const char* path, char* error, std::size_t errorSize)
{
    using namespace orbis::simulated;
    try {
        Use(path != nullptr ? LoadMachineFile(path) : nullptr);
        return 0;
    } catch (const std::exception& failure) {
        return Fail(failure.what(), error, errorSize);
    } catch (...) {
        return Fail("unknown failure", error, errorSize);
    }
}
