#include <fmt/format.h>

#include <array>
#include <iterator>

#include "Checker.h"
#include "MachineState.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

// Bytes in the largest binary unit that leaves a whole part, one decimal above MiB.
std::string Size(std::uint64_t bytes)
{
    constexpr std::array kUnits{"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= 1024 && unit + 1 < kUnits.size(); ++unit) {
        value /= 1024;
    }
    return fmt::format("{:.{}f} {}", value, unit > 2 ? 1 : 0, kUnits[unit]);
}

// Device text for a terminal: valid UTF-8 without control characters.
std::string Printable(std::string_view text)
{
    std::string result = platform::ValidUtf8(text);
    for (char& c : result) {
        c = static_cast<unsigned char>(c) < ' ' || c == '\x7F' ? '?' : c;
    }
    return result;
}

class Summary {
public:
    template <typename... Arguments>
    void Line(int depth, fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        fmt::format_to(std::back_inserter(m_Text), "{:{}}", "", depth * 2);
        fmt::format_to(std::back_inserter(m_Text), format, std::forward<Arguments>(arguments)...);
        m_Text.erase(m_Text.find_last_not_of(' ') + 1);
        m_Text += '\n';
    }
    [[nodiscard]] std::string Take() { return std::move(m_Text); }

private:
    std::string m_Text;
};

std::string VolumeText(const description::Volume& volume)
{
    std::string text = volume.letter().empty() ? "no letter" : ToUpper(volume.letter()) + ":";
    for (const std::string& part : {volume.label(), volume.file_system()}) {
        text += part.empty() ? "" : " " + Printable(part);
    }
    text += volume.boot() ? ", boot" : "";
    text += volume.system() ? ", system" : "";
    text += volume.page_file() ? ", page file" : "";
    return text;
}

void AddPartitions(Summary& summary, const description::Disk& disk)
{
    const bool gpt = disk.has_gpt();
    if (!gpt && !disk.has_mbr()) {
        summary.Line(2, "not partitioned");
        return;
    }
    const auto& partitions = gpt ? disk.gpt().partition() : disk.mbr().partition();
    summary.Line(2, "{}, partitions: {}", gpt ? "GPT " + disk.gpt().disk_id() : fmt::format("MBR {:08X}", disk.mbr().signature()),
                 partitions.size());
    for (int i = 0; i < partitions.size(); ++i) {
        const description::Partition& partition = partitions.Get(i);
        const std::string type = gpt ? PartitionTypeName(PartitionType(partition.type()).value_or(platform::Guid{}))
                                     : fmt::format("{:#04x}", partition.has_mbr_type() ? partition.mbr_type() : 7);
        summary.Line(3, "{:>2}  {:<8}  {:>10}  {}", partition.has_number() ? partition.number() : static_cast<std::uint32_t>(i) + 1,
                     type, Size(partition.size()),
                     partition.has_volume() ? VolumeText(partition.volume()) : Printable(partition.name()));
    }
}

void AddDisk(Summary& summary, const description::Disk& description, std::uint32_t position)
{
    const std::unique_ptr<DiskModel> disk = BuildDisk(description, position);
    summary.Line(1, "disk {}: {}, {}, {}", disk->number, disk->traits->summary, Size(description.size()),
                 Printable(disk->windowsModel));
    summary.Line(2, "serial {}, firmware {}, bus type {}, media type {}", Printable(disk->serial), Printable(disk->firmware),
                 disk->busType, disk->mediaType);
    summary.Line(2, "{}", Printable(disk->pnpDeviceId));
    const auto after = [&](const char* what, bool isGiven, double seconds) {
        if (isGiven) {
            summary.Line(2, "{} after {} s", what, seconds);
        }
    };
    after("arrives", description.has_arrives_at(), description.arrives_at());
    after("falls asleep", description.has_sleeps_at(), description.sleeps_at());
    after("wakes up", description.has_wakes_at(), description.wakes_at());
    after("leaves", description.has_leaves_at(), description.leaves_at());
    if (description.no_medium()) {
        summary.Line(2, "no medium");
    }
    for (const description::CounterChange& change : description.counter_change()) {
        summary.Line(2, "counters after {} s: {}{}", change.at(), Printable(change.name()), change.restarts() ? ", from zero" : "");
    }
    if (description.open_error() != 0) {
        summary.Line(2, "refuses to be opened: error {}", description.open_error());
    }
    for (const auto& [identifier, page] : disk->nvmeLogPages) {
        summary.Line(2, "log page {:02X}h, {} bytes", identifier, page.content.size());
    }
    if (disk->traits->isAta) {
        summary.Line(2, "SMART attributes: {}",
                     description.ata().attribute_size() > 0    ? std::to_string(description.ata().attribute_size())
                     : description.ata().smart_data_size() > 0 ? std::string("by bytes")
                                                               : std::string("none"));
    }
    if (description.exchange_size() > 0) {
        summary.Line(2, "recorded exchanges: {}", description.exchange_size());
    }
    AddPartitions(summary, description);
}

