#pragma once

#include <memory>
#include <string_view>
#include <type_traits>

#include <blkid/blkid.h>

namespace orbis::platform::linux_system {

struct ProbeDeleter {
    void operator()(blkid_probe probe) const noexcept { blkid_free_probe(probe); }
};
// Owns a probe of libblkid. The descriptor that it reads stays its opener's.
using Probe = std::unique_ptr<std::remove_pointer_t<blkid_probe>, ProbeDeleter>;

// Null when memory is short or the device cannot be read.
[[nodiscard]] inline Probe MakeProbe(int descriptor)
{
    Probe probe(blkid_new_probe());
    if (probe && blkid_probe_set_device(probe.get(), descriptor, 0, 0) != 0) {
        probe.reset();
    }
    return probe;
}

// A text of libblkid's, which may be null.
[[nodiscard]] inline std::string_view ProbeText(const char* text) { return text != nullptr ? text : std::string_view(); }

}  // namespace orbis::platform::linux_system
