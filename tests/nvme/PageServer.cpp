#include "PageServer.h"

#include <cstring>
#include <span>

#include "platform/Requests.h"

namespace orbis::tests {

using namespace orbis::platform;

PageServer::PageServer() { Replace(this); }

PageServer::~PageServer() { Replace(nullptr); }

NativeHandle PageServer::Open(const char16_t*, std::uint32_t, std::uint32_t, void*, std::uint32_t, std::uint32_t, NativeHandle)
{
    return 1;
}

// Protocol-specific property queries: a descriptor, then the page.
bool PageServer::Control(NativeHandle, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                         std::uint32_t* returned, void*)
{
    StorageProtocolQuery query;
    if (code != kIoctlStorageQueryProperty || inSize < sizeof query) {
        return false;
    }
    std::memcpy(&query, in, sizeof query);
    std::span<const std::uint8_t> page = identify;
    if (query.protocol.dataType == kNvmeDataTypeLogPage) {
        page = query.protocol.requestValue == 0x02 ? health : makerHealth;
    }
    StorageProtocolDataDescriptor answer{sizeof answer, sizeof answer, query.protocol};
    answer.protocol.dataOffset = sizeof answer.protocol;
    answer.protocol.dataLength = static_cast<std::uint32_t>(page.size());
    if (outSize < sizeof answer + page.size()) {
        return false;
    }
    std::memcpy(out, &answer, sizeof answer);
    std::memcpy(static_cast<std::uint8_t*>(out) + sizeof answer, page.data(), page.size());
    *returned = static_cast<std::uint32_t>(sizeof answer + page.size());
    return true;
}

}  // namespace orbis::tests
