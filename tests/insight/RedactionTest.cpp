#include <gtest/gtest.h>

#include <google/protobuf/text_format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "Recorded.h"
#include "insight/Pseudonyms.h"
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

// What the description of a machine says that identifies.
void CollectPlanted(const pb::Message& message, std::vector<std::string>& planted)
{
    const auto& reflection = *message.GetReflection();
    std::vector<const pb::FieldDescriptor*> fields;
    reflection.ListFields(message, &fields);
    for (const auto* field : fields) {
        const int count = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
        for (int at = 0; at < count && field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE; ++at) {
            CollectPlanted(
                field->is_repeated() ? reflection.GetRepeatedMessage(message, field, at) : reflection.GetMessage(message, field),
                planted);
        }
        constexpr std::array<std::string_view, 6> kIdentifying{"serial", "disk_id", "id", "guid", "eppid", "component_id"};
        if (!field->is_repeated() && field->cpp_type() == pb::FieldDescriptor::CPPTYPE_STRING &&
            std::ranges::find(kIdentifying, field->name()) != kIdentifying.end()) {
            planted.push_back(reflection.GetString(message, field));
        }
    }
}

// All but texts and bytes is equal, and those are as long.
void ExpectAlike(const pb::Message& one, const pb::Message& other)
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
                    ? ExpectAlike(reflection.GetRepeatedMessage(one, field, at), reflection.GetRepeatedMessage(other, field, at))
                    : ExpectAlike(reflection.GetMessage(one, field), reflection.GetMessage(other, field));
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
                EXPECT_EQ(reflection.GetString(one, field).size(), reflection.GetString(other, field).size()) << field->full_name();
            }
        }
    }
}

class RedactionTest : public testing::TestWithParam<const char*> {};

TEST_P(RedactionTest, NothingThatIdentifiesIsLeftAndTheRestReplaysAlike)
{
    const Description machine = Parsed(proof::MachineText(GetParam()));
    const RecordedRun recorded = Collect(machine, proof::kDatatypes);
    Recording redacted = recorded.recording;
    Redact(redacted);

    std::vector<std::string> planted;
    CollectPlanted(machine, planted);
    EXPECT_GT(planted.size(), 2U);
    const std::string content = Lower(redacted.SerializeAsString());
    for (const std::string& value : planted) {
        if (value.size() >= 6) {
            for (const std::string& form : {value, Swapped(value), Utf16(value)}) {
                EXPECT_EQ(content.find(Lower(form)), content.npos) << value;
            }
        }
    }

    const RecordedRun replayed = Collect(Replayed(redacted), proof::kDatatypes);
    EXPECT_EQ(replayed.notRecorded, std::vector<std::string>{});
    for (std::size_t one = 0; one < proof::kDatatypes.size(); ++one) {
        const proof::Outcome& before = recorded.outcomes[one];
        const proof::Outcome& after = replayed.outcomes[one];
        SCOPED_TRACE(proof::NameOf(proof::kDatatypes[one]));
        EXPECT_EQ(before.failure, after.failure);
        EXPECT_EQ(before.log.size(), after.log.size());
        ASSERT_EQ(before.items.size(), after.items.size());
        for (std::size_t item = 0; item < before.items.size(); ++item) {
            EXPECT_EQ(before.items[item].id.size(), after.items[item].id.size());
            ASSERT_EQ(before.items[item].message == nullptr, after.items[item].message == nullptr);
            if (before.items[item].message != nullptr) {
                ExpectAlike(*before.items[item].message, *after.items[item].message);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Machines, RedactionTest, testing::Values("laptop-arm64", "workstation"),
                         [](const auto& machine) { return std::string(machine.param).substr(0, 6); });

}  // namespace
}  // namespace orbis::insight