// Bytes for people: runs of zeros are folded, long content is cut.
std::string Folded(const std::string& bytes)
{
    constexpr std::size_t kMostBytes = 48;
    std::string text;
    std::size_t shown = 0;
    for (std::size_t at = 0; at < bytes.size() && shown < kMostBytes; ++shown) {
        const std::size_t end = std::min(bytes.find_first_not_of('\0', at), bytes.size());
        constexpr std::size_t kShortRun = 4;
        if (end - at > kShortRun) {
            text += fmt::format(" {}x00", end - at);
            at = end;
        } else {
            text += fmt::format(" {:02X}", static_cast<unsigned char>(bytes[at++]));
        }
    }
    return shown < kMostBytes ? text : text + fmt::format(" ... {} bytes", bytes.size());
}

void AddRecording(Summary& summary, const insight::Recording& recording)
{
    summary.Line(1, "recorded by {} on {}, code page {}, {}{}", Printable(recording.program()), Printable(recording.system()),
                 recording.code_page(), recording.elevated() ? "elevated" : "not elevated",
                 recording.redacted() ? ", identifiers replaced" : "");
    for (const insight::RecordedCall& call : recording.call()) {
        summary.Line(1, "{} {} {:#x}{}", Printable(call.operation()), Printable(call.subject()), call.code(),
                     call.request().empty() ? "" : ":" + Folded(call.request()));
        for (const insight::RecordedAnswer& answer : call.answer()) {
            summary.Line(2, "{}{}{}{}", answer.error() != 0 ? fmt::format("error {:#x}", answer.error()) : "ok",
                         answer.times() > 1 ? fmt::format(", {} times", answer.times()) : "",
                         answer.output().empty() ? "" : ":" + Folded(answer.output()),
                         answer.data().empty() ? "" : ", data:" + Folded(answer.data()));
        }
    }
    for (const insight::RecordedQuery& query : recording.query()) {
        summary.Line(1, "{}: {}", Printable(query.wmi_namespace()), Printable(query.text()));
        for (const insight::RecordedExecution& execution : query.execution()) {
            summary.Line(2, "{} rows{}, end {:#x}", execution.row_size(),
                         execution.times() > 1 ? fmt::format(", {} times", execution.times()) : "", execution.end());
        }
    }
}

}  // namespace

std::string SummaryOf(const description::Machine& machine)
{
    Summary summary;
    const std::string& title = machine.title().empty() ? machine.recording().title() : machine.title();
    summary.Line(0, "{}", title.empty() ? "A machine without a title" : Printable(title));
    if (machine.has_recording()) {
        AddRecording(summary, machine.recording());
        return summary.Take();
    }
    summary.Line(1, "code page {}, {}", machine.has_code_page() ? machine.code_page() : 65001,
                 machine.has_elevated() && !machine.elevated() ? "not elevated" : "elevated");
    std::uint32_t position = 0;
    for (const description::Disk& disk : machine.disk()) {
        AddDisk(summary, disk, position++);
    }
    if (machine.disk_size() == 0) {
        summary.Line(1, "no disks");
    }
    for (const description::LooseVolume& volume : machine.volume()) {
        summary.Line(1, "{}: {}", ToUpper(volume.letter()),
                     volume.has_disk() ? fmt::format("on no partition, of disk {}", volume.disk()) : "on no disk of this machine");
    }
    for (const description::Device& device : machine.device()) {
        summary.Line(1, "device {}, recorded exchanges: {}", Printable(device.path()), device.exchange_size());
    }
    if (machine.has_smbios()) {
        summary.Line(1, "SMBIOS: {} {}, {} bytes", Printable(machine.smbios().manufacturer()),
                     Printable(machine.smbios().product()), BuildSmbios(machine.smbios()).size());
    }
    for (const description::FirmwareTable& table : machine.firmware_table()) {
        summary.Line(1, "firmware table {} {}, {} bytes", table.provider(), table.table(), ToBytes(table.content()).size());
    }
    for (const description::WmiClass& wmiClass : machine.wmi_class()) {
        summary.Line(1, "WMI class {}, rows of its own: {}", Printable(wmiClass.name()), wmiClass.row_size());
    }
    for (const description::CounterObject& object : machine.counter_object()) {
        summary.Line(1, "counter object {}, recorded instances: {}", Printable(object.name()), object.instance_size());
    }
    return summary.Take();
}

}  // namespace orbis::simulated
