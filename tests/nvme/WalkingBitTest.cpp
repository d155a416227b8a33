// Each single bit of the drive's pages changes exactly the message fields that the tables in insight/sources name: from the page
// through the device-query library and the mapping, on pages of zeros and on pages on which every field is in use.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numeric>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include <google/protobuf/arena.h>
#include <gtest/gtest.h>

#include "BitTable.h"
#include "FakeDrives.h"
#include "MessageArena.h"
#include "MessageDiff.h"
#include "NvmeDataGetter.h"
#include "NvmeMapping.h"

namespace Veyra::Orbis::Plugins {
namespace {

using google::protobuf::Arena;
using google::protobuf::Message;
using orbis::tests::BitField;
using orbis::tests::BitTable;
using Fields = std::set<std::string>;
using Bytes = std::span<std::uint8_t>;

constexpr std::size_t kNpss = 263;
constexpr std::size_t kPowerStates = 2048;
constexpr std::size_t kMakerArea = 3072;
constexpr std::size_t kMakerAreaLength = 96;
constexpr std::size_t kMakerHealthLength = 64;

void Flip(Bytes page, std::size_t bit) { page[bit / 8] = static_cast<std::uint8_t>(page[bit / 8] ^ (1U << (bit % 8))); }

// The head of the maker's layouts: signature, version 1, length, and the checksum in byte 11.
void Seal(Bytes layout)
{
    layout[11] = 0;
    layout[11] = static_cast<std::uint8_t>(0U - std::accumulate(layout.begin(), layout.end(), 0U));
}
void MakeMakerHead(Bytes layout, std::string_view signature)
{
    std::copy(signature.begin(), signature.end(), layout.begin());
    layout[8] = 1;
    layout[9] = 0;
    layout[10] = static_cast<std::uint8_t>(layout.size());
    Seal(layout);
}

// No zeros, and nothing that a changed bit turns into one or into white space inside a text.
void Fill(Bytes page)
{
    for (std::size_t i = 0; i < page.size(); ++i) {
        page[i] = static_cast<std::uint8_t>('a' + i % 26);
    }
}

class WalkingBitTest : public ::testing::Test {
protected:
    [[nodiscard]] const Message& Identify()
    {
        const auto data = NvmeMapping::TakeOwnership(SXNvmNewIdentifyControllerData(0));
        return *NvmeDataGetter::toIdentifyControllerData(data.get(), m_Arena);
    }
    [[nodiscard]] const Message& Health()
    {
        const auto health = NvmeMapping::TakeOwnership(SXNvmNewHealthInfo(0));
        return *NvmeDataGetter::toNvmeHealthInfo(health.get(), m_Arena);
    }
    // With the maker's log as sub-message: a drive without one has none.
    [[nodiscard]] const Message& MakerHealth()
    {
        const auto health = NvmeMapping::TakeOwnership(SXNvmNewCustomizedHealthInfo(0));
        auto* info = NewMessage<datatypes::SmartNvmeInfo>(m_Arena);
        info->set_allocated_customized_health_info(NvmeDataGetter::toCustomizedHealthInfo(health.get(), m_Arena));
        return *info;
    }

    // Changes each bit of the page in turn. `repair` is called after a bit has been changed.
    void Walk(
        Bytes page, const std::function<const Message&()>& map, const std::function<Fields(std::size_t bit)>& expected,
        const std::function<void()>& repair = [] {})
    {
        Arena baseArena;
        Message* base = map().New(&baseArena);
        base->CopyFrom(map());
        const std::string same = base->SerializeAsString();
        const std::vector<std::uint8_t> before(page.begin(), page.end());
        for (std::size_t bit = 0; bit < page.size() * 8 && !HasFailure(); ++bit) {
            const auto wanted = expected(bit);
            Flip(page, bit);
            repair();
            const Message& changed = map();
            if (wanted.empty()) {
                EXPECT_EQ(changed.SerializeAsString(), same) << Place(bit);
            } else {
                EXPECT_EQ(orbis::tests::ChangedFields(*base, changed), wanted) << Place(bit);
            }
            std::copy(before.begin(), before.end(), page.begin());
            m_Arena.Reset();
        }
    }

    static std::string Place(std::size_t bit) { return "byte " + std::to_string(bit / 8) + " bit " + std::to_string(bit % 8); }

    // The fields that a bit of a table's field changes, by the field's form.
    static Fields ByForm(const BitField* field, Bytes page, std::size_t bit)
    {
        if (field == nullptr) {
            return {};
        }
        const bool isLong = field->form == "text" || field->form == "bytes" || field->form == "counter";
        if (isLong && page[field->firstBit / 8] == 0) {
            const bool isTrimmed = field->form == "text" && (bit % 8 == 3 || bit % 8 == 5);  // a backspace, a space
            if (bit / 8 != field->firstBit / 8 || isTrimmed) {
                return {};
            }
        }
        if (field->form == "counter") {
            return {field->name, field->name + "_approximate"};
        }
        return {field->name};
    }

    Fields OfIdentify(std::size_t bit) const
    {
        const Bytes page = m_Identify;
        const auto* field = m_IdentifyBits.At(bit);
        const unsigned states = std::min(page[kNpss] + 1U, 32U);
        if (field != nullptr && field->name.starts_with("power_state_desc[") && bit / 8 >= kPowerStates + 32 * states) {
            return {};
        }
        auto fields = ByForm(field, page, bit);
        if (bit / 8 == kNpss && std::min((page[kNpss] ^ 1U << bit % 8) + 1U, 32U) != states) {
            fields.insert("power_state_desc");
        }
        return fields;
    }

