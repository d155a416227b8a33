#include "Ledger.h"

#include <fmt/format.h>

#include <map>
#include <utility>

#include "DeviceRequests.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

namespace pdh = platform::pdh;
using platform::NativeHandle;
using platform::PdhCounterObject;
using platform::PdhQueryObject;
using platform::PdhStatus;

class DeviceIoLedger final : public platform::DeviceIo {
public:
    DeviceIoLedger(MachineState& machine, std::unique_ptr<platform::DeviceIo> port) : m_Machine(machine), m_Port(std::move(port)) {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        const NativeHandle handle = m_Port->Open(path, access, share, security, disposition, flags, templateFile);
        const bool isOpen = handle != platform::kInvalidHandle && handle != 0;
        m_Machine.open.deviceHandles += isOpen ? 1 : 0;
        if (m_Machine.KeepsJournal() && path != nullptr) {
            JournalEntry entry;
            entry.operation = "DeviceIo::Open";
            entry.subject = platform::Utf16ToUtf8(path);
            entry.access = access;
            entry.error = isOpen ? 0 : LastError();
            const std::lock_guard lock(m_Mutex);
            m_Opened.insert_or_assign(handle, entry);
            m_Machine.Record(std::move(entry));
        }
        return handle;
    }

    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override
    {
        // The input may be the output too, so it is copied first.
        JournalEntry entry;
        if (m_Machine.KeepsJournal()) {
            entry = Request(device, code, {static_cast<const std::uint8_t*>(in), in != nullptr ? inSize : 0});
            entry.outputSize = out != nullptr ? outSize : 0;
        }
        const bool done = m_Port->Control(device, code, in, inSize, out, outSize, returned, overlapped);
        Check(done, [code] { return fmt::format("Control {:#010x} on", code); });
        if (m_Machine.KeepsJournal()) {
            entry.error = done ? 0 : LastError();
            m_Machine.Record(std::move(entry));
        }
        return done;
    }

    bool Close(NativeHandle device) noexcept override
    {
        const bool closed = m_Port->Close(device);
        m_Machine.open.deviceHandles -= closed ? 1 : 0;
        Check(closed, [] { return std::string("Close of"); });
        return closed;
    }

    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        return m_Port->LogicalDriveStrings(characters, buffer);
    }
    std::uint32_t LastError() const noexcept override { return m_Port->LastError(); }

private:
    template <typename What>
    void Check(bool done, What what) const
    {
        if (!done && LastError() == platform::win32::kInvalidHandle) {
            m_Machine.ReportMisuse("DeviceIo::" + what() + " a handle that is not open");
        }
    }

    JournalEntry Request(NativeHandle device, std::uint32_t code, ByteSpan input)
    {
        const simulated::Request request{code, {input.begin(), input.end()}};
        PassThroughSummary summary = Summarise(request);
        JournalEntry entry;
        {
            const std::lock_guard lock(m_Mutex);
            entry = m_Opened[device];
        }
        entry.operation = "DeviceIo::Control";
        entry.controlCode = code;
        entry.input = request.input;
        if (IsDirect(code) && entry.input.size() >= kDataPointerOffset + sizeof(void*)) {
            std::fill_n(entry.input.begin() + kDataPointerOffset, sizeof(void*), std::uint8_t{0});
        }
        entry.command = std::move(summary.command);
        entry.dataToDevice = summary.dataToDevice;
        entry.dataTransferLength = summary.dataTransferLength;
        return entry;
    }

    MachineState& m_Machine;
    const std::unique_ptr<platform::DeviceIo> m_Port;
    std::mutex m_Mutex;
    std::map<NativeHandle, JournalEntry> m_Opened;  // while the journal is on
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

class PdhLedger final : public platform::Pdh {
public:
    PdhLedger(MachineState& machine, std::unique_ptr<platform::Pdh> port) : m_Machine(machine), m_Port(std::move(port)) {}

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) override
    {
        const PdhStatus status = m_Port->OpenQuery(dataSource, userData, query);
        m_Machine.open.counterQueries += status == pdh::kOk ? 1 : 0;
        return status;
    }
    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        return m_Port->EnumInstances(object, buffer, characters);
    }
    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                PdhCounterObject** counter) override
    {
        const PdhStatus status = m_Port->AddEnglishCounter(query, path, userData, counter);
        if (status == pdh::kOk) {
            ++m_Machine.open.counters;
            const std::lock_guard lock(m_Mutex);
            ++m_Counters[query];
        }
        return status;
    }
    PdhStatus CollectQueryData(PdhQueryObject* query) override
    {
        return Check(m_Port->CollectQueryData(query), "CollectQueryData on a query that is not open");
    }
    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, platform::PdhCounterValue* value) override
    {
        return Check(m_Port->FormattedValue(counter, format, value), "FormattedValue of a counter that does not exist");
    }
    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        return Check(m_Port->CounterInstances(counter, buffer, characters), "CounterInstances of a counter that does not exist");
    }
    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override
    {
        const PdhStatus status = Check(m_Port->CloseQuery(query), "CloseQuery of a query that is not open");
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
