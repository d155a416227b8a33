#include "platform/DeviceIo.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <unordered_map>

#include "DeviceRequests.h"
#include "HandleTable.h"
#include "MachineState.h"
#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;

constexpr std::uint32_t kFileReadData = 1;
constexpr std::uint32_t kFileWriteData = 2;
constexpr std::uint32_t kGenericAll = 0x10000000;
constexpr std::uint32_t kDriveTypeNetwork = 4;

// Rights that a control code demands (CTL_CODE bits 15:14) against those of the handle.
bool IsAllowed(std::uint32_t code, std::uint32_t access)
{
    const bool mayRead = (access & (platform::kGenericRead | kGenericAll | kFileReadData)) != 0;
    const bool mayWrite = (access & (platform::kGenericWrite | kGenericAll | kFileWriteData)) != 0;
    const std::uint32_t demanded = code >> 14 & 3;
    return ((demanded & kFileReadData) == 0 || mayRead) && ((demanded & kFileWriteData) == 0 || mayWrite);
}

bool Matches(const ExchangeModel& exchange, const Request& request, const PassThroughSummary& summary)
{
    const description::Exchange& wanted = exchange.description;
    const auto differs = [](bool given, std::uint32_t value, auto actual) { return given && (!actual || *actual != value); };
    if (wanted.has_control_code() && wanted.control_code() != request.code) {
        return false;
    }
    if (differs(wanted.has_ata_command(), wanted.ata_command(), summary.ata ? &summary.ata->command : nullptr) ||
        differs(wanted.has_ata_features(), wanted.ata_features(), summary.ata ? &summary.ata->features : nullptr) ||
        differs(wanted.has_scsi_opcode(), wanted.scsi_opcode(), summary.scsiOpcode) ||
        differs(wanted.has_nvme_log_page(), wanted.nvme_log_page(), summary.nvmeLogPage)) {
        return false;
    }
    if (exchange.input.size() > request.input.size()) {
        return false;
    }
    for (std::size_t i = 0; i < exchange.input.size(); ++i) {
        const bool isPointer = IsDirect(request.code) && i >= kDataPointerOffset && i < kDataPointerOffset + sizeof(void*);
        if (!isPointer && exchange.input[i] != request.input[i]) {
            return false;
        }
    }
    return true;
}

// Takes one use of the exchange, unless they are used up.
bool TakeUse(ExchangeModel& exchange)
{
    const std::uint32_t limit = exchange.description.uses();
    if (limit == 0) {
        return true;
    }
    std::uint32_t used = exchange.used;
    while (used < limit) {
        if (exchange.used.compare_exchange_weak(used, used + 1)) {
            return true;
        }
    }
    return false;
}

void LayOver(ByteVector& bytes, const ByteVector& over)
{
    bytes.resize(std::max(bytes.size(), over.size()));
    std::copy(over.begin(), over.end(), bytes.begin());
}

void PutByte(ByteVector& bytes, std::size_t offset, std::uint32_t value)
{
    if (offset < bytes.size()) {
        bytes[offset] = static_cast<std::uint8_t>(value);
    }
}

// The answer as the exchange describes it, on top of the device's own where it says so.
Reply AnswerExchange(const ExchangeModel& exchange, const Target& target, const Request& request)
{
    const description::Exchange& wanted = exchange.description;
    Reply reply = wanted.usual() ? AnswerRequest(target, request) : Reply{};
    if (wanted.error() != 0 || reply.error != win32::kSuccess) {
        return Reply::Error(wanted.error() != 0 ? wanted.error() : reply.error);
    }
    if (!wanted.usual() && IsDirect(request.code)) {
        reply.output = request.input;  // the structure goes back as it came
    }
    LayOver(reply.output, exchange.output);
    LayOver(reply.data, exchange.data);
    if (wanted.has_scsi_status() && request.code == platform::kIoctlScsiPassThroughDirect) {
        PutByte(reply.output, offsetof(platform::ScsiPassThroughDirect, scsiStatus), wanted.scsi_status());
    }
    if (wanted.has_ata_status() && request.code == platform::kIoctlAtaPassThroughDirect) {
        PutByte(reply.output, offsetof(platform::AtaPassThroughDirect, currentTaskFile) + protocol::ata::task_file::kStatus,
                wanted.ata_status());
    }
    if (wanted.has_returned()) {
        reply.returned = wanted.returned();
    }
    return reply;
}

Reply Answer(const Target& target, const Request& request, const PassThroughSummary& summary)
{
    if (target.exchanges != nullptr) {
        for (const auto& exchange : *target.exchanges) {
            if (Matches(*exchange, request, summary) && TakeUse(*exchange)) {
                return AnswerExchange(*exchange, target, request);
            }
        }
    }
    return AnswerRequest(target, request);
}

void CopyOut(const ByteVector& bytes, void* out, std::size_t room)
{
    if (out != nullptr) {
        std::copy_n(bytes.begin(), std::min(bytes.size(), room), static_cast<std::uint8_t*>(out));
    }
}

