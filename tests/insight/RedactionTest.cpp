#include <gtest/gtest.h>

#include <google/protobuf/text_format.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cctype>
#include <fstream>
#include <map>
#include <sstream>
#include <string_view>

#include "Recorded.h"
#include "insight/Pseudonyms.h"
#include "platform/Requests.h"
#include "platform/Text.h"
#include "record/Utf16.h"

namespace orbis::insight {
namespace {

namespace pb = google::protobuf;

std::string Swapped(std::string text)
{
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        std::swap(text[at], text[at + 1]);
    }
    return text;
}

std::string Utf16(const std::string& text) { return Utf16Bytes(platform::Utf8ToUtf16(text)); }

std::string Lower(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

TEST(PseudonymsTest, ValueIsReplacedAlikeInEveryForm)
{
    Pseudonyms pseudonyms;
    const std::string serial = "S4EVNX0M12345B";
    const std::string other = pseudonyms.Text(serial);
    ASSERT_EQ(other.size(), serial.size());
    for (std::size_t at = 0; at < serial.size(); ++at) {
        EXPECT_NE(other[at], serial[at]);
        EXPECT_EQ(std::isdigit(other[at]) != 0, std::isdigit(serial[at]) != 0);
    }
    EXPECT_EQ(pseudonyms.Text(serial), other);
    EXPECT_EQ(pseudonyms.Text(Lower(serial)), Lower(other));
    EXPECT_EQ(pseudonyms.Text(serial.substr(0, 5)), other.substr(0, 5)) << "a beginning";

    const std::string hex = pseudonyms.Text("0025385b71b0a1f2");
    const struct {
        std::string from;
        std::string to;
    } kForms[] = {
        {"NVME\\" + serial + "_00", "NVME\\" + other + "_00"},
        {"#" + Lower(serial) + "#", "#" + Lower(other) + "#"},
        {Utf16("x" + serial), Utf16("x" + other)},
        {Swapped(serial), Swapped(other)},
        {serial.substr(0, 9), other.substr(0, 9)},
        {"eui.0025385B71B0A1F2", "eui." +
                                     [&] {
                                         std::string upper = hex;
                                         std::ranges::transform(upper, upper.begin(),
                                                                [](char c) { return c >= 'a' ? static_cast<char>(c - 32) : c; });
                                         return upper;
                                     }()},
        {"0025_385b_71b0_a1f2.", hex.substr(0, 4) + "_" + hex.substr(4, 4) + "_" + hex.substr(8, 4) + "_" + hex.substr(12) + "."},
        {"nothing of it", "nothing of it"},
    };
    for (const auto& [from, to] : kForms) {
        EXPECT_EQ(pseudonyms.In(from), to);
        EXPECT_EQ(pseudonyms.IsFoundIn(from), from != to && from.size() > 9) << from;
    }
    for (const char* blank : {"", "    ", "00000000", "0000-0000", "FFFFFFFFFFFFFFFF"}) {
        EXPECT_EQ(pseudonyms.Text(blank), blank);
    }
    EXPECT_NE(Pseudonyms().Text(serial), other) << "another key";
}

constexpr std::string_view kPlantedText = "LEAK7QZX";
constexpr std::string_view kPlantedName = "NAME9XTW";
constexpr std::string_view kPlantedFrame = "FRAM6VBU";
constexpr std::string_view kPlantedUnknown = "HIDE5WJY";  // where no rule learns it
constexpr std::string_view kPlantedBytes = "\xC0\xFF\xEE\x15\xF0\x0D\x5E\xED";

std::string Hex(std::string_view bytes)
{
    std::string hex;
    for (const char byte : bytes) {
        hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
    }
    return hex;
}

// The digits of base64 that these bytes alone make, behind so many others.
std::string Base64(std::string_view bytes, std::size_t before)
{
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bits;
    for (const char byte : bytes) {
        bits += std::bitset<8>(static_cast<unsigned char>(byte)).to_string();
    }
    std::string text;
    for (std::size_t at = (before * 4) % 6; at + 6 <= bits.size(); at += 6) {
        text += kDigits[std::stoul(bits.substr(at, 6), nullptr, 2)];
    }
    return text;
}

// The forms in which a planted value would give the machine away, in lower case but for base64.
std::vector<std::string> FormsOf(std::string_view value)
{
    const std::string text(value);
    const std::string reversed(text.rbegin(), text.rend());
    const std::string guid = std::string(reversed.substr(4)) + text[5] + text[4] + text[7] + text[6];
    std::vector<std::string> forms{text, reversed, guid, Swapped(text), Swapped(text.substr(1, 6))};
    for (std::size_t one = 0, count = forms.size(); one < count; ++one) {
        forms.push_back(Hex(forms[one]));
    }
    const std::string hex = Hex(guid);
    forms.push_back(hex.substr(0, 8) + "-" + hex.substr(8, 4) + "-" + hex.substr(12));
    for (std::size_t one = 0, count = forms.size(); one < count; ++one) {
        std::string wide;
        for (const char byte : forms[one]) {
            wide += {byte, '\0'};
        }
        forms.push_back(wide);
    }
    return forms;
}

// The first form of a planted value in a recording; empty when there is none.
std::string PlantedIn(const Recording& recording)
{
    const std::string exact = recording.SerializeAsString();
    const std::string lower = Lower(exact);
    for (const std::string_view value : {kPlantedText, kPlantedName, kPlantedFrame, kPlantedUnknown, kPlantedBytes}) {
        for (const std::string& form : FormsOf(value)) {
            if (lower.find(Lower(form)) != lower.npos) {
                return form;
            }
        }
        for (const std::size_t before : {0U, 1U, 2U}) {
            if (exact.find(Base64(value, before)) != exact.npos) {
                return Base64(value, before);
            }
        }
    }
    return {};
}

// Replaced texts with their replacements, in lower case: one for each, and none for two.
class Replacements {
public:
    void Add(const std::string& from, const std::string& to)
    {
        EXPECT_EQ(from.size(), to.size()) << Hex(from) << " " << Hex(to);
        EXPECT_EQ(m_To.try_emplace(Lower(from), Lower(to)).first->second, Lower(to)) << from;
        EXPECT_EQ(m_From.try_emplace(Lower(to), Lower(from)).first->second, Lower(from)) << from;
    }

private:
    std::map<std::string, std::string> m_To;
    std::map<std::string, std::string> m_From;
};

// All but texts and bytes is equal, and those are replaced.
void ExpectAlike(const pb::Message& one, const pb::Message& other, Replacements& replacements)
{
    const auto& reflection = *one.GetReflection();
    std::vector<const pb::FieldDescriptor*> fields;
    std::vector<const pb::FieldDescriptor*> others;
    reflection.ListFields(one, &fields);
    reflection.ListFields(other, &others);
    ASSERT_EQ(fields, others) << one.ShortDebugString() << "\n" << other.ShortDebugString();
    for (const auto* field : fields) {
        const int count = field->is_repeated() ? reflection.FieldSize(one, field) : 1;
        ASSERT_EQ(count, field->is_repeated() ? reflection.FieldSize(other, field) : 1);
        for (int at = 0; at < count; ++at) {
            const int index = field->is_repeated() ? at : -1;
            if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE) {
                field->is_repeated()
                    ? ExpectAlike(reflection.GetRepeatedMessage(one, field, at), reflection.GetRepeatedMessage(other, field, at),
                                  replacements)
                    : ExpectAlike(reflection.GetMessage(one, field), reflection.GetMessage(other, field), replacements);
                continue;
            }
            std::string left;
            std::string right;
            pb::TextFormat::PrintFieldValueToString(one, field, index, &left);
            pb::TextFormat::PrintFieldValueToString(other, field, index, &right);
            const bool isText = field->cpp_type() == pb::FieldDescriptor::CPPTYPE_STRING && !field->is_repeated();
            const auto isKept = [&] {
                constexpr std::array<std::string_view, 8> kKept{"name",         "description",        "make_model",
                                                                "capability",   "model_name",         "firmware_revision",
                                                                "model_number", "ieee_oui_identifier"};
                return std::ranges::find(kKept, field->name()) != kKept.end() &&
                       one.GetDescriptor()->name() != "PhysicalDiskPartitionInfo";
            };
            if (!isText || isKept()) {
                EXPECT_EQ(left, right) << field->full_name();
            } else {
                replacements.Add(reflection.GetString(one, field), reflection.GetString(other, field));
            }
        }
    }
}

// An example machine, or the one with planted values.
std::string MachineText(const std::string& name)
{
    if (name != "planted") {
        return proof::MachineText(name);
    }
    std::ostringstream text;
    text << std::ifstream("testdata/planted.txtpb").rdbuf();
    return text.str();
}

class RedactionTest : public testing::TestWithParam<const char*> {};

TEST_P(RedactionTest, NothingThatIdentifiesIsLeftAndTheRestReplaysAlike)
{
    const Description machine = Parsed(MachineText(GetParam()));
    const RecordedRun recorded = Collect(machine, proof::kDatatypes);
    Recording redacted = recorded.recording;
    redacted.set_title(machine.title());
    Redact(redacted);
    EXPECT_EQ(PlantedIn(recorded.recording).empty(), GetParam() != std::string_view("planted"));
    EXPECT_EQ(PlantedIn(redacted), "");

    const RecordedRun replayed = Collect(Replayed(redacted), proof::kDatatypes);
    EXPECT_EQ(replayed.notRecorded, std::vector<std::string>{});
    Replacements replacements;
    for (std::size_t one = 0; one < proof::kDatatypes.size(); ++one) {
        const proof::Outcome& before = recorded.outcomes[one];
        const proof::Outcome& after = replayed.outcomes[one];
        SCOPED_TRACE(proof::NameOf(proof::kDatatypes[one]));
        EXPECT_EQ(before.failure, after.failure);
        EXPECT_EQ(before.log.size(), after.log.size());
        ASSERT_EQ(before.items.size(), after.items.size());
        for (std::size_t item = 0; item < before.items.size(); ++item) {
            replacements.Add(before.items[item].id, after.items[item].id);
            ASSERT_EQ(before.items[item].message == nullptr, after.items[item].message == nullptr);
            if (before.items[item].message != nullptr) {
                ExpectAlike(*before.items[item].message, *after.items[item].message, replacements);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Machines, RedactionTest, testing::Values("laptop-arm64", "workstation", "planted"),
                         [](const auto& machine) { return std::string(machine.param).substr(0, 6); });

// Requests that the collectors do not send: their answers are unknown, or known to identify.
TEST(RedactionTest, AnswerWithoutARuleIsZero)
{
    const auto property = [](std::uint32_t id) { return std::string({static_cast<char>(id), 0, 0, 0, 0, 0, 0, 0}); };
    const auto scsi = [](std::string_view cdb) {
        std::string request(sizeof(platform::ScsiPassThroughDirect), '\0');
        return request.replace(offsetof(platform::ScsiPassThroughDirect, cdb), cdb.size(), cdb);
    };
    const struct {
        std::uint32_t code;
        std::string request;
    } kRequests[] = {
        {platform::kIoctlStorageQueryProperty, property(2)},                        // StorageDeviceIdProperty: VPD page 83h
        {platform::kIoctlStorageQueryProperty, property(3)},                        // StorageDeviceUniqueIdProperty
        {platform::kIoctlStorageQueryProperty, property(50) + "\3" + property(1)},  // Identify Namespace: EUI-64 and NGUID
        {platform::kIoctlScsiPassThroughDirect, scsi({"\x12\1\x80\0\xFF\0", 6})},   // INQUIRY, unit serial number
        {platform::kIoctlScsiPassThroughDirect, scsi({"\x4D\0\x7F\0\0\0", 6})},     // LOG SENSE
        {platform::kIoctlAtaPassThroughDirect, std::string(48, '\0')},
        {0x2D0C14, {}},  // IOCTL_STORAGE_GET_MEDIA_SERIAL_NUMBER
    };
    const std::string planted = std::string(kPlantedText) + std::string(kPlantedBytes);
    for (const auto& [code, request] : kRequests) {
        Recording recording;
        RecordedCall& call = *recording.add_call();
        call.set_operation("DeviceIo::Control");
        call.set_code(code);
        call.set_request(request);
        call.set_room(512);
        call.add_answer()->set_output(std::string(80, '\0') + planted);
        call.mutable_answer(0)->set_data(planted);
        Redact(recording);
        EXPECT_EQ(PlantedIn(recording), "") << std::hex << code;
    }
}

// The final search finds values that no rule replaces.
TEST(RedactionTest, RecordingWithAReplacedValueIsRefused)
{
    const RecordedRun recorded = Collect(Parsed(MachineText("planted")), proof::kDatatypes);
    const std::string serial = "LEAK7QZXA001";
    for (const std::string& form : {serial, Lower(serial), Swapped(serial), Utf16(serial), Hex(serial), Hex(Swapped(serial)),
                                    Hex(Utf16(serial)), Base64(serial, 0), Base64(serial, 1), Base64(Utf16(serial), 2)}) {
        Recording recording = recorded.recording;
        recording.set_system("Linux of " + form);
        EXPECT_THROW(Redact(recording), std::runtime_error) << form;
    }
}

}  // namespace
}  // namespace orbis::insight
