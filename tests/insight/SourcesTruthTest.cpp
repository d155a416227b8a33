#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <chrono>
#include <memory>
#include <set>
#include <tuple>

#include "BitTable.h"
#include "ChangingMachine.h"
#include "Collections.h"
#include "insight/Explanation.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/simulated/machine.pb.h"
#include "simulated/Machine.h"

// Holds the table of sources against what the collections do: each byte of each answer, each property and each sample is changed,
// one at a time and in two ways, and the fields that change with it must be those that the table names, no more and no fewer. The
// pages of NVMe are not among them: their rows are compared with the tables that were transcribed from the standard.
namespace orbis::insight {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using simulated::description::Machine;
namespace datatypes = veyra::orbis::datatypes;

// ---- What the collections send ----

struct Value {
    std::string field;   // "Message.field"
    std::string within;  // the field that holds the message, if any
    std::string text;
    bool operator==(const Value&) const = default;
};
using Values = std::map<std::string, Value>;  // by path
constexpr const char* kEmptyText = "\"\"";

void Flatten(const Message& message, const std::string& prefix, const std::string& within, Values& values)
{
    const auto& reflection = *message.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection.ListFields(message, &fields);
    for (const FieldDescriptor* field : fields) {
        const std::string name = field->containing_type()->name() + "." + field->name();
        const std::string path = prefix + "." + field->name();
        const bool isOwn = field->type() == FieldDescriptor::TYPE_MESSAGE &&
                           field->message_type()->file()->package() == message.GetDescriptor()->file()->package();
        const int count = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
        for (int at = 0; at < count; ++at) {
            const std::string one = path + "[" + std::to_string(at) + "]";
            if (isOwn) {
                Flatten(field->is_repeated() ? reflection.GetRepeatedMessage(message, field, at)
                                             : reflection.GetMessage(message, field),
                        one, name, values);
                continue;
            }
            Value& value = values[one];
            value = {name, within, {}};
            google::protobuf::TextFormat::Printer().PrintFieldValueToString(message, field, field->is_repeated() ? at : -1,
                                                                            &value.text);
        }
    }
}

struct Changed {
    Value value;
    bool isGone = false;
};

// One disk of a machine, with everything that is there beside disks.
class Subject {
public:
    explicit Subject(const Machine& description) : m_Machine(description), m_Changing(m_Machine)
    {
        platform::Platform::Replace(&m_Changing);
        m_Plugin = std::make_unique<Veyra::Orbis::Plugins::StorageCollectorPlugin>(nullptr);
        // A rate has no value before its second sample.
        static_cast<void>(proof::Collect(*m_Plugin, proof::Datatype::Dynamic));
        m_Machine.AdvanceClock(std::chrono::seconds(1));
        m_Changing.Forget();
        for (const proof::Datatype datatype : proof::kDatatypes) {
            m_Changing.asked.clear();
            m_Plain[datatype] = proof::Collect(*m_Plugin, datatype);
            for (const Answer& answer : m_Changing.asked) {
                m_Users[answer].push_back(datatype);
            }
        }
    }
    ~Subject()
    {
        m_Plugin.reset();
        platform::Platform::Replace(nullptr);
    }
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    [[nodiscard]] std::map<Answer, Bytes> Answers() const { return m_Changing.answers; }

    // The datatypes that read an answer.
    [[nodiscard]] std::vector<proof::Datatype> UsersOf(const Answer& answer) const { return m_Users.at(answer); }

    // The fields that differ under a change. Datatypes that do not differ at all are taken out of `datatypes`.
    std::vector<Changed> Differences(const Change& change, std::vector<proof::Datatype>& datatypes)
    {
        std::vector<Changed> differences;
        m_Changing.Set(change);
        std::erase_if(datatypes, [&](proof::Datatype datatype) {
            const proof::Outcome outcome = proof::Collect(*m_Plugin, datatype);
            if (outcome == m_Plain[datatype]) {
                return true;
            }
            const Values before = ValuesOf(m_Plain[datatype]);
            const Values now = ValuesOf(outcome);
            for (const auto& [path, value] : before) {
                const auto same = now.find(path);
                if (same == now.end() || same->second != value) {
                    differences.push_back({value, same == now.end() || same->second.text == kEmptyText});
                }
            }
            for (const auto& [path, value] : now) {
                if (!before.contains(path)) {
                    differences.push_back({value, false});
                }
            }
            return false;
        });
        m_Changing.Set({});
        return differences;
    }

private:
    static Values ValuesOf(const proof::Outcome& outcome)
    {
        Values values;
        for (std::size_t at = 0; at < outcome.items.size(); ++at) {
            if (outcome.items[at].message != nullptr) {
                Flatten(*outcome.items[at].message, std::to_string(at), {}, values);
            }
        }
        return values;
    }

