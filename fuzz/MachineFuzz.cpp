#include <string_view>

#include "Targets.h"
#include "simulated/MachineFile.h"

// A machine file of any bytes gives a machine, or an error that names the place.
void orbis::fuzz::Machine(Bytes input)
{
    const std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
    (void)orbis::simulated::ValidateMachine(text);
    try {
        (void)orbis::simulated::ParseMachine(text);
        (void)orbis::simulated::ShowMachine(text);
    } catch (const orbis::simulated::MachineFileError& error) {
        Require(!error.What().file.empty() && !error.What().message.empty(), "an error names its file and what is wrong");
    }
}
