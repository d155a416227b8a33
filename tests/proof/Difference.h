#pragma once

#include <string>

#include "Collections.h"

namespace orbis::proof {

// The result of a collection compared with the same collection without a fault, completely, in one line:
//
//   the same
//   no list; ...
//   of 6 items the first 2; ...
//   fields eppid make_model of 1; ...            also "items" that changed their id to "Disk_", as field "id"
//   left by ...ZelException: text; ...
//   ...; +Error text; -3 lines                   log lines that came, in order, and the number of those that did not
//
// An id that became "Disk_" is put into the expected lines first, and so is the number of items.
[[nodiscard]] std::string DifferenceOf(const Outcome& clean, const Outcome& faulted);

}  // namespace orbis::proof
