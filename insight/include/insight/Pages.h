#pragma once

#include <optional>

#include "insight/Calls.h"
#include "insight/Evidence.h"
#include "insight/Export.h"
#include "orbis/insight/sources.pb.h"

namespace orbis::insight {

// A decoded device request of the collections: the kind of page, and the page itself.
struct PageRead {
    Request request = REQUEST_UNSPECIFIED;
    PageAnswer answer;
};

// Decodes a device request and its answer; empty for a request that reads no page (the SCSI INQUIRY, or an unknown request). A page
// is Answered under the conditions of the collectors: a status without an error, and bytes that are not all zero. It is Unsupported
// when the device itself refused it.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::optional<PageRead> PageOf(const call::Control& control);

}  // namespace orbis::insight
