// Calls the virtual tables by slot number, as a caller built by another compiler does. This file must not include the library's
// header: the slot numbers and bits come from the tables of bits in insight/sources alone.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "BitTable.h"
#include "FakeDrives.h"

extern "C" {
void* SXNvmNewIdentifyControllerData(std::int32_t drive);
void* SXNvmNewHealthInfo(std::int32_t drive);
void* SXNvmNewCustomizedHealthInfo(std::int32_t drive);
void SXDelete(void* object);
}

namespace orbis::tests {
namespace {

template <class Result, class... Arguments>
Result Call(void* object, std::size_t slot, Arguments... arguments)
{
    using Accessor = Result (*)(void*, Arguments...);
    void** table = nullptr;
    std::memcpy(&table, object, sizeof table);
    Accessor accessor = nullptr;
    std::memcpy(&accessor, &table[slot], sizeof accessor);
    return accessor(object, arguments...);
}

bool IsBytes(const BitField& field)
{
    return field.form == "text" || field.form == "bytes" || field.form == "counter" || field.form == "organisation";
}

// The value that the field's slot returns, as text.
std::string Read(void* object, const BitField& field)
{
    const auto slot = field.nested == 0 ? field.slot : field.nested;
    if (IsBytes(field)) {
        return {Call<const char*>(object, slot), field.bits / 8};
    }
    if (field.form == "celsius") {
        return std::to_string(Call<std::int32_t>(object, slot) + 273);
    }
    if (field.bits == 1) {
        return Call<bool>(object, slot) ? "1" : "0";
    }
    if (field.name == "persistent_event_log_size") {  // four bytes on the drive, eight in the answer
        return std::to_string(Call<std::uint64_t>(object, slot));
    }
    return std::to_string(field.bits <= 8    ? Call<std::uint8_t>(object, slot)
                          : field.bits <= 16 ? Call<std::uint16_t>(object, slot)
                                             : Call<std::uint32_t>(object, slot));
}

std::string AllOnes(const BitField& field)
{
    return IsBytes(field) ? std::string(field.bits / 8, '\xFF') : std::to_string((std::uint64_t{1} << field.bits) - 1);
}

std::string Zero(const BitField& field) { return IsBytes(field) ? std::string(field.bits / 8, '\0') : "0"; }

// Sets one field after the other to ones and everything else to zero: only its slot reads ones.
template <class Make>
void ExpectEachFieldInItsSlot(Bytes& page, const std::vector<BitField>& fields, Make make)
{
    for (const auto& set : fields) {
        std::fill(page.begin(), page.end(), std::uint8_t{0});
        for (std::size_t bit = set.firstBit; bit < set.firstBit + set.bits; ++bit) {
            page[bit / 8] = static_cast<std::uint8_t>(page[bit / 8] | 1U << bit % 8);
        }
        void* object = make();
        ASSERT_NE(object, nullptr) << set.name;
        for (const auto& field : fields) {
            EXPECT_EQ(Read(object, field), field.name == set.name ? AllOnes(field) : Zero(field))
                << field.name << " with the bits of " << set.name << " set";
        }
        SXDelete(object);
    }
}

class SlotsTest : public testing::Test {
protected:
    SlotsTest()
    {
        auto& drive = m_Machine.drives[0];
        drive.identify = Bytes(4096);
        drive.logs[0x02] = Bytes(512);
    }
    Bytes& Identify() { return *m_Machine.drives[0].identify; }

    // The object behind an accessor of a new object; it outlives its parent.
    template <class... Arguments>
    static void* NewNested(void* parent, std::size_t slot, Arguments... arguments)
    {
        void* nested = Call<void*>(parent, slot, arguments...);
        SXDelete(parent);
        return nested;
    }

