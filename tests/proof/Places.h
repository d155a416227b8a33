#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Collections.h"

namespace orbis::proof {

// What each call of a collection without faults was for, beside what it was: "Win32_DiskDrive", "walk", "layout". `constructed` is
// the number of calls that the plug-in's construction took; `journal` is the machine's for the same calls.
[[nodiscard]] std::vector<std::string> PlacesOf(Datatype datatype, const std::vector<simulated::CountedCall>& calls,
                                                std::size_t constructed, const std::vector<simulated::JournalEntry>& journal);

}  // namespace orbis::proof
