#include <dlfcn.h>

#include <string>

#include "SimulatedMachine.h"
#include "Terminal.h"

namespace orbis::host {

const simulated::Library& SimulatedLibrary()
{
    // It is in the folder of the program's other libraries, and is never unloaded.
    const auto find = [] {
        void* const library = dlopen((ProgramFolder() / ORBIS_SIMULATED_FILE).c_str(), RTLD_NOW | RTLD_LOCAL);
        void* const function = library != nullptr ? dlsym(library, "OrbisSimulatedLibrary") : nullptr;
        if (function == nullptr) {
            const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): glibc keeps one for each thread
            throw std::runtime_error(std::string("simulated machines need their library beside this program: ") +
                                     (reason != nullptr ? reason : "no reason given"));
        }
        return reinterpret_cast<decltype(&OrbisSimulatedLibrary)>(function);
    };
    static const simulated::Library& kLibrary = *find()();
    return kLibrary;
}

}  // namespace orbis::host