    orbis::tests::FakeDrives m_Drives;
    Bytes m_Identify = m_Drives.drives[0].identify.emplace(4096);
    Bytes m_Health = m_Drives.drives[0].logs[0x02] = orbis::tests::Bytes(512);
    Bytes m_MakersLog = m_Drives.drives[0].logs[0xD1] = orbis::tests::Bytes(512);
    Bytes m_MakerArea = m_Identify.subspan(kMakerArea, kMakerAreaLength);
    Bytes m_MakerHealth = m_MakersLog.first(kMakerHealthLength);
    BitTable m_IdentifyBits{"testdata/identify_bits.txt", 4096};
    BitTable m_HealthBits{"testdata/health_bits.txt", 512};
    BitTable m_MakerHealthBits{"testdata/maker_health_bits.txt", 512};
    Arena m_Arena;
};

TEST_F(WalkingBitTest, TablesNameEveryFieldAndNoOther)
{
    const auto names = [](const BitTable& table) {
        Fields fields;
        for (const auto& field : table.Fields()) {
            fields.insert(field.name);
            if (field.form == "counter") {
                fields.insert(field.name + "_approximate");
            }
        }
        return fields;
    };
    using orbis::tests::ValueFields;
    EXPECT_EQ(names(m_IdentifyBits), ValueFields(*datatypes::NvmeIdentifyControllerData::descriptor(), 32));
    EXPECT_EQ(names(m_HealthBits), ValueFields(*datatypes::NvmeHealthInfo::descriptor(), 0));
    EXPECT_EQ(names(m_MakerHealthBits), ValueFields(*datatypes::NvmeCustomizedHealthInfo::descriptor(), 0));
}

TEST_F(WalkingBitTest, IdentifyFromAPageOfZeros)
{
    Walk(
        m_Identify, [this]() -> const Message& { return Identify(); },
        [this](std::size_t bit) { return bit / 8 < kMakerArea ? OfIdentify(bit) : Fields{}; });
}

TEST_F(WalkingBitTest, IdentifyFromAPageInUse)
{
    Fill(m_Identify);
    m_Identify[kNpss] = 3;
    MakeMakerHead(m_MakerArea, "VEYRA-ID");
    const auto inMakerArea = [](std::size_t bit) { return bit / 8 >= kMakerArea && bit / 8 < kMakerArea + kMakerAreaLength; };
    const Fields unrecognised{"customized_controller_data", "device_category"};
    const auto identify = [this]() -> const Message& { return Identify(); };
    Walk(m_Identify, identify, [&](std::size_t bit) { return inMakerArea(bit) ? unrecognised : OfIdentify(bit); });
    // All power states.
    m_Identify[kNpss] = 31;
    Walk(m_Identify.subspan(kPowerStates, 1024), identify, [this](std::size_t bit) { return OfIdentify(kPowerStates * 8 + bit); });
    // The maker's bytes, with the checksum corrected each time.
    m_Identify[kNpss] = 0;
    Walk(
        m_MakerArea, identify,
        [&](std::size_t bit) {
            const auto byte = bit / 8;
            return byte < 11 ? unrecognised : byte == 11 ? Fields{} : OfIdentify(kMakerArea * 8 + bit);
        },
        [this] { Seal(m_MakerArea); });
}

TEST_F(WalkingBitTest, Health)
{
    const auto health = [this]() -> const Message& { return Health(); };
    const auto expected = [this](std::size_t bit) { return ByForm(m_HealthBits.At(bit), m_Health, bit); };
    Walk(m_Health, health, expected);

    Fill(m_Health);
    // Counters small enough for a double to show each of their bits.
    for (std::size_t counter = 32; counter < 192; counter += 16) {
        std::fill_n(m_Health.begin() + static_cast<std::ptrdiff_t>(counter) + 1, 15, std::uint8_t{0});
    }
    Walk(m_Health, health, expected);
}

TEST_F(WalkingBitTest, MakerHealth)
{
    MakeMakerHead(m_MakerArea, "VEYRA-ID");
    const auto map = [this]() -> const Message& { return MakerHealth(); };
    Walk(m_MakersLog, map, [](std::size_t) { return Fields{}; });

    Fill(m_MakersLog);
    std::fill_n(m_MakerHealth.begin() + 33, 15, std::uint8_t{0});
    MakeMakerHead(m_MakerHealth, "VEYRA-HL");
    const Fields unrecognised{"customized_health_info"};
    Walk(m_MakersLog, map, [&](std::size_t bit) { return bit / 8 < kMakerHealthLength ? unrecognised : Fields{}; });
    Walk(
        m_MakerHealth, map,
        [&](std::size_t bit) {
            Fields fields;
            for (const auto& field : ByForm(m_MakerHealthBits.At(bit), m_MakerHealth, bit)) {
                fields.insert("customized_health_info." + field);
            }
            return bit / 8 < 11 ? unrecognised : bit / 8 == 11 ? Fields{} : fields;
        },
        [this] { Seal(m_MakerHealth); });
}

TEST_F(WalkingBitTest, APageOfOnesSetsEveryFieldOfEveryMessage)
{
    for (const Bytes page : {m_Identify, m_Health, m_MakersLog}) {
        std::ranges::fill(page, std::uint8_t{0xFF});
    }
    MakeMakerHead(m_MakerArea, "VEYRA-ID");
    MakeMakerHead(m_MakerHealth, "VEYRA-HL");
    EXPECT_EQ(orbis::tests::UnsetFields(Identify()), Fields{});
    EXPECT_EQ(orbis::tests::UnsetFields(Health()), Fields{});
    EXPECT_EQ(orbis::tests::UnsetFields(MakerHealth()), Fields{"health_info"}) << "which is not asked for here";
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
