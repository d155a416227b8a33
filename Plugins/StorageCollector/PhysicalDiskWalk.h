#pragma once

#include <functional>
#include <string_view>

#include "Common/PhysicalDiskInfo.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/ItemId.h"
#include "StorageHelper.h"

namespace Veyra::Orbis::Plugins {

// One disk of the walk, with its record of the inventory (a default one when the inventory does not list it).
struct WalkedDisk {
    Cpp::Common::PhysicalDiskInfo info;
    DiskDeviceInfo device;
    Sdk::Common::Identifiers::ItemId itemId;
    bool isInvalid = false;  // nothing is known of it; already logged as skipped
};

// In whose name a walk logs.
struct WalkLogSite {
    std::string_view operation;  // heads the message of a failure: "GetStaticDiskData"
    std::string_view file;
    std::string_view function;
};

// Reads one disk after the other, in the order of the device walk, and hands each to `visit` before it reads the next. Media types
// that cannot be read are logged and done without; any other failure leaves.
void WalkPhysicalDisks(Common::IZelLog& log, const WalkLogSite& site, const std::function<void(WalkedDisk& disk)>& visit);

}  // namespace Veyra::Orbis::Plugins
