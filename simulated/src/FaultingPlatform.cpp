#include "simulated/FaultingPlatform.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <new>
#include <utility>

#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using enum FaultKind;
namespace hresult = platform::hresult;
namespace pdh = platform::pdh;
namespace win32 = platform::win32;
using platform::Bstr;
using platform::ComObject;
using platform::Hresult;
using platform::NativeHandle;
using platform::PdhStatus;

std::string Utf8(const char16_t* text) { return text != nullptr ? platform::Utf16ToUtf8(text) : std::string{}; }

// The fault of one call.
struct Fault {
    FaultKind kind;
    std::uint32_t error;

    [[nodiscard]] bool Is(FaultKind other) const { return kind == other; }
    [[nodiscard]] Hresult Result() const { return Is(Error) ? hresult::Make(error) : hresult::kOk; }
    // The same of a call that gives an object: there is none.
    [[nodiscard]] Hresult Result(ComObject** object) const
    {
        *object = nullptr;
        return Result();
    }
};

}  // namespace

// Each operation that can fail says how, and with which error when the fault names none; running out of memory is always possible.
class FaultingPlatform::Ports final : public platform::ForwardingDeviceIo,
                                      public platform::ForwardingSetup,
                                      public platform::ForwardingWmi,
                                      public platform::ForwardingFirmware,
                                      public platform::ForwardingPdh,
                                      public platform::ForwardingText {
public:
    explicit Ports(platform::Platform& inner)
        : ForwardingDeviceIo(inner.DeviceIoPort()),
          ForwardingSetup(inner.SetupPort()),
          ForwardingWmi(inner.WmiPort()),
          ForwardingFirmware(inner.FirmwarePort()),
          ForwardingPdh(inner.PdhPort()),
          ForwardingText(inner.TextPort())
    {}

    void Plan(std::optional<std::uint64_t> call, FaultKind kind, std::optional<std::uint32_t> code)
    {
        const std::lock_guard lock(m_Mutex);
        m_Calls.clear();
        m_FailingCall = call;
        m_Kind = kind;
        m_Code = code;
        m_Reached = false;
    }
    [[nodiscard]] std::vector<CountedCall> Calls() const
    {
        const std::lock_guard lock(m_Mutex);
        return m_Calls;
    }
    [[nodiscard]] bool Reached() const
    {
        const std::lock_guard lock(m_Mutex);
        return m_Reached;
    }

    // ---- DeviceIo ----

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        const std::string name = Utf8(path);
        if (const auto fault = CountWin32("DeviceIo::Open", {Error, Null}, win32::kAccessDenied, name)) {
            return fault->Is(Null) ? 0 : platform::kInvalidHandle;
        }
        const NativeHandle handle = ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
        const std::lock_guard lock(m_Mutex);
        m_Paths[handle] = name;
        return handle;
    }
    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override
    {
        const auto fault = CountWin32("DeviceIo::Control", {Error, ShortData, Null}, win32::kIoDevice,
                                      fmt::format("{:#010x} on {}", code, PathOf(device)));
        if (fault && !fault->Is(ShortData)) {
            *returned = 0;
            return fault->Is(Null);
        }
        const bool succeeded = ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped);
        *returned = fault ? *returned / 2 : *returned;
        return succeeded;
    }
    platform::PowerState DiskPowerState(const char16_t* path) override
    {
        const auto fault = CountWin32("DeviceIo::DiskPowerState", {Error}, win32::kAccessDenied, Utf8(path));
        return fault ? platform::PowerState::Unknown : ForwardingDeviceIo::DiskPowerState(path);
    }
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        const auto fault = CountWin32("DeviceIo::LogicalDriveStrings", {Error}, win32::kAccessDenied);
        return fault ? 0 : ForwardingDeviceIo::LogicalDriveStrings(characters, buffer);
    }

    // ---- Setup ----

    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override
    {
        if (const auto fault = CountWin32("Setup::ClassDevices", {Error, Null}, win32::kAccessDenied)) {
            return fault->Is(Null) ? 0 : platform::kInvalidDeviceInfoSet;
        }
        return ForwardingSetup::ClassDevices(classGuid, enumerator, parentWindow, flags);
    }
    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override
    {
        return !CountWin32("Setup::EnumDeviceInterfaces", {Error}, win32::kAccessDenied, std::to_string(index)) &&
               ForwardingSetup::EnumDeviceInterfaces(set, interfaceClass, index, data);
    }
    bool DeviceInterfaceDetail(platform::DeviceInfoSetHandle set, const platform::DeviceInterfaceData& data, void* detail,
                               std::uint32_t detailSize, std::uint32_t* required) override
    {
        const auto fault = CountWin32("Setup::DeviceInterfaceDetail", {Error, ShortData, Null}, win32::kAccessDenied,
                                      detail == nullptr ? "size" : "path");
        if (!fault) {
            return ForwardingSetup::DeviceInterfaceDetail(set, data, detail, detailSize, required);
        }
        platform::SaveLastError(fault->Is(ShortData) ? win32::kInsufficientBuffer : fault->error);
        if (required != nullptr) {
            *required = 0;
        }
        return fault->Is(Null);
    }
    bool EnumDeviceInfo(platform::DeviceInfoSetHandle set, std::uint32_t index, platform::DeviceInfoData* data) override
    {
        return !CountWin32("Setup::EnumDeviceInfo", {Error}, win32::kAccessDenied, std::to_string(index)) &&
               ForwardingSetup::EnumDeviceInfo(set, index, data);
    }
    bool DeviceProperty(platform::DeviceInfoSetHandle set, const platform::DeviceInfoData& data,
                        const platform::DevicePropertyKey& key, std::uint32_t* type, void* buffer, std::uint32_t bufferSize,
                        std::uint32_t* required, std::uint32_t flags) override
    {
        return !CountWin32("Setup::DeviceProperty", {Error}, win32::kNotFound) &&
               ForwardingSetup::DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags);
    }

    // ---- Firmware ----

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const auto fault = CountWin32("Firmware::SystemFirmwareTable", {Error, ShortData}, win32::kInvalidFunction,
                                      buffer == nullptr ? "size" : "table");
        if (fault && fault->Is(Error)) {
            return 0;
        }
        const std::uint32_t result = ForwardingFirmware::SystemFirmwareTable(provider, table, buffer, size);
        return fault ? result / 2 : result;
    }

    // ---- Wmi ----

    Hresult InitializeCom(std::uint32_t flags) override
    {
        const auto fault = CountCom("Wmi::InitializeCom", {Error}, hresult::kRpcChangedMode);
        return fault ? fault->Result() : ForwardingWmi::InitializeCom(flags);
    }
    Hresult InitializeSecurity(std::int32_t services, std::uint32_t level, std::uint32_t impersonation,
                               std::uint32_t capabilities) override
    {
        const auto fault = CountCom("Wmi::InitializeSecurity", {Error}, hresult::kRpcTooLate);
        return fault ? fault->Result() : ForwardingWmi::InitializeSecurity(services, level, impersonation, capabilities);
    }
    Bstr AllocateString(const char16_t* text) override
    {
        return Count("Wmi::AllocateString", {Null}, 0, Utf8(text)) ? nullptr : ForwardingWmi::AllocateString(text);
    }
    Hresult CreateLocator(ComObject** locator) override
    {
        const auto fault = CountCom("Wmi::CreateLocator", {Error}, hresult::kClassNotRegistered);
        return fault ? fault->Result(locator) : ForwardingWmi::CreateLocator(locator);
    }
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        const auto fault = CountCom("Wmi::ConnectServer", {Error, Null}, hresult::kAccessDenied, Utf8(path));
        return fault ? fault->Result(services) : ForwardingWmi::ConnectServer(locator, path, services);
    }
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization, std::uint32_t level,
                            std::uint32_t impersonation, std::uint32_t capabilities) override
    {
        const auto fault = CountCom("Wmi::SetProxyBlanket", {Error}, hresult::kAccessDenied);
        return fault ? fault->Result()
                     : ForwardingWmi::SetProxyBlanket(services, authentication, authorization, level, impersonation, capabilities);
    }
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        const auto fault = CountCom("Wmi::ExecQuery", {Error, Null}, hresult::kWbemFailed, Utf8(query));
        return fault ? fault->Result(enumerator) : ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
    }
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override
    {
        const auto fault = CountCom("Wmi::Next", {Error, ShortData}, hresult::kWbemFailed);
        if (!fault) {
            return ForwardingWmi::Next(enumerator, timeout, object, returned);
        }
        *returned = 0;
        const Hresult result = fault->Result(object);
        return fault->Is(ShortData) ? hresult::kWbemSFalse : result;
    }
    Hresult Get(ComObject* object, const char16_t* name, platform::Variant* value) override
    {
        const auto fault = CountCom("Wmi::Get", {Error, Null}, hresult::kWbemNotFound, Utf8(name));
        if (fault && fault->Is(Error)) {
            return fault->Result();
        }
        const Hresult result = ForwardingWmi::Get(object, name, value);
        if (fault && !platform::Failed(result)) {
            // A property without a value. What the inner port gave is kept and handed back when the variant is cleared.
            const std::lock_guard lock(m_Mutex);
            m_Hidden[value] = std::exchange(*value, {platform::VariantType::Null, 0});
        }
        return result;
    }
    void ClearVariant(platform::Variant* value) noexcept override
    {
        {
            const std::lock_guard lock(m_Mutex);
            if (const auto hidden = m_Hidden.extract(value)) {
                *value = hidden.mapped();
            }
        }
        ForwardingWmi::ClearVariant(value);
    }
    Hresult ArrayUpperBound(platform::SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        const auto fault = CountCom("Wmi::ArrayUpperBound", {Error}, hresult::kInvalidArgument);
        return fault ? fault->Result() : ForwardingWmi::ArrayUpperBound(array, dimension, bound);
    }
    Hresult ArrayElement(platform::SafeArray* array, std::int32_t index, void* element) override
    {
        const auto fault = CountCom("Wmi::ArrayElement", {Error}, hresult::kDispBadIndex, std::to_string(index));
        return fault ? fault->Result() : ForwardingWmi::ArrayElement(array, index, element);
    }

    // ---- Pdh ----

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, platform::PdhQueryObject** query) override
    {
        const auto fault = Count("Pdh::OpenQuery", {Error}, pdh::kMemoryAllocation);
        return fault ? fault->error : ForwardingPdh::OpenQuery(dataSource, userData, query);
    }
    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        return Names("Pdh::EnumInstances", pdh::kNoObject, buffer, characters,
                     [&](char16_t* names, std::uint32_t* count) { return ForwardingPdh::EnumInstances(object, names, count); });
    }
    PdhStatus CounterInstances(platform::PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        return Names("Pdh::CounterInstances", pdh::kNoInstance, buffer, characters,
                     [&](char16_t* names, std::uint32_t* count) { return ForwardingPdh::CounterInstances(counter, names, count); });
    }
    PdhStatus AddEnglishCounter(platform::PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                platform::PdhCounterObject** counter) override
    {
        const auto fault = Count("Pdh::AddEnglishCounter", {Error}, pdh::kNoCounter, Utf8(path));
        return fault ? fault->error : ForwardingPdh::AddEnglishCounter(query, path, userData, counter);
    }
    PdhStatus CollectQueryData(platform::PdhQueryObject* query) override
    {
        const auto fault = Count("Pdh::CollectQueryData", {Error}, pdh::kNoData);
        return fault ? fault->error : ForwardingPdh::CollectQueryData(query);
    }
    PdhStatus FormattedValue(platform::PdhCounterObject* counter, std::uint32_t format, platform::PdhCounterValue* value) override
    {
        const auto fault = Count("Pdh::FormattedValue", {Error}, pdh::kInvalidData);
        return fault ? fault->error : ForwardingPdh::FormattedValue(counter, format, value);
    }

    // ---- Text: no error but the result 0 ----

    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override
    {
        return Count("Text::WideToUtf8", {Error}, 0) ? 0 : ForwardingText::WideToUtf8(text, characters, out, outBytes);
    }
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override
    {
        return Count("Text::DefaultToWide", {Error}, 0) ? 0 : ForwardingText::DefaultToWide(text, bytes, out, outCharacters);
    }

