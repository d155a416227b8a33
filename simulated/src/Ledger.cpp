#include <fmt/format.h>

#include <map>
#include <utility>

#include "MachineState.h"
#include "platform/Errors.h"
#include "platform/Forwarding.h"

namespace orbis::simulated {
namespace {

namespace pdh = platform::pdh;
using platform::NativeHandle;
using platform::PdhCounterObject;
using platform::PdhQueryObject;
using platform::PdhStatus;

// These are the machine itself, so their last error is that of its very last call and not the saved one of decorators.
class DeviceIoLedger final : public platform::ForwardingDeviceIo {
public:
    DeviceIoLedger(MachineState& machine, std::unique_ptr<platform::DeviceIo> port)
        : ForwardingDeviceIo(*port), m_Machine(machine), m_Port(std::move(port))
    {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        const NativeHandle handle = m_Port->Open(path, access, share, security, disposition, flags, templateFile);
        m_Machine.open.deviceHandles += handle != platform::kInvalidHandle && handle != 0 ? 1 : 0;
        return handle;
    }
    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override
    {
        return Check(m_Port->Control(device, code, in, inSize, out, outSize, returned, overlapped),
                     [code] { return fmt::format("Control {:#010x} on", code); });
    }
    bool Close(NativeHandle device) noexcept override
    {
        const bool closed = Check(m_Port->Close(device), [] { return "Close of"; });
        m_Machine.open.deviceHandles -= closed ? 1 : 0;
        return closed;
    }
    std::uint32_t LastError() const noexcept override { return m_Port->LastError(); }

private:
    template <typename What>
    bool Check(bool done, What what) const
    {
        if (!done && LastError() == platform::win32::kInvalidHandle) {
            m_Machine.ReportMisuse(fmt::format("DeviceIo::{} a handle that is not open", what()));
        }
        return done;
    }

    MachineState& m_Machine;
    const std::unique_ptr<platform::DeviceIo> m_Port;
};

class SetupLedger final : public platform::Setup {
public:
    SetupLedger(MachineState& machine, std::unique_ptr<platform::Setup> port) : m_Machine(machine), m_Port(std::move(port)) {}

    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override
    {
        const auto set = m_Port->ClassDevices(classGuid, enumerator, parentWindow, flags);
        m_Machine.open.deviceSets += set != platform::kInvalidDeviceInfoSet && set != 0 ? 1 : 0;
        return set;
    }
    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override
    {
        return Check(m_Port->EnumDeviceInterfaces(set, interfaceClass, index, data), "EnumDeviceInterfaces on");
    }
    bool DeviceInterfaceDetail(platform::DeviceInfoSetHandle set, const platform::DeviceInterfaceData& data, void* detail,
                               std::uint32_t detailSize, std::uint32_t* required) override
    {
        return Check(m_Port->DeviceInterfaceDetail(set, data, detail, detailSize, required), "DeviceInterfaceDetail on");
    }
    bool EnumDeviceInfo(platform::DeviceInfoSetHandle set, std::uint32_t index, platform::DeviceInfoData* data) override
    {
        return Check(m_Port->EnumDeviceInfo(set, index, data), "EnumDeviceInfo on");
    }
    bool DeviceProperty(platform::DeviceInfoSetHandle set, const platform::DeviceInfoData& data,
                        const platform::DevicePropertyKey& key, std::uint32_t* type, void* buffer, std::uint32_t bufferSize,
                        std::uint32_t* required, std::uint32_t flags) override
    {
        return Check(m_Port->DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags), "DeviceProperty on");
    }
    bool DestroyDeviceInfoList(platform::DeviceInfoSetHandle set) noexcept override
    {
        const bool destroyed = Check(m_Port->DestroyDeviceInfoList(set), "DestroyDeviceInfoList of");
        m_Machine.open.deviceSets -= destroyed ? 1 : 0;
        return destroyed;
    }
    std::uint32_t LastError() const noexcept override { return m_Port->LastError(); }

private:
    bool Check(bool done, const char* what) const
    {
        if (!done && LastError() == platform::win32::kInvalidHandle) {
            m_Machine.ReportMisuse(fmt::format("Setup::{} a set that is not open", what));
        }
        return done;
    }

    MachineState& m_Machine;
    const std::unique_ptr<platform::Setup> m_Port;
};

class PdhLedger final : public platform::ForwardingPdh {
public:
    PdhLedger(MachineState& machine, std::unique_ptr<platform::Pdh> port)
        : ForwardingPdh(*port), m_Machine(machine), m_Port(std::move(port))
    {}

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) override
    {
        const PdhStatus status = ForwardingPdh::OpenQuery(dataSource, userData, query);
        m_Machine.open.counterQueries += status == pdh::kOk ? 1 : 0;
        return status;
    }
    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                PdhCounterObject** counter) override
    {
        const PdhStatus status = ForwardingPdh::AddEnglishCounter(query, path, userData, counter);
        if (status == pdh::kOk) {
            ++m_Machine.open.counters;
            const std::lock_guard lock(m_Mutex);
            ++m_Counters[query];
        }
        return status;
    }
    PdhStatus CollectQueryData(PdhQueryObject* query) override
    {
        return Check(ForwardingPdh::CollectQueryData(query), "CollectQueryData on a query that is not open");
    }
    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, platform::PdhCounterValue* value) override
    {
        return Check(ForwardingPdh::FormattedValue(counter, format, value), "FormattedValue of a counter that does not exist");
    }
    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        return Check(ForwardingPdh::CounterInstances(counter, buffer, characters),
                     "CounterInstances of a counter that does not exist");
    }
    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override
    {
        const PdhStatus status = Check(ForwardingPdh::CloseQuery(query), "CloseQuery of a query that is not open");
        if (status == pdh::kOk) {
            --m_Machine.open.counterQueries;
            const std::lock_guard lock(m_Mutex);
            m_Machine.open.counters -= std::exchange(m_Counters[query], 0);
        }
        return status;
    }

private:
    PdhStatus Check(PdhStatus status, const char* what) const
    {
        if (status == pdh::kInvalidHandle) {
            m_Machine.ReportMisuse(fmt::format("Pdh::{}", what));
        }
        return status;
    }

    MachineState& m_Machine;
    const std::unique_ptr<platform::Pdh> m_Port;
    std::mutex m_Mutex;
    std::map<PdhQueryObject*, std::int64_t> m_Counters;
};

}  // namespace

std::unique_ptr<platform::DeviceIo> WatchDeviceIo(MachineState& machine, std::unique_ptr<platform::DeviceIo> port)
{
    return std::make_unique<DeviceIoLedger>(machine, std::move(port));
}

std::unique_ptr<platform::Setup> WatchSetup(MachineState& machine, std::unique_ptr<platform::Setup> port)
{
    return std::make_unique<SetupLedger>(machine, std::move(port));
}

std::unique_ptr<platform::Pdh> WatchPdh(MachineState& machine, std::unique_ptr<platform::Pdh> port)
{
    return std::make_unique<PdhLedger>(machine, std::move(port));
}

}  // namespace orbis::simulated
