#pragma once

#include <cstdint>

#include "CustomizedControllerData.h"
#include "IdentifyCapabilities.h"
#include "Object.h"
#include "sondix/IIdentifyControllerData.h"

namespace veyra::sondix::nvme {

// Identify Controller, 4096 bytes.
class IdentifyControllerData final : public Object<IdentifyControllerData, IIdentifyControllerData, 0, 4096> {
public:
    using Object::Object;
    std::uint16_t VID() const noexcept override { return word<0, std::uint16_t>(); }
    std::uint16_t SSVID() const noexcept override { return word<2, std::uint16_t>(); }
    const Carray<20>& SN() const noexcept override { return bytes<4, 20>(); }
    const Carray<40>& MN() const noexcept override { return bytes<24, 40>(); }
    const Carray<8>& FR() const noexcept override { return bytes<64, 8>(); }
    std::uint8_t RAB() const noexcept override { return word<72, std::uint8_t>(); }
    const Array<unsigned char, 3>& IEEE() const noexcept override { return oui<73>(); }
    IControllerMultiPathIoAndNamespaceSharingCap* CMIC() const noexcept override
    {
        return New<ControllerMultiPathIoAndNamespaceSharingCap>(Whole());
    }
    std::uint8_t MDTS() const noexcept override { return word<77, std::uint8_t>(); }
    std::uint16_t CNTLID() const noexcept override { return word<78, std::uint16_t>(); }
    IVersion* VER() const noexcept override { return New<Version>(Whole()); }
    std::uint32_t RTD3R() const noexcept override { return word<84, std::uint32_t>(); }
    std::uint32_t RTD3E() const noexcept override { return word<88, std::uint32_t>(); }
    IOptionalAsynchronousEventsSupported* OAES() const noexcept override
    {
        return New<OptionalAsynchronousEventsSupported>(Whole());
    }
    IControllerAttributes* CTRATT() const noexcept override { return New<ControllerAttributes>(Whole()); }
    IReadRecoveryLevelsSupported* RRLS() const noexcept override { return New<ReadRecoveryLevelsSupported>(Whole()); }
    std::uint8_t CNTRLTYPE() const noexcept override { return word<111, std::uint8_t>(); }
    const Carray<16>& FGUID() const noexcept override { return bytes<112, 16>(); }
    std::uint16_t CRDT1() const noexcept override { return word<128, std::uint16_t>(); }
    std::uint16_t CRDT2() const noexcept override { return word<130, std::uint16_t>(); }
    std::uint16_t CRDT3() const noexcept override { return word<132, std::uint16_t>(); }
    IOptionalAdminCommandSupport* OACS() const noexcept override { return New<OptionalAdminCommandSupport>(Whole()); }
    std::uint8_t ACL() const noexcept override { return word<258, std::uint8_t>(); }
    std::uint8_t AERL() const noexcept override { return word<259, std::uint8_t>(); }
    IFirmwareUpdates* FRMW() const noexcept override { return New<FirmwareUpdates>(Whole()); }
    ILogPageAttributes* LPA() const noexcept override { return New<LogPageAttributes>(Whole()); }
    std::uint8_t ELPE() const noexcept override { return word<262, std::uint8_t>(); }
    std::uint8_t NPSS() const noexcept override { return word<263, std::uint8_t>(); }
    IAdminVendorSpecificCommandCfg* AVSCC() const noexcept override { return New<AdminVendorSpecificCommandCfg>(Whole()); }
    IAutoPowerStateTransitionAttributes* APSTA() const noexcept override
    {
        return New<AutoPowerStateTransitionAttributes>(Whole());
    }
    std::uint16_t WCTEMP() const noexcept override { return word<266, std::uint16_t>(); }
    std::uint16_t CCTEMP() const noexcept override { return word<268, std::uint16_t>(); }
    std::uint16_t MTFA() const noexcept override { return word<270, std::uint16_t>(); }
    std::uint32_t HMPRE() const noexcept override { return word<272, std::uint32_t>(); }
    std::uint32_t HMMIN() const noexcept override { return word<276, std::uint32_t>(); }
    const Carray<16>& TNVMCAP() const noexcept override { return bytes<280, 16>(); }
    const Carray<16>& UNVMCAP() const noexcept override { return bytes<296, 16>(); }
    IReplayProtectedMemoryBlockSupport* RPMBS() const noexcept override { return New<ReplayProtectedMemoryBlockSupport>(Whole()); }
    std::uint16_t EDSTT() const noexcept override { return word<316, std::uint16_t>(); }
    IDeviceSelfTestOptions* DSTO() const noexcept override { return New<DeviceSelfTestOptions>(Whole()); }
    std::uint8_t FWUG() const noexcept override { return word<319, std::uint8_t>(); }
    std::uint16_t KAS() const noexcept override { return word<320, std::uint16_t>(); }
    IHostControlledThermalMgmtAttributes* HCTMA() const noexcept override
    {
        return New<HostControlledThermalMgmtAttributes>(Whole());
    }
    std::uint16_t MNTMT() const noexcept override { return word<324, std::uint16_t>(); }
    std::uint16_t MXTMT() const noexcept override { return word<326, std::uint16_t>(); }
    ISanitizeCap* SANICAP() const noexcept override { return New<SanitizeCap>(Whole()); }
    std::uint32_t HMMINDS() const noexcept override { return word<332, std::uint32_t>(); }
    std::uint16_t HMMAXD() const noexcept override { return word<336, std::uint16_t>(); }
    std::uint16_t NSETIDMAX() const noexcept override { return word<338, std::uint16_t>(); }
    std::uint16_t ENDGIDMAX() const noexcept override { return word<340, std::uint16_t>(); }
    std::uint8_t ANATT() const noexcept override { return word<342, std::uint8_t>(); }
    IAsymmetricNamespaceAccessCap* ANACAP() const noexcept override { return New<AsymmetricNamespaceAccessCap>(Whole()); }
    std::uint32_t ANAGRPMAX() const noexcept override { return word<344, std::uint32_t>(); }
    std::uint32_t NANAGRPID() const noexcept override { return word<348, std::uint32_t>(); }
    std::uint64_t PELS() const noexcept override { return word<352, std::uint32_t>(); }
    ISubmissionQueueEntrySize* SQES() const noexcept override { return New<SubmissionQueueEntrySize>(Whole()); }
    ICompletionQueueEntrySize* CQES() const noexcept override { return New<CompletionQueueEntrySize>(Whole()); }
    std::uint16_t MAXCMD() const noexcept override { return word<514, std::uint16_t>(); }
    std::uint32_t NN() const noexcept override { return word<516, std::uint32_t>(); }
    IOptionalNvmCommandSupport* ONCS() const noexcept override { return New<OptionalNvmCommandSupport>(Whole()); }
    IFusedOperationSupport* FUSES() const noexcept override { return New<FusedOperationSupport>(Whole()); }
    IFormatNvmAttributes* FNA() const noexcept override { return New<FormatNvmAttributes>(Whole()); }
    IVolatileWriteCache* VWC() const noexcept override { return New<VolatileWriteCache>(Whole()); }
    std::uint16_t AWUN() const noexcept override { return word<526, std::uint16_t>(); }
    std::uint16_t AWUPF() const noexcept override { return word<528, std::uint16_t>(); }
    INvmVendorSpecificCommandCfg* NVSCC() const noexcept override { return New<NvmVendorSpecificCommandCfg>(Whole()); }
    INamespaceWriteProtectionCap* NWPC() const noexcept override { return New<NamespaceWriteProtectionCap>(Whole()); }
    std::uint16_t ACWU() const noexcept override { return word<532, std::uint16_t>(); }
    ISglSupport* SGLS() const noexcept override { return New<SglSupport>(Whole()); }
    std::uint32_t MNAN() const noexcept override { return word<540, std::uint32_t>(); }
    const Carray<256>& SUBNQN() const noexcept override { return bytes<768, 256>(); }
    IPowerStateDesc* PSD(std::uint32_t index) const noexcept override
    {
        constexpr std::uint32_t kDescriptors = 32;
        return index < kDescriptors ? New<PowerStateDesc>(element<2048, 32, kDescriptors>(index)) : nullptr;
    }
    IVendorSpecificInfo* VendorSpecific() const noexcept override
    {
        const maker::MakerArea area(Whole());
        if (area.IsRecognised()) {
            return New<CustomizedControllerData>(area);
        }
        return New<UnknownVendorSpecificInfo>();
    }
};

}  // namespace veyra::sondix::nvme
