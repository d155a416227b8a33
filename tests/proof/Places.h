#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Collections.h"
#include "insight/Calls.h"

namespace orbis::proof {

// The purpose of each call of a collection without faults: "Win32_DiskDrive", "walk", "layout". `constructed` is
// the number of calls that the plug-in's construction took; `controls` are the device requests among the same calls.
[[nodiscard]] std::vector<std::string> PlacesOf(Datatype datatype, const std::vector<simulated::CountedCall>& calls,
                                                std::size_t constructed, const std::vector<insight::call::Control>& controls);

// The command inside a pass-through request: task file, CDB or NVMe command; nothing of other requests.
[[nodiscard]] insight::Bytes CommandOf(const insight::call::Control& control);

}  // namespace orbis::proof