    // Every slot of the page's interface and of the interfaces nested in it. Returns the number of interfaces.
    static std::size_t Expect(Bytes& page, const BitTable& table, void* (*make)(std::int32_t))
    {
        std::map<std::pair<std::size_t, std::size_t>, std::vector<BitField>> interfaces;  // by slot and power state
        for (const auto& field : table.Fields()) {
            const bool isState = field.slot == kPowerStateSlot;
            if (field.slot != 0) {
                interfaces[{field.nested == 0 ? 0 : field.slot, isState ? (field.firstBit / 8 - 2048) / 32 : 0}].push_back(field);
            }
        }
        for (const auto& [place, fields] : interfaces) {
            const auto& [slot, state] = place;
            SCOPED_TRACE("slot " + std::to_string(slot) + ", power state " + std::to_string(state));
            ExpectEachFieldInItsSlot(page, fields, [&] {
                return slot == 0                 ? make(0)
                       : slot == kPowerStateSlot ? NewNested(make(0), slot, static_cast<std::uint32_t>(state))
                                                 : NewNested(make(0), slot);
            });
        }
        return interfaces.size();
    }

    static constexpr std::size_t kPowerStateSlot = 72;
    FakeDrives m_Machine;
};

TEST_F(SlotsTest, IdentifyController)
{
    EXPECT_EQ(Expect(Identify(), BitTable("testdata/identify_bits.txt", 4096), SXNvmNewIdentifyControllerData), 1U + 24U + 32U);
    for (const std::uint32_t index : {32U, 255U, 0x08000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(NewNested(SXNvmNewIdentifyControllerData(0), kPowerStateSlot, index), nullptr) << index;
    }
}

TEST_F(SlotsTest, HealthInfo)
{
    EXPECT_EQ(Expect(m_Machine.drives[0].logs[0x02], BitTable("testdata/health_bits.txt", 512), SXNvmNewHealthInfo), 1U + 2U);
}

// The one interface whose accessors begin at slot 0.
TEST_F(SlotsTest, CustomizedControllerData)
{
    Identify() = MakersIdentify();
    void* vendor = NewNested(SXNvmNewIdentifyControllerData(0), 73);
    void* view = CustomizedViewOf(vendor);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::string(Call<const char*>(view, 0), 32), "PART-0123456789-ABCDEFGHIJ      ");
    EXPECT_EQ(Call<std::uint32_t>(view, 1), 7U);
    EXPECT_FALSE(Call<bool>(view, 3));
    EXPECT_TRUE(Call<bool>(view, 4));
    EXPECT_EQ(std::string(Call<const char*>(view, 5), 16), "GUID of 16 bytes");
    EXPECT_EQ(std::string(Call<const char*>(view, 6), 8), "COMP-7  ");
    void* category = Call<void*>(view, 2);
    SXDelete(vendor);
    EXPECT_EQ(Call<std::uint16_t>(category, 1), 0x1001);
    EXPECT_EQ(Call<std::uint16_t>(category, 2), 0x2002);
    EXPECT_EQ(Call<std::uint16_t>(category, 3), 0x3003);
    EXPECT_EQ(Call<std::uint16_t>(category, 4), 0xB00B);
    SXDelete(category);
}

TEST_F(SlotsTest, CustomizedHealthInfo)
{
    m_Machine.drives[0].identify = MakersIdentify();
    m_Machine.drives[0].logs[0xD1] = MakersHealthLog();
    void* log = SXNvmNewCustomizedHealthInfo(0);
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(Call<std::uint8_t>(log, 1), 0x11);
    EXPECT_EQ(Call<std::uint8_t>(log, 2), 0x12);
    EXPECT_EQ(Call<std::uint8_t>(log, 3), 0x13);
    EXPECT_EQ(Call<std::uint32_t>(log, 4), 0x24232221U);
    EXPECT_EQ(Call<std::int32_t>(log, 5), -5);
    EXPECT_EQ(Call<std::int32_t>(log, 6), 72);
    EXPECT_EQ(std::string(Call<const char*>(log, 7), 16), "total of written");
    EXPECT_EQ(Call<std::uint32_t>(log, 8), 0x34333231U);
    EXPECT_EQ(Call<std::uint32_t>(log, 9), 0x44434241U);
    EXPECT_EQ(Call<std::uint8_t>(log, 10), 0x14);
    SXDelete(log);
}

}  // namespace
}  // namespace orbis::tests
