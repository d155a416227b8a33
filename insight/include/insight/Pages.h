#pragma once

#include <optional>

#include "insight/Calls.h"
#include "insight/Evidence.h"
#include "insight/Export.h"
#include "orbis/insight/sources.pb.h"

namespace orbis::insight {

// A device request of the collections, decoded: which page it asked for, and the page itself.
struct PageRead {
    Request request = REQUEST_UNSPECIFIED;
    PageAnswer answer;
};

// What a device request asked for and got, or nothing for a request that reads no page (the SCSI INQUIRY, a request of another
// program's making). A page counts as answered where the collectors count it so: a status without an error and bytes that are not
// all zero; it is Unsupported where the device itself refused it.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::optional<PageRead> PageOf(const call::Control& control);

}  // namespace orbis::insight
