#include <cstddef>
#include <cstdint>
#include <string_view>

#include "simulated/MachineFile.h"

// A machine file of any bytes is a machine, or an error that names its place.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    (void)orbis::simulated::ValidateMachine(text);
    try {
        (void)orbis::simulated::ParseMachine(text);
        (void)orbis::simulated::ShowMachine(text);
    } catch (const orbis::simulated::MachineFileError&) {
        // The documented failure.
    }
    return 0;
}
