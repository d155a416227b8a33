#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <google/protobuf/arena.h>

#include "HostSdk/Dictionary.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/ItemId.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "sondix/sondix.h"

namespace Veyra::Orbis::Plugins {

namespace datatypes = veyra::orbis::datatypes;

// Walks the NVMe drives and maps the data that the device-query library reads to the host's messages.
//
// The messages of one collection live on one arena; every entry of a map keeps the whole arena alive. The mappers create their
// message on the given arena, and return null when the library has no object to map.
class NvmeDataGetter {
public:
    using Arena = google::protobuf::Arena;
    using IIdentifyControllerData = veyra::sondix::nvme::IIdentifyControllerData;
    using IHealthInfo = veyra::sondix::nvme::IHealthInfo;
    using ICustomizedHealthInfo = veyra::sondix::nvme::ICustomizedHealthInfo;
    template <class T>
    using MessageMap = Common::Dictionary<Sdk::Common::Identifiers::ItemId, std::shared_ptr<const T>>;

    NvmeDataGetter() = delete;

    // One message for each drive that answers, in the order of the drive numbers; defined beside its retriever, in whose name it
    // logs. Two drives with the same item id (both without
    // an inventory record, for example) raise ArgumentException.
    [[nodiscard]] static MessageMap<datatypes::NvmeIdentifyControllerData> GetIdentifyControllerData(Common::IZelLog& log);
    // One message for each NVMe drive, even for one that answers neither log; otherwise as above.
    [[nodiscard]] static MessageMap<datatypes::SmartNvmeInfo> GetNvmeHealthData(Common::IZelLog& log);

    [[nodiscard]] static datatypes::NvmeIdentifyControllerData* toIdentifyControllerData(const IIdentifyControllerData* data,
                                                                                         Arena& arena);
    [[nodiscard]] static datatypes::NvmeHealthInfo* toNvmeHealthInfo(const IHealthInfo* health, Arena& arena);
    [[nodiscard]] static datatypes::NvmeCustomizedHealthInfo* toCustomizedHealthInfo(const ICustomizedHealthInfo* health,
                                                                                     Arena& arena);

    // Capabilities of the Identify Controller data structure. `data` is not null.
    [[nodiscard]] static datatypes::NvmeControllerMultiPathIoAndNamespaceSharingCap*
    getNvmeControllerMultiPathIoAndNamespaceSharingCap(const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeVersion* getVersion(const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeOptionalAsynchronousEventsSupported* getOptionalAsynchronousEventsSupported(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeReadRecoveryLevelsSupported* getNvmeReadRecoveryLevelsSupported(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeControllerAttributes* getControllerAttributes(const IIdentifyControllerData* data,
                                                                                      Arena& arena);
    [[nodiscard]] static datatypes::NvmeOptionalAdminCommandSupport* getNvmeOptionalAdminCommandSupport(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeFirmwareUpdates* getNvmeFirmwareUpdates(const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeLogPageAttributes* getLogPageAttributes(const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeAdminVendorSpecificCommandCfg* getAdminVendorSpecificCommandCfg(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeAutoPowerStateTransitionAttributes* getAutoPowerStateTransitionAttributes(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeReplayProtectedMemoryBlockSupport* getReplayProtectedMemoryBlockSupport(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeDeviceSelfTestOptions* getDeviceSelfTestOptions(const IIdentifyControllerData* data,
                                                                                        Arena& arena);
    [[nodiscard]] static datatypes::NvmeHostControlledThermalMgmtAttributes* getHostControlledThermalMgmtAttributes(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeSanitizeCap* getSanitizeCap(const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeAsymmetricNamespaceAccessCap* getAsymmetricNamespaceAccessCap(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeSubmissionQueueEntrySize* getSubmissionQueueEntrySize(const IIdentifyControllerData* data,
                                                                                              Arena& arena);
    [[nodiscard]] static datatypes::NvmeCompletionQueueEntrySize* getCompletionQueueEntrySize(const IIdentifyControllerData* data,
                                                                                              Arena& arena);
    [[nodiscard]] static datatypes::NvmeOptionalNvmCommandSupport* getOptionalNvmCommandSupport(const IIdentifyControllerData* data,
                                                                                                Arena& arena);
    [[nodiscard]] static datatypes::NvmeFusedOperationSupport* getFusedOperationSupport(const IIdentifyControllerData* data,
                                                                                        Arena& arena);
    [[nodiscard]] static datatypes::NvmeFormatNvmAttributes* getFormatNvmAttributes(const IIdentifyControllerData* data,
                                                                                    Arena& arena);
    [[nodiscard]] static datatypes::NvmeVolatileWriteCache* getVolatileWriteCache(const IIdentifyControllerData* data,
                                                                                  Arena& arena);
    [[nodiscard]] static datatypes::NvmeNvmVendorSpecificCommandCfg* getNvmVendorSpecificCommandCfg(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeNamespaceWriteProtectionCap* getNamespaceWriteProtectionCap(
        const IIdentifyControllerData* data, Arena& arena);
    [[nodiscard]] static datatypes::NvmeSglSupport* getSglSupport(const IIdentifyControllerData* data, Arena& arena);
    // Power state descriptor `index`.
    [[nodiscard]] static datatypes::NvmePowerStateDesc* getPowerStateDesc(const IIdentifyControllerData* data, std::uint32_t index,
                                                                          Arena& arena);

    // The unsigned number in the bytes, computed from the most significant byte on in double precision, so that a number beyond
    // 2^53 is rounded at each step. 0 for no bytes.
    [[nodiscard]] static double RawBufferToDouble(const char* bytes, std::int32_t length, bool bigEndian);
    // -273 degrees Celsius, which is the drive's 0 kelvin for "not reported", becomes 0.
    [[nodiscard]] static std::int32_t ToValidTemperature(std::int32_t celsius);

private:
    // Visits the drives that may be NVMe drives, in the order of their numbers: those on an NVMe bus, and those behind a RAID-mode
    // controller, whose bus type is the controller's. Lines for the log, all at Debug level, go to `debug`; `what` is the subject.
    static void WalkDrives(std::string_view what, const std::function<void(std::string_view text)>& debug,
                           const std::function<void(std::int32_t drive, const std::string& name)>& visit);
};

}  // namespace Veyra::Orbis::Plugins
