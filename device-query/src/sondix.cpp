#include "sondix/sondix.h"

#include <array>
#include <cstdint>
#include <new>

#include "CustomizedHealthInfo.h"
#include "HealthInfo.h"
#include "IdentifyControllerData.h"
#include "MakerArea.h"
#include "MakerHealthLog.h"
#include "PhysicalDrive.h"
#include "platform/protocol/Nvme.h"

using namespace veyra::sondix;

namespace {

// Runs `make`; returns null when memory is exhausted.
template <class Make>
auto NullWhenMemoryIsShort(Make make) -> decltype(make())
{
    try {
        return make();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

extern "C" {

std::uint32_t SX_CALL SXGetPhysicalDrives()
{
    constexpr std::int32_t kDrives = 32;
    std::uint32_t mask = 0;
    for (std::int32_t drive = 0; drive < kDrives; ++drive) {
        mask |= DriveExists(drive) ? std::uint32_t{1} << static_cast<unsigned>(drive) : 0U;
    }
    return mask;
}

StorageBusType SX_CALL SXQueryStorageBusType(std::int32_t drive) { return QueryBusType(drive); }

nvme::IIdentifyControllerData* SX_CALL SXNvmNewIdentifyControllerData(std::int32_t drive)
{
    return NullWhenMemoryIsShort([drive]() -> nvme::IIdentifyControllerData* {
        std::array<std::uint8_t, 4096> page{};
        return ReadIdentifyController(drive, page) ? New<nvme::IdentifyControllerData>(std::span(page)) : nullptr;
    });
}

nvme::IHealthInfo* SX_CALL SXNvmNewHealthInfo(std::int32_t drive)
{
    return NullWhenMemoryIsShort([drive]() -> nvme::IHealthInfo* {
        std::array<std::uint8_t, 512> page{};
        return ReadLogPage(drive, orbis::protocol::nvme::kLogSmartHealth, page) ? New<nvme::HealthInfo>(std::span(page)) : nullptr;
    });
}

nvme::ICustomizedHealthInfo* SX_CALL SXNvmNewCustomizedHealthInfo(std::int32_t drive)
{
    return NullWhenMemoryIsShort([drive]() -> nvme::ICustomizedHealthInfo* {
        // Another maker's drive would log each request for this page as an error.
        std::array<std::uint8_t, 4096> identify{};
        if (!ReadIdentifyController(drive, identify) || !maker::MakerArea(Page<4096>(identify)).IsRecognised()) {
            return nullptr;
        }
        std::array<std::uint8_t, maker::kHealthLogSize> page{};
        if (!ReadMakerLogPage(drive, maker::kHealthLogIdentifier, page)) {
            return nullptr;
        }
        const maker::MakerHealthLog log{std::span<const std::uint8_t, maker::kHealthLogSize>(page)};
        return log.IsRecognised() ? New<nvme::CustomizedHealthInfo>(log) : nullptr;
    });
}

void SX_CALL SXDelete(void* object)
{
    if (object != nullptr) {
        static_cast<IObject*>(object)->Destroy();
    }
}
}