class SimulatedDeviceIo final : public platform::DeviceIo {
public:
    explicit SimulatedDeviceIo(MachineState& machine) : m_Machine(machine)
    {
        for (const description::Device& device : machine.description.device()) {
            m_Devices.push_back({&device, BuildExchanges(device.exchange())});
        }
        for (const RawDevice& device : m_Devices) {
            m_Paths[ToLower(device.description->path())].push_back({.device = &device});
        }
        for (const auto& disk : machine.disks) {
            m_Paths[fmt::format(R"(\\.\physicaldrive{})", disk->number)].push_back({.disk = disk.get()});
            m_Paths[ToLower(disk->interfacePath)].push_back({.disk = disk.get()});
            for (const auto& volume : disk->volumes) {
                // The volume's own path is opened without its last backslash.
                const std::string own = ToLower(volume->guidPath);
                m_Paths[own.substr(0, own.size() - 1)].push_back({.disk = disk.get(), .volume = volume.get()});
                m_Paths[PathOf(volume->letter)].push_back({.disk = disk.get(), .volume = volume.get()});
            }
        }
        for (const description::LooseVolume& volume : machine.description.volume()) {
            m_Paths[PathOf(ToUpper(volume.letter()).front())].push_back({.looseVolume = &volume});
        }
        m_Paths.erase(PathOf('\0'));
    }

    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t /*share*/, void* /*security*/,
                                std::uint32_t disposition, std::uint32_t /*flags*/,
                                platform::NativeHandle /*templateFile*/) override
    {
        if (path == nullptr) {
            return FailWith(win32::kInvalidParameter, platform::kInvalidHandle);
        }
        auto target = std::make_shared<Target>();
        target->path = platform::Utf16ToUtf8(path);
        target->access = access;
        const std::uint32_t error = disposition == platform::kOpenExisting ? Find(*target) : win32::kInvalidParameter;
        m_Machine.Record([&] {
            JournalEntry entry;
            entry.operation = "DeviceIo::Open";
            entry.subject = target->path;
            entry.access = access;
            entry.error = error;
            return entry;
        });
        if (error != win32::kSuccess) {
            return FailWith(error, platform::kInvalidHandle);
        }
        const platform::NativeHandle handle = m_Handles.Add(std::move(target));
        ++m_Machine.open.deviceHandles;
        return handle;
    }

    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* /*overlapped*/) override
    {
        *returned = 0;
        const std::shared_ptr<Target> target = m_Handles.Find(device);
        if (target == nullptr) {
            m_Machine.ReportMisuse(fmt::format("DeviceIo::Control {:#010x} on a handle that is not open", code));
            return FailWith(win32::kInvalidHandle, false);
        }
        Request request;
        request.code = code;
        request.outputSize = out != nullptr ? outSize : 0;
        request.now = m_Machine.clock.Seconds();
        if (in != nullptr) {
            const auto* bytes = static_cast<const std::uint8_t*>(in);
            request.input.assign(bytes, bytes + inSize);
        }
        const PassThroughSummary summary = Summarise(request);
        const Reply reply = Answer(*target, request, summary, in);
        RecordControl(*target, request, summary, reply.error);
        if (reply.error != win32::kSuccess) {
            return FailWith(reply.error, false);
        }
        Deliver(request, reply, in, out);
        *returned = reply.returned.value_or(std::min(request.outputSize, static_cast<std::uint32_t>(reply.output.size())));
        return true;
    }

    bool Close(platform::NativeHandle device) noexcept override
    {
        if (!m_Handles.Remove(device)) {
            m_Machine.ReportMisuse("DeviceIo::Close of a handle that is not open");
            return FailWith(win32::kInvalidHandle, false);
        }
        --m_Machine.open.deviceHandles;
        return true;
    }

    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        std::set<char> letters;
        for (const DiskModel* disk : m_Machine.PresentDisks()) {
            for (const auto& volume : disk->volumes) {
                letters.insert(volume->letter);
            }
        }
        for (const description::LooseVolume& volume : m_Machine.description.volume()) {
            letters.insert(ToUpper(volume.letter()).front());
        }
        letters.erase('\0');
        m_Machine.Record([] {
            JournalEntry entry;
            entry.operation = "DeviceIo::LogicalDriveStrings";
            return entry;
        });
        std::u16string strings;
        for (const char letter : letters) {
            strings += static_cast<char16_t>(letter);
            strings += std::u16string_view(u":\\\0", 3);
        }
        const auto written = static_cast<std::uint32_t>(strings.size());
        if (buffer == nullptr || characters < written + 1) {
            return written + 1;
        }
        std::copy_n(strings.c_str(), written + 1, buffer);
        return written;
    }

    std::uint32_t LastError() const noexcept override { return simulated::LastError(); }