    simulated::Machine m_Machine;
    ChangingMachine m_Changing;
    std::unique_ptr<Veyra::Orbis::Plugins::StorageCollectorPlugin> m_Plugin;
    std::map<proof::Datatype, proof::Outcome> m_Plain;
    std::map<Answer, std::vector<proof::Datatype>> m_Users;
};

// ---- What the table says ----

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

    // What must have changed and did not.
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

// What the example machines lack: every attribute that has a field, texts of full length, sizes whose highest byte counts, and
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

// ---- The pages of NVMe ----

struct Bits {
    std::size_t low = 0;
    std::size_t high = 0;
    bool isWhole = false;  // of a value, not of a message with values
};

// Gives a bit to the rows along a path.
void AddBit(const Descriptor& message, const std::string& path, std::size_t bit, std::map<std::string, Bits>& rows)
{
    const std::size_t end = path.find('.');
    const FieldDescriptor* field = message.FindFieldByName(path.substr(0, std::min(path.find('['), end)));
    ASSERT_NE(field, nullptr) << message.name() << " has no " << path;
    rows.try_emplace(message.name() + "." + field->name(), Bits{bit, bit, end == std::string::npos}).first->second.high = bit;
    if (end != std::string::npos) {
        AddBit(*field->message_type(), path.substr(end + 1), bit, rows);
    }
}

// The rows of a page against the table that was transcribed from the standard.
void ExpectTranscribed(Request page, const char* file, std::size_t size, const Descriptor& message)
{
    constexpr std::size_t kMakerArea = 3072;  // whose layout is the maker's
    const tests::BitTable table(file, size);
    std::map<std::string, Bits> transcribed;
    for (std::size_t bit = 0; bit < size * 8; ++bit) {
        const tests::BitField* field = table.At(bit);
        if (field != nullptr && (field->name.find('[') == std::string::npos || field->name.find("[0]") != std::string::npos)) {
            AddBit(message, field->name, bit, transcribed);
        }
    }
    std::set<std::string> missing;
    for (const auto& [name, bits] : transcribed) {
        missing.insert(name);
    }
    for (const FieldSource& row : Sources().field()) {
        const Place& place = row.from(0);
        if (place.request() != page || !place.has_first()) {
            continue;
        }
        const std::string name = row.name().substr(0, row.name().find("_approximate"));
        ASSERT_TRUE(transcribed.contains(name)) << row.name() << " is not in " << file;
        missing.erase(name);
        const std::size_t start = ElementOf(name) == nullptr ? 0 : ElementOf(name)->first();
        const Bits stated{(start + place.first()) * 8 + place.low(),
                          place.has_high() ? (start + place.first()) * 8 + place.high() : (start + place.last()) * 8 + 7, true};
        const Bits& right = transcribed[name];
        EXPECT_TRUE(right.isWhole && place.first() < kMakerArea ? right.low == stated.low && right.high == stated.high
                                                                : right.low >= stated.low && right.high <= stated.high)
            << row.name() << " is bits " << right.low << " to " << right.high << " in " << file << ", and " << PlaceText(row);
    }
    EXPECT_EQ(missing, std::set<std::string>()) << "have no bytes in the table of sources";
}

TEST(Sources, NvmeRowsAreThoseOfTheTranscribedTables)
{
    ExpectTranscribed(NVME_IDENTIFY, "testdata/identify_bits.txt", 4096, *datatypes::NvmeIdentifyControllerData::descriptor());
    ExpectTranscribed(NVME_HEALTH_LOG, "testdata/health_bits.txt", 512, *datatypes::NvmeHealthInfo::descriptor());
}

INSTANTIATE_TEST_SUITE_P(Requests, SourcesTruth,
                         ::testing::Values(ATA_IDENTIFY, ATA_LOG_9A, SMART_DATA, SMART_THRESHOLDS, DEVICE_NUMBER, DRIVE_GEOMETRY,
                                           DRIVE_LAYOUT, PARTITION_INFO, DISK_PERFORMANCE, WMI, COUNTER, SMBIOS, DEVICE_DESCRIPTOR,
                                           SCSI_INQUIRY, ATA_STATUS, SCSI_STATUS),
                         [](const auto& one) { return Request_Name(static_cast<Request>(one.param)); });

}  // namespace
}  // namespace orbis::insight
