#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <set>
#include <tuple>

#include "Subject.h"
#include "insight/Explanation.h"

// Holds the table of sources against what the collections do: each byte of each answer, each property and each sample is changed,
// one at a time and in two ways, and the fields that change with it must be those that the table names, no more and no fewer. The
// pages of NVMe are not among them: tools/nvme-bits.py writes their rows from the tables of bits, which WalkingBitTest checks.
namespace orbis::insight {
namespace {

std::string Narrow(std::u16string_view text) { return {text.begin(), text.end()}; }

std::string ClassName(const Answer& answer)
{
    const std::string query = Narrow(answer.place);
    return query.substr(std::min(query.size(), query.find(" FROM ") + 6));
}

bool IsProperty(const auto& row, const Answer& answer)
{
    return row.wmi_class() == ClassName(answer) && row.property() == Narrow(answer.property);
}

// The element of an answer that a field's message is made from, or null.
const Element* ElementOf(const std::string& field)
{
    const auto& elements = Sources().element();
    const auto found = std::find_if(elements.begin(), elements.end(),
                                    [&](const Element& one) { return one.message() == field.substr(0, field.find('.')); });
    return found == elements.end() ? nullptr : &*found;
}

// The byte within the element; else the byte itself.
std::size_t WithinElement(const std::string& field, std::size_t byte)
{
    const Element* element = ElementOf(field);
    return element == nullptr || byte < element->first() ? byte : (byte - element->first()) % element->stride();
}

// Whether a byte of the firmware's table belongs to a string of the first structure of a type.
bool IsInString(const Bytes& table, std::size_t byte, std::uint32_t type, std::uint32_t number)
{
    constexpr std::size_t kHead = 8;
    for (std::size_t at = kHead; at + 1 < table.size();) {
        const bool isType = table[at] == type;
        at += table[at + 1];
        std::uint32_t strings = 0;
        for (; at < table.size() && table[at] != 0; ++at) {
            const std::size_t begin = at;
            at = static_cast<std::size_t>(std::find(table.begin() + static_cast<std::ptrdiff_t>(at), table.end(), 0) -
                                          table.begin());
            if (++strings == number && isType) {
                return byte >= begin && byte < at;
            }
        }
        at += strings == 0 ? 2 : 1;
    }
    return false;
}

class SourcesTruth : public ::testing::TestWithParam<int> {
protected:
    // Changes bytes together, and the fewer the nearer: what changes nothing together changes nothing one at a time.
    void Try(Subject& subject, const Change& change, const Bytes& bytes, std::vector<proof::Datatype> datatypes)
    {
        const std::vector<Changed> changed = subject.Differences(change, datatypes);
        if (changed.empty()) {
            return;
        }
        if (change.first == change.last) {
            for (const Changed& one : changed) {
                Judge(one, change.answer, change.first, bytes);
            }
            return;
        }
        const std::size_t part = (change.last - change.first + 4) / 4;
        for (std::size_t first = change.first; first <= change.last; first += part) {
            Try(subject, {change.answer, first, std::min(first + part - 1, change.last), change.second}, bytes, datatypes);
        }
    }

    // The fields that should have changed but did not.
    void ExpectAllSeen(Request request) const
    {
        for (const FieldSource& row : Sources().field()) {
            for (const Place& place : row.from()) {
                if (place.request() != request) {
                    continue;
                }
                const bool isAny = !place.has_first() || IsChoice(row);
                // Rounding down to units of 2^20 hides the two lowest bytes of a value that is not multiplied.
                const bool isRounded = row.rule_size() == 1 && row.rule(0) == MEBIBYTES && !row.joined();
                const std::size_t first = isAny ? 0 : place.first() + (isRounded ? 2 : 0);
                for (std::size_t byte = first; byte <= (isAny ? 0 : place.last()) && !IsWithoutBytes(place); ++byte) {
                    const bool isSeen = std::any_of(m_Seen.begin(), m_Seen.end(), [&](const auto& seen) {
                        return std::get<0>(seen) == row.name() && std::get<1>(seen) == &place &&
                               (isAny || std::get<2>(seen) == byte);
                    });
                    EXPECT_TRUE(isSeen) << row.name() << " never changed with byte " << byte << " of " << place.ShortDebugString();
                }
            }
        }
        for (const Selector& row : Sources().selector()) {
            for (std::size_t byte = row.first(); row.request() == request && byte <= row.last(); ++byte) {
                EXPECT_TRUE(m_Selected.contains({&row, byte}))
                    << "nothing changed with the selector " << row.ShortDebugString() << ", byte " << byte;
            }
        }
    }

private:
    // A name that one byte of many decides.
    static bool IsChoice(const FieldSource& row) { return row.rule_size() == 1 && row.rule(0) == SOLID_STATE_NAME; }

