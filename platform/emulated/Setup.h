#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "emulated/LastError.h"
#include "platform/Setup.h"

namespace orbis::platform::emulated {

// The disks that a device walk finds, at the moment in which it begins.
struct DeviceSet {
    struct Entry {
        std::u16string text;
        Win32Error error = 0;  // of reading it
    };
    std::vector<Entry> interfaces;  // by device interface path
    std::vector<Entry> devices;     // by device instance id
    Win32Error error = 0;           // of making the set
};

// SetupAPI's walk over disk interfaces; sets of other classes are empty.
[[nodiscard]] std::unique_ptr<Setup> MakeSetup(std::function<DeviceSet()> disks);

}  // namespace orbis::platform::emulated
