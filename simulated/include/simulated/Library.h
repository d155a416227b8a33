#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "simulated/Export.h"

namespace orbis::insight {
class Recording;  // orbis/insight/recording.pb.h
}

namespace orbis::simulated {

// What a program of the same build uses of this library when it loads it at run time, because most of its runs need no simulated
// machine: starting without the library is cheaper. Paths and texts are UTF-8; nothing throws but std::bad_alloc.
struct Library {
    struct Finding {
        bool isError;
        std::string text;  // with its place
    };

    // The machine of a file; null, with the reason, when none can be made of it.
    std::unique_ptr<platform::Platform> (*load)(const std::string& path, std::string& reason);
    // Machine::OnDelay of such a machine.
    void (*onDelay)(platform::Platform& machine, std::function<void(std::chrono::nanoseconds)> wait);
    // Errors and warnings about a file.
    std::vector<Finding> (*validate)(const std::string& path);
    // A description of the file's machine for people; false, with the reason as the text, when the file describes no valid machine.
    bool (*show)(const std::string& path, std::string& text);
    // Of a machine that `load` gave: title, system, code page and rights for a recording of it.
    void (*describe)(const platform::Platform& machine, insight::Recording& recording);
    // Of a machine that is a recording: requests that it lacks, for people.
    std::vector<std::string> (*notRecorded)(const platform::Platform& machine);
};

}  // namespace orbis::simulated

extern "C" ORBIS_SIMULATED_EXPORT const orbis::simulated::Library* OrbisSimulatedLibrary() noexcept;
