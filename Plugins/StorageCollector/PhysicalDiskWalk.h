#pragma once

#include <functional>
#include <string_view>

#include "Common/PhysicalDiskInfo.h"
#include "HostSdk/ItemId.h"
#include "StorageHelper.h"

namespace Veyra::Orbis::Plugins {

// One disk of the walk, with its record of the inventory (a default one when the inventory does not list it).
struct WalkedDisk {
    Cpp::Common::PhysicalDiskInfo info;
    DiskDeviceInfo device;
    Sdk::Common::Identifiers::ItemId itemId;
    bool isInvalid = false;  // without size, media type and GUID; already reported as skipped
};

// Reads one disk after another, in the order of the device walk, and passes each to `visit` before it reads the next. If media
// types cannot be read, that is reported and they are missing; any other failure leaves. `debug` gets the lines for the log, all at
// Debug level; `operation` is the name of the caller in them.
void WalkPhysicalDisks(std::string_view operation, const std::function<void(std::string_view text)>& debug,
                       const std::function<void(WalkedDisk& disk)>& visit);

}  // namespace Veyra::Orbis::Plugins