private:
    // Counts a call; gives its fault when it is the one to fail. `kinds` are those of the operation beside BadAlloc, which is
    // thrown.
    std::optional<Fault> Count(const char* operation, std::vector<FaultKind> kinds, std::uint32_t usualError,
                               std::string subject = {})
    {
        const std::lock_guard lock(m_Mutex);
        kinds.push_back(BadAlloc);
        const bool fails = m_FailingCall == m_Calls.size() && std::ranges::find(kinds, m_Kind) != kinds.end();
        m_Calls.push_back({operation, std::move(subject), std::move(kinds)});
        m_Reached = m_Reached || fails;
        if (fails && m_Kind == BadAlloc) {
            throw std::bad_alloc();
        }
        return fails ? std::optional(Fault{m_Kind, m_Code.value_or(usualError)}) : std::nullopt;
    }
    std::optional<Fault> CountCom(const char* operation, std::vector<FaultKind> kinds, Hresult usualError, std::string subject = {})
    {
        return Count(operation, std::move(kinds), static_cast<std::uint32_t>(usualError), std::move(subject));
    }
    std::optional<Fault> CountWin32(const char* operation, std::vector<FaultKind> kinds, std::uint32_t usualError,
                                    std::string subject = {})
    {
        const auto fault = Count(operation, std::move(kinds), usualError, std::move(subject));
        if (fault) {
            platform::SaveLastError(fault->error);
        }
        return fault;
    }

    template <class List>
    PdhStatus Names(const char* operation, PdhStatus usualError, char16_t* buffer, std::uint32_t* characters, const List& list)
    {
        const auto fault = Count(operation, {Error, ShortData}, usualError, buffer == nullptr ? "size" : "names");
        if (!fault || fault->Is(Error)) {
            return fault ? fault->error : list(buffer, characters);
        }
        // As if instances came meanwhile: less room is asked for than is needed, or the room that there is does not suffice.
        std::uint32_t needed = 0;
        const PdhStatus status = list(nullptr, &needed);
        *characters = buffer == nullptr ? needed / 2 : needed;
        return status;
    }

    std::string PathOf(NativeHandle device) const
    {
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Paths.find(device);
        return found != m_Paths.end() ? found->second : std::string{};
    }

    mutable std::mutex m_Mutex;
    std::vector<CountedCall> m_Calls;
    std::optional<std::uint64_t> m_FailingCall;
    FaultKind m_Kind = Error;
    std::optional<std::uint32_t> m_Code;
    bool m_Reached = false;
    std::map<NativeHandle, std::string> m_Paths;  // as last opened
    std::map<const platform::Variant*, platform::Variant> m_Hidden;
};

