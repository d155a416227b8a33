#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <set>
#include <unordered_map>

#include "DeviceRequests.h"
#include "MachineState.h"
#include "emulated/CaseFolding.h"
#include "emulated/DeviceIo.h"
#include "platform/Errors.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;
using platform::emulated::LowerAscii;
using platform::emulated::UpperAscii;

constexpr std::uint32_t kDriveTypeNetwork = 4;

bool Matches(const ExchangeModel& exchange, const Request& request, const PassThroughSummary& summary)
{
    const description::Exchange& wanted = exchange.description;
    const auto differs = [](bool given, std::uint32_t value, auto actual) { return given && (!actual || *actual != value); };
    if (differs(wanted.has_control_code(), wanted.control_code(), &request.code) ||
        differs(wanted.has_ata_command(), wanted.ata_command(), summary.ata ? &summary.ata->command : nullptr) ||
        differs(wanted.has_ata_features(), wanted.ata_features(), summary.ata ? &summary.ata->features : nullptr) ||
        differs(wanted.has_scsi_opcode(), wanted.scsi_opcode(), summary.scsiOpcode) ||
        differs(wanted.has_nvme_log_page(), wanted.nvme_log_page(), summary.nvmeLogPage) ||
        exchange.input.size() > request.input.size()) {
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
bool TakeUse(ExchangeModel& exchange) { return exchange.description.uses() == 0 || exchange.used++ < exchange.description.uses(); }

void PutByte(ByteVector& bytes, std::size_t offset, std::uint32_t value)
{
    if (offset < bytes.size()) {
        bytes[offset] = static_cast<std::uint8_t>(value);
    }
}

// The answer of the exchange; patches are applied to the device's own answer.
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
    LayOver(reply.output, 0, exchange.output);
    LayOver(reply.data, 0, exchange.data);
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

Reply Answer(const MachineState& machine, const Target& target, const Request& request, const PassThroughSummary& summary)
{
    if (target.exchanges != nullptr) {
        for (const auto& exchange : *target.exchanges) {
            if (Matches(*exchange, request, summary) && TakeUse(*exchange)) {
                machine.Delay(exchange->description.delay(), exchange->description.never());
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

// A device that is open.
class OpenTarget final : public platform::emulated::Device {
public:
    OpenTarget(MachineState& machine, Target target) : m_Machine(machine), m_Target(target) {}

    std::uint32_t Control(std::uint32_t code, platform::emulated::ControlBuffers& buffers) override
    {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffers.in.data());
        const Request request{
            code, {bytes, bytes + buffers.in.size()}, static_cast<std::uint32_t>(buffers.out.size()), m_Machine.clock.Seconds()};
        if (m_Target.disk != nullptr && !m_Target.disk->PresentAt(request.now)) {
            return win32::kDeviceNotConnected;
        }
        m_Machine.Reach(m_Target.disk, "a request");
        const PassThroughSummary summary = Summarise(request);
        const bool hasData = IsDirect(code) && summary.dataTransferLength > 0;
        void* data = hasData ? buffers.Request<void*>(kDataPointerOffset).value_or(nullptr) : nullptr;
        if (hasData && data == nullptr) {
            return win32::kInvalidParameter;
        }
        Reply reply = Answer(m_Machine, m_Target, request, summary);
        if (reply.error == win32::kSuccess) {
            CopyOut(reply.data, data, summary.dataTransferLength);
            if (IsDirect(code)) {  // the caller's own pointer stays in the structure
                const std::size_t end = std::min({kDataPointerOffset + sizeof(void*), reply.output.size(), request.input.size()});
                for (std::size_t i = kDataPointerOffset; i < end; ++i) {
                    reply.output[i] = request.input[i];
                }
            }
            CopyOut(reply.output, buffers.out.data(), buffers.out.size());
            buffers.returned =
                reply.returned.value_or(static_cast<std::uint32_t>(std::min(buffers.out.size(), reply.output.size())));
        }
        return reply.error;
    }

private:
    MachineState& m_Machine;
    const Target m_Target;
};

class SimulatedDeviceIo final : public platform::emulated::DeviceIo {
public:
    explicit SimulatedDeviceIo(MachineState& machine) : m_Machine(machine)
    {
        for (const description::Device& device : machine.description.device()) {
            m_Exchanges.push_back(BuildExchanges(device.exchange()));
            m_Paths[LowerAscii(device.path())].push_back({.exchanges = &m_Exchanges.back(), .openError = device.open_error()});
        }
        for (const auto& disk : machine.disks) {
            const Target whole{.disk = disk.get(), .exchanges = &disk->exchanges};
            m_Paths[fmt::format(R"(\\.\physicaldrive{})", disk->number)].push_back(whole);
            m_Paths[LowerAscii(disk->interfacePath)].push_back(whole);
            for (const auto& volume : disk->volumes) {
                const Target part{.disk = disk.get(),
                                  .volume = volume.get(),
                                  .exchanges = &volume->exchanges,
                                  .openError = volume->description->open_error()};
                // The volume's own path is opened without its last backslash.
                const std::string own = LowerAscii(volume->guidPath);
                m_Paths[own.substr(0, own.size() - 1)].push_back(part);
                m_Paths[PathOf(volume->letter)].push_back(part);
            }
        }
        for (const description::LooseVolume& volume : machine.description.volume()) {
            m_Paths[PathOf(volume.letter().front())].push_back({.disk = machine.DiskOf(volume), .looseVolume = &volume});
        }
        m_Paths.erase(PathOf('\0'));
    }

protected:
    Opened OpenPath(const std::string& path, std::uint32_t access) override
    {
        const Target* target = Find(path);
        if (target == nullptr) {
            return {win32::kFileNotFound, nullptr};
        }
        m_Machine.Reach(target->disk, "an open");
        return {ErrorOf(*target, access), std::make_shared<OpenTarget>(m_Machine, *target)};
    }

    std::optional<platform::PowerState> PowerOfPath(const std::string& path) override
    {
        using platform::PowerState;
        const Target* target = Find(path);
        if (target == nullptr || ErrorOf(*target, 0) == win32::kFileNotFound) {
            return std::nullopt;
        }
        if (target->disk == nullptr) {
            return PowerState::Unknown;
        }
        target->disk->isKnownAsleep = target->disk->AsleepAt(m_Machine.clock.Seconds());
        return target->disk->isKnownAsleep ? PowerState::Asleep : PowerState::Awake;
    }

    std::string DriveLetters() override
    {
        std::set<char> letters;
        for (const DiskModel* disk : m_Machine.PresentDisks()) {
            for (const auto& volume : disk->volumes) {
                letters.insert(volume->letter);
            }
        }
        for (const description::LooseVolume* volume : m_Machine.PresentLooseVolumes()) {
            letters.insert(UpperAscii(volume->letter().front()));
        }
        letters.erase('\0');
        return {letters.begin(), letters.end()};
    }

private:
    static std::string PathOf(char letter)
    {
        return letter != 0 ? fmt::format(R"(\\.\{}:)", platform::emulated::LowerAscii(letter)) : std::string{};
    }

    // The target with this path, or null; disks and volumes only while they are plugged in.
    const Target* Find(const std::string& path) const
    {
        const auto names = m_Paths.find(LowerAscii(path));
        if (names == m_Paths.end()) {
            return nullptr;
        }
        const double now = m_Machine.clock.Seconds();
        const auto isThere = [&](const Target& named) { return named.disk == nullptr || named.disk->PresentAt(now); };
        const auto found = std::ranges::find_if(names->second, isThere);
        return found != names->second.end() ? &*found : nullptr;
    }

    // The Win32 error of opening it.
    std::uint32_t ErrorOf(const Target& target, std::uint32_t access) const
    {
        if (const description::LooseVolume* volume = target.looseVolume) {
            const bool network = volume->has_drive_type() && volume->drive_type() == kDriveTypeNetwork;
            return volume->has_open_error() ? volume->open_error() : network ? win32::kFileNotFound : CheckElevation(access);
        }
        if (target.openError != win32::kSuccess || target.disk == nullptr) {
            return target.openError;
        }
        const description::Disk& disk = *target.disk->description;
        const bool refuses = disk.open_error_access() == 0 || (disk.open_error_access() & access) != 0;
        return disk.open_error() != 0 && refuses ? disk.open_error() : CheckElevation(access);
    }

    // Without elevation a disk or volume may be opened for its attributes only.
    std::uint32_t CheckElevation(std::uint32_t access) const
    {
        const bool elevated = !m_Machine.description.has_elevated() || m_Machine.description.elevated();
        const std::uint32_t content = platform::kGenericRead | platform::kGenericWrite | platform::emulated::kGenericAll |
                                      platform::emulated::kFileReadData | platform::emulated::kFileWriteData;
        return elevated || (access & content) == 0 ? win32::kSuccess : win32::kAccessDenied;
    }

    MachineState& m_Machine;
    std::deque<ExchangeList> m_Exchanges;                          // of devices
    std::unordered_map<std::string, std::vector<Target>> m_Paths;  // by lower-case path
};

}  // namespace

std::unique_ptr<platform::DeviceIo> MakeDeviceIoPort(MachineState& machine) { return std::make_unique<SimulatedDeviceIo>(machine); }

}  // namespace orbis::simulated