    static bool IsWithoutBytes(const Place& place)
    {
        return !place.has_first() && !place.has_attribute() && place.request() != WMI && place.request() != COUNTER &&
               place.request() != SMBIOS;
    }

    // Whether a place covers a byte of an answer; `page` is the whole answer.
    static bool Covers(const Place& place, const std::string& field, const Answer& answer, std::size_t byte, const Bytes& page)
    {
        switch (answer.request) {
            case WMI:
                return IsProperty(place, answer);
            case COUNTER:
                return Narrow(answer.place).ends_with(")\\" + place.counter());
            case SMBIOS:
                return IsInString(page, byte, place.structure(), place.string());
            default:
                break;
        }
        if (place.has_attribute() && !place.has_first()) {
            const std::size_t entry = byte - WithinElement("SmartAttributeDetail.", byte);
            return page.at(entry) == place.attribute();
        }
        byte = WithinElement(field, byte);
        return place.has_first() && byte >= place.first() && byte <= place.last();
    }

    bool IsNamed(const std::string& field, const std::string& within, const Answer& answer, std::size_t byte, const Bytes& page)
    {
        const FieldSource* row = SourceOf(field);
        bool isNamed = false;
        for (const Place& place : (row == nullptr ? FieldSource::default_instance() : *row).from()) {
            if (place.request() == OTHER_FIELD) {
                isNamed = IsNamed(field.substr(0, field.find('.') + 1) + place.field(), {}, answer, byte, page) || isNamed;
            } else if (place.request() == answer.request && Covers(place, field, answer, byte, page)) {
                // The attribute stands in the row of the field that holds the message.
                if (SourceOf(within) != nullptr && !IsWithoutBytes(SourceOf(within)->from(0)) &&
                    !IsNamed(within, {}, answer, byte, page)) {
                    continue;
                }
                m_Seen.insert({field, &place, WithinElement(field, byte)});
                isNamed = true;
            }
        }
        return isNamed;
    }

    bool IsSelected(const Changed& changed, const Answer& answer, std::size_t byte)
    {
        const FieldSource* source = SourceOf(changed.value.field);
        const bool isLess = changed.isGone || (source != nullptr && IsChoice(*source));
        for (const Selector& row : Sources().selector()) {
            if (row.request() != answer.request || (row.kind() == Selector::VALIDITY && !isLess)) {
                continue;
            }
            for (std::size_t at = 0; at < std::max(row.count(), 1U); ++at) {
                const std::size_t shift = at * row.stride();
                const bool isAnywhere = answer.request == SMBIOS;  // structures have no fixed place
                if (answer.request == WMI ? IsProperty(row, answer)
                                          : isAnywhere || (byte >= row.first() + shift && byte <= row.last() + shift)) {
                    m_Selected.insert({&row, isAnywhere ? 0 : byte - shift});
                    return true;
                }
            }
        }
        return false;
    }

    void Judge(const Changed& changed, const Answer& answer, std::size_t byte, const Bytes& page)
    {
        const bool isNamed = IsNamed(changed.value.field, changed.value.within, answer, byte, page);
        if (!IsSelected(changed, answer, byte) && !isNamed) {
            const std::string what = changed.value.within + "/" + changed.value.field + " changes with " +
                                     Request_Name(answer.request) + " " + Narrow(answer.place) + " " + Narrow(answer.property);
            if (m_Reported.insert(what + std::to_string(WithinElement(changed.value.field, byte))).second) {
                ADD_FAILURE() << what << " byte " << byte << (changed.isGone ? " (gone)" : "") << ", and the table does not say so";
            }
        }
    }