FaultingPlatform::FaultingPlatform(platform::Platform& inner) : ForwardingPlatform(inner), m_Ports(std::make_unique<Ports>(inner))
{}
FaultingPlatform::~FaultingPlatform() = default;

void FaultingPlatform::FailAt(std::uint64_t call, FaultKind kind, std::optional<std::uint32_t> code)
{
    m_Ports->Plan(call, kind, code);
}
void FaultingPlatform::PassAll() { m_Ports->Plan(std::nullopt, Error, std::nullopt); }
std::vector<CountedCall> FaultingPlatform::Calls() const { return m_Ports->Calls(); }
bool FaultingPlatform::Reached() const { return m_Ports->Reached(); }

platform::DeviceIo& FaultingPlatform::DeviceIoPort() noexcept { return *m_Ports; }
platform::Setup& FaultingPlatform::SetupPort() noexcept { return *m_Ports; }
platform::Wmi& FaultingPlatform::WmiPort() noexcept { return *m_Ports; }
platform::Firmware& FaultingPlatform::FirmwarePort() noexcept { return *m_Ports; }
platform::Pdh& FaultingPlatform::PdhPort() noexcept { return *m_Ports; }
platform::Text& FaultingPlatform::TextPort() noexcept { return *m_Ports; }

}  // namespace orbis::simulated
