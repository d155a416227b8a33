#include "LinuxPlatform.h"

#include "LinuxLastError.h"
#include "LinuxText.h"
#include "LinuxTime.h"
#include "platform/Errors.h"
#include "src/RowWmi.h"

namespace orbis::platform {
namespace {

bool Fail(std::uint32_t error) noexcept
{
    SetLinuxLastError(error);
    return false;
}

class LinuxDeviceIo final : public DeviceIo {
public:
    NativeHandle Open(const char16_t* /*path*/, std::uint32_t /*access*/, std::uint32_t /*share*/, void* /*security*/,
                      std::uint32_t /*disposition*/, std::uint32_t /*flags*/, NativeHandle /*templateFile*/) override
    {
        SetLinuxLastError(win32::kFileNotFound);
        return kInvalidHandle;
    }
    bool Control(NativeHandle /*device*/, std::uint32_t /*code*/, void* /*in*/, std::uint32_t /*inSize*/, void* /*out*/,
                 std::uint32_t /*outSize*/, std::uint32_t* /*returned*/, void* /*overlapped*/) override
    {
        return Fail(win32::kInvalidHandle);
    }
    bool Close(NativeHandle /*device*/) noexcept override { return Fail(win32::kInvalidHandle); }
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        if (characters < 1 || buffer == nullptr) {
            return 1;
        }
        *buffer = u'\0';
        return 0;
    }
    std::uint32_t LastError() const noexcept override { return LinuxLastError(); }
};

class LinuxSetup final : public Setup {
public:
    DeviceInfoSetHandle ClassDevices(const Guid* /*classGuid*/, const char16_t* /*enumerator*/, void* /*parentWindow*/,
                                     std::uint32_t /*flags*/) override
    {
        return 1;
    }
    bool EnumDeviceInterfaces(DeviceInfoSetHandle /*set*/, const Guid& /*interfaceClass*/, std::uint32_t /*index*/,
                              DeviceInterfaceData* /*data*/) override
    {
        return Fail(win32::kNoMoreItems);
    }
    bool DeviceInterfaceDetail(DeviceInfoSetHandle /*set*/, const DeviceInterfaceData& /*data*/, void* /*detail*/,
                               std::uint32_t /*detailSize*/, std::uint32_t* /*required*/) override
    {
        return Fail(win32::kInvalidParameter);
    }
    bool EnumDeviceInfo(DeviceInfoSetHandle /*set*/, std::uint32_t /*index*/, DeviceInfoData* /*data*/) override
    {
        return Fail(win32::kNoMoreItems);
    }
    bool DeviceProperty(DeviceInfoSetHandle /*set*/, const DeviceInfoData& /*data*/, const DevicePropertyKey& /*key*/,
                        std::uint32_t* /*type*/, void* /*buffer*/, std::uint32_t /*bufferSize*/, std::uint32_t* /*required*/,
                        std::uint32_t /*flags*/) override
    {
        return Fail(win32::kNotFound);
    }
    bool DestroyDeviceInfoList(DeviceInfoSetHandle /*set*/) noexcept override { return true; }
    std::uint32_t LastError() const noexcept override { return LinuxLastError(); }
};

class LinuxFirmware final : public Firmware {
public:
    std::uint32_t SystemFirmwareTable(std::uint32_t /*provider*/, std::uint32_t /*table*/, void* /*buffer*/,
                                      std::uint32_t /*size*/) override
    {
        SetLinuxLastError(win32::kInvalidFunction);
        return 0;
    }
    std::uint32_t LastError() const noexcept override { return LinuxLastError(); }
};

class LinuxPdh final : public Pdh {
public:
    PdhStatus OpenQuery(const char16_t* /*dataSource*/, std::uintptr_t /*userData*/, PdhQueryObject** /*query*/) override
    {
        return pdh::kNoObject;
    }
    PdhStatus EnumInstances(const char16_t* /*object*/, char16_t* /*buffer*/, std::uint32_t* /*characters*/) override
    {
        return pdh::kNoObject;
    }
    PdhStatus AddEnglishCounter(PdhQueryObject* /*query*/, const char16_t* /*path*/, std::uintptr_t /*userData*/,
                                PdhCounterObject** /*counter*/) override
    {
        return pdh::kInvalidHandle;
    }
    PdhStatus CollectQueryData(PdhQueryObject* /*query*/) override { return pdh::kInvalidHandle; }
    PdhStatus FormattedValue(PdhCounterObject* /*counter*/, std::uint32_t /*format*/, PdhCounterValue* /*value*/) override
    {
        return pdh::kInvalidHandle;
    }
    PdhStatus CloseQuery(PdhQueryObject* /*query*/) noexcept override { return pdh::kInvalidHandle; }
};

class NoRows final : public RowSource {
public:
    bool HasNamespace(std::u16string_view path) override { return path == u"root\\cimv2"; }
    Hresult Rows(std::u16string_view /*path*/, std::u16string_view /*className*/, std::vector<Row>& /*rows*/) override
    {
        return hresult::kWbemInvalidClass;
    }
};

}  // namespace

struct LinuxPlatform::Ports {
    LinuxDeviceIo deviceIo;
    LinuxSetup setup;
    NoRows rows;
    std::unique_ptr<RowWmi> wmi = MakeRowWmi(rows);
    LinuxFirmware firmware;
    LinuxPdh pdh;
    LinuxTime time;
    LinuxText text;
};

LinuxPlatform::LinuxPlatform(Roots /*roots*/) : m_Ports(std::make_unique<Ports>()) {}
LinuxPlatform::~LinuxPlatform() = default;

DeviceIo& LinuxPlatform::DeviceIoPort() noexcept { return m_Ports->deviceIo; }
Setup& LinuxPlatform::SetupPort() noexcept { return m_Ports->setup; }
Wmi& LinuxPlatform::WmiPort() noexcept { return *m_Ports->wmi; }
Firmware& LinuxPlatform::FirmwarePort() noexcept { return m_Ports->firmware; }
Pdh& LinuxPlatform::PdhPort() noexcept { return m_Ports->pdh; }
Time& LinuxPlatform::TimePort() noexcept { return m_Ports->time; }
Text& LinuxPlatform::TextPort() noexcept { return m_Ports->text; }

// Never destroyed: a host's threads may still be collecting while the process ends.
Platform& Platform::System() noexcept
{
    static LinuxPlatform& machine = *new LinuxPlatform;
    return machine;
}

}  // namespace orbis::platform