    std::set<std::tuple<std::string, const Place*, std::size_t>> m_Seen;  // fields that changed with a byte of a place
    std::set<std::pair<const Selector*, std::size_t>> m_Selected;
    std::set<std::string> m_Reported;
};

// Data that the example machines lack: every attribute that has a field, texts of full length, sizes whose highest byte counts, and
// disks that one thing alone tells to be solid-state.
constexpr const char* kMoreBeside =
    "smbios { oem_strings { text: 'first' text: '1[0A1B]' } } recovery { mini_dump_directory: 'C:/Minidump' } ";
constexpr const char* kMoreDisk = R"(
disk { number: 0 kind: SATA_HDD model: "Disk of forty characters to the last one" serial: "1" size: 1000204886016
  ata { log_page { address: 0x9A text: "ABCDEFGHIJKLMNOPQRST" } )";
constexpr const char* kSmallGeometry =
    "} exchange { control_code: 0x70000 usual: true output { patch { offset: 12 hex: '01 00 00 00 01 00 00 00 01 00 00 00' } } ";

std::vector<Machine> Machines()
{
    std::string some;
    std::string others;
    int number = 0;
    for (const FieldSource& row : Sources().field()) {
        if (row.name().starts_with("SmartDynamicInfo.") && row.rule_size() == 0) {
            (++number <= 20 ? some : others) +=
                "attribute { id: " + std::to_string(row.from(0).attribute()) + " raw: 1 threshold: 3 } ";
        }
    }
    std::string more = kMoreBeside;
    for (const std::string& ata :
         {some, others, std::string("identify { offset: 434 hex: '01 00' }"), std::string("identify { offset: 0 hex: '8a 84' }"),
          std::string("identify { offset: 166 hex: '04' }"), std::string("identify { offset: 54 hex: '53 53 20 44' }"),
          std::string(kSmallGeometry)}) {
        more += kMoreDisk + ata + "} }";
    }
    std::vector<std::string> texts{more};
    for (const std::string& name : proof::ExampleMachines()) {
        texts.push_back(proof::MachineText(name));
    }
    std::vector<Machine> machines;
    for (const std::string& one : texts) {
        Machine machine;
        EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(one, &machine));
        for (const auto& disk : machine.disk()) {
            Machine& small = machines.emplace_back(machine);
            small.clear_disk();
            *small.add_disk() = disk;
            auto& volumes = *small.mutable_volume();
            const auto isOfAnother = [&](const auto& volume) { return volume.has_disk() && volume.disk() != disk.number(); };
            volumes.erase(std::remove_if(volumes.begin(), volumes.end(), isOfAnother), volumes.end());
        }
    }
    return machines;
}

TEST_P(SourcesTruth, FieldsChangeWithWhatTheTableNamesAndWithNothingElse)
{
    const auto request = static_cast<Request>(GetParam());
    for (const Machine& machine : Machines()) {
        Subject subject(machine);
        for (const auto& [answer, bytes] : subject.Answers()) {
            // A page of zeros is not an answer; any other byte in it makes it one.
            const bool isNone =
                bytes.size() > 1 && std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
            for (const bool second : {false, true}) {
                if (answer.request == request && !bytes.empty() && !isNone) {
                    Try(subject, {answer, 0, bytes.size() - 1, second}, bytes, subject.UsersOf(answer));
                }
            }
        }
    }
    ExpectAllSeen(request);
}

INSTANTIATE_TEST_SUITE_P(Requests, SourcesTruth,
                         ::testing::Values(ATA_IDENTIFY, ATA_LOG_9A, SMART_DATA, SMART_THRESHOLDS, DEVICE_NUMBER, DRIVE_GEOMETRY,
                                           DRIVE_LAYOUT, PARTITION_INFO, DISK_PERFORMANCE, WMI, COUNTER, SMBIOS, DEVICE_DESCRIPTOR,
                                           SCSI_INQUIRY, ATA_STATUS, SCSI_STATUS),
                         [](const auto& one) { return Request_Name(static_cast<Request>(one.param)); });

}  // namespace
}  // namespace orbis::insight