private:
    struct RawDevice {
        const description::Device* description;
        ExchangeList exchanges;
    };

    // What a path names; disks and volumes only while they are plugged in.
    struct Named {
        const RawDevice* device = nullptr;
        const DiskModel* disk = nullptr;
        const VolumeModel* volume = nullptr;
        const description::LooseVolume* looseVolume = nullptr;
    };

    static std::string PathOf(char letter) { return letter != 0 ? ToLower(fmt::format(R"(\\.\{}:)", letter)) : std::string{}; }

    // What the path names, into `target`; the Win32 error of opening it.
    std::uint32_t Find(Target& target) const
    {
        const auto names = m_Paths.find(ToLower(target.path));
        const double now = m_Machine.clock.Seconds();
        for (const Named& named : names != m_Paths.end() ? names->second : std::vector<Named>{}) {
            if (named.device != nullptr) {
                target.exchanges = &named.device->exchanges;
                return named.device->description->open_error();
            }
            if (named.looseVolume != nullptr) {
                target.looseVolume = named.looseVolume;
                return OpenLooseVolume(target);
            }
            if (named.disk->PresentAt(now)) {
                target.disk = named.disk;
                target.volume = named.volume;
                target.exchanges = named.volume != nullptr ? &named.volume->exchanges : &named.disk->exchanges;
                const std::uint32_t error = named.volume != nullptr ? named.volume->description->open_error() : win32::kSuccess;
                return error != win32::kSuccess ? error : OpenDisk(target);
            }
        }
        return win32::kFileNotFound;
    }

    std::uint32_t OpenLooseVolume(const Target& target) const
    {
        const description::LooseVolume& volume = *target.looseVolume;
        const bool network = volume.has_drive_type() && volume.drive_type() == kDriveTypeNetwork;
        return volume.has_open_error() ? volume.open_error() : network ? win32::kFileNotFound : CheckElevation(target.access);
    }

    std::uint32_t OpenDisk(const Target& target) const
    {
        const description::Disk& disk = *target.disk->description;
        if (disk.open_error() != 0 && (disk.open_error_access() == 0 || (disk.open_error_access() & target.access) != 0)) {
            return disk.open_error();
        }
        return CheckElevation(target.access);
    }

    // Without elevation a disk or volume may be opened for its attributes only.
    std::uint32_t CheckElevation(std::uint32_t access) const
    {
        const bool elevated = !m_Machine.description.has_elevated() || m_Machine.description.elevated();
        const std::uint32_t content =
            platform::kGenericRead | platform::kGenericWrite | kGenericAll | kFileReadData | kFileWriteData;
        return elevated || (access & content) == 0 ? win32::kSuccess : win32::kAccessDenied;
    }

    Reply Answer(const Target& target, const Request& request, const PassThroughSummary& summary, const void* in) const
    {
        if (target.disk != nullptr && !target.disk->PresentAt(request.now)) {
            return Reply::Error(win32::kDeviceNotConnected);
        }
        if (!IsAllowed(request.code, target.access)) {
            return Reply::Error(win32::kAccessDenied);
        }
        if (IsDirect(request.code) && summary.dataTransferLength > 0 && DataPointer(in) == nullptr) {
            return Reply::Error(win32::kInvalidParameter);
        }
        return simulated::Answer(target, request, summary);
    }

    static void* DataPointer(const void* in)
    {
        void* pointer = nullptr;
        std::memcpy(&pointer, static_cast<const std::uint8_t*>(in) + kDataPointerOffset, sizeof(pointer));
        return pointer;
    }

    static void Deliver(const Request& request, const Reply& reply, const void* in, void* out)
    {
        ByteVector output = reply.output;
        if (IsDirect(request.code)) {
            const PassThroughSummary summary = Summarise(request);
            if (summary.dataTransferLength > 0) {
                CopyOut(reply.data, DataPointer(in), summary.dataTransferLength);
            }
            // The caller's own pointer stays in the structure.
            const std::size_t end = std::min({kDataPointerOffset + sizeof(void*), output.size(), request.input.size()});
            for (std::size_t i = kDataPointerOffset; i < end; ++i) {
                output[i] = request.input[i];
            }
        }
        CopyOut(output, out, request.outputSize);
    }

    void RecordControl(const Target& target, const Request& request, const PassThroughSummary& summary, std::uint32_t error) const
    {
        m_Machine.Record([&] {
            JournalEntry entry;
            entry.operation = "DeviceIo::Control";
            entry.subject = target.path;
            entry.access = target.access;
            entry.controlCode = request.code;
            entry.input = request.input;
            if (IsDirect(request.code) && entry.input.size() >= kDataPointerOffset + sizeof(void*)) {
                std::fill_n(entry.input.begin() + kDataPointerOffset, sizeof(void*), std::uint8_t{0});
            }
            entry.outputSize = request.outputSize;
            entry.command = summary.command;
            entry.dataToDevice = summary.dataToDevice;
            entry.dataTransferLength = summary.dataTransferLength;
            entry.error = error;
            return entry;
        });
    }

    MachineState& m_Machine;
    std::vector<RawDevice> m_Devices;
    std::unordered_map<std::string, std::vector<Named>> m_Paths;  // by lower-case path
    HandleTable<Target> m_Handles;
};

}  // namespace

std::unique_ptr<platform::DeviceIo> MakeDeviceIoPort(MachineState& machine) { return std::make_unique<SimulatedDeviceIo>(machine); }

}  // namespace orbis::simulated
