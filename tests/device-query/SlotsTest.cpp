// Calls the virtual tables by slot number, as a caller built by another compiler does. This file must not include the library's
// header: all it knows of an interface is slot numbers and bits of the NVMe structure.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

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

// Bits of the structure, counted from its first byte: 16 bits at byte 2 are {16, 16}.
struct Field {
    std::size_t first;
    std::size_t bits;
};

enum class Returns { Integer, Bytes, Celsius };

struct Slot {
    Field field;
    Returns returns = Returns::Integer;
};

constexpr Field Byte(std::size_t byte, std::size_t length) { return {byte * 8, length * 8}; }

std::uint64_t CallInteger(void* object, std::size_t slot, std::size_t bits)
{
    if (bits == 1) {
        return Call<bool>(object, slot) ? 1 : 0;
    }
    if (bits <= 8) {
        return Call<std::uint8_t>(object, slot);
    }
    return bits <= 16 ? Call<std::uint16_t>(object, slot) : Call<std::uint32_t>(object, slot);
}

// The value that the slot returns, as text.
std::string Read(void* object, std::size_t number, const Slot& slot)
{
    if (slot.returns == Returns::Bytes) {
        return {Call<const char*>(object, number), slot.field.bits / 8};
    }
    if (slot.returns == Returns::Celsius) {
        return std::to_string(Call<std::int32_t>(object, number) + 273);
    }
    return std::to_string(CallInteger(object, number, slot.field.bits));
}

std::string AllOnes(const Slot& slot)
{
    if (slot.returns == Returns::Bytes) {
        return std::string(slot.field.bits / 8, '\xFF');
    }
    return std::to_string((std::uint64_t{1} << slot.field.bits) - 1);
}

std::string Zero(const Slot& slot) { return slot.returns == Returns::Bytes ? std::string(slot.field.bits / 8, '\0') : "0"; }

// An object under test: slot numbers with the bits that they read.
using Slots = std::vector<std::pair<std::size_t, Slot>>;

// Slots 1, 2, ... of a nested interface, in order.
Slots Numbered(std::size_t byte, const std::vector<Field>& fields)
{
    Slots slots;
    for (const auto& field : fields) {
        slots.emplace_back(slots.size() + 1, Slot{{byte * 8 + field.first, field.bits}});
    }
    return slots;
}

// Sets one field after the other to ones and everything else to zero: its slot alone reads ones.
template <class Make>
void ExpectEachFieldInItsSlot(Bytes& page, const Slots& slots, Make make)
{
    for (const auto& [setNumber, setSlot] : slots) {
        std::fill(page.begin(), page.end(), std::uint8_t{0});
        for (std::size_t bit = setSlot.field.first; bit < setSlot.field.first + setSlot.field.bits; ++bit) {
            page[bit / 8] = static_cast<std::uint8_t>(page[bit / 8] | 1U << bit % 8);
        }
        void* object = make();
        ASSERT_NE(object, nullptr);
        for (const auto& [number, slot] : slots) {
            EXPECT_EQ(Read(object, number, slot), number == setNumber ? AllOnes(slot) : Zero(slot))
                << "slot " << number << " with the bits of slot " << setNumber << " set";
        }
        SXDelete(object);
    }
}

// NVMe 1.4, Identify Controller: slot, first byte, length.
const Slots kIdentify = [] {
    Slots slots;
    const std::vector<std::array<std::size_t, 3>> integers = {
        {1, 0, 2},    {2, 2, 2},    {6, 72, 1},   {9, 77, 1},   {10, 78, 2},  {12, 84, 4},  {13, 88, 4},  {17, 111, 1},
        {19, 128, 2}, {20, 130, 2}, {21, 132, 2}, {23, 258, 1}, {24, 259, 1}, {27, 262, 1}, {28, 263, 1}, {31, 266, 2},
        {32, 268, 2}, {33, 270, 2}, {34, 272, 4}, {35, 276, 4}, {39, 316, 2}, {41, 319, 1}, {42, 320, 2}, {44, 324, 2},
        {45, 326, 2}, {47, 332, 4}, {48, 336, 2}, {49, 338, 2}, {50, 340, 2}, {51, 342, 1}, {53, 344, 4}, {54, 348, 4},
        {58, 514, 2}, {59, 516, 4}, {64, 526, 2}, {65, 528, 2}, {68, 532, 2}, {70, 540, 4}};
    const std::vector<std::array<std::size_t, 3>> bytes = {{3, 4, 20},    {4, 24, 40},   {5, 64, 8},    {7, 73, 3},
                                                           {18, 112, 16}, {36, 280, 16}, {37, 296, 16}, {71, 768, 256}};
    for (const auto& [slot, byte, length] : integers) {
        slots.emplace_back(slot, Slot{Byte(byte, length)});
    }
    for (const auto& [slot, byte, length] : bytes) {
        slots.emplace_back(slot, Slot{Byte(byte, length), Returns::Bytes});
    }
    return slots;
}();

// The nested interfaces: slot of the accessor that gives one, first byte, and the bits of slots 1, 2, ...
struct Nested {
    std::size_t slot;
    std::size_t byte;
    std::vector<Field> fields;
};

std::vector<Field> Flags(std::size_t first, std::size_t last)
{
    std::vector<Field> fields;
    for (auto bit = first; bit <= last; ++bit) {
        fields.push_back({bit, 1});
    }
    return fields;
}

const std::vector<Nested> kNested = {
    {8, 76, Flags(0, 3)},                                                               // CMIC
    {11, 80, {{0, 8}, {8, 8}, {16, 16}}},                                               // VER
    {14, 92, {{8, 1}, {9, 1}, {11, 1}, {12, 1}, {13, 1}, {14, 1}}},                     // OAES
    {15, 96, Flags(0, 9)},                                                              // CTRATT
    {16, 100, Flags(0, 15)},                                                            // RRLS
    {22, 256, Flags(0, 9)},                                                             // OACS
    {25, 260, {{0, 1}, {1, 3}, {4, 1}}},                                                // FRMW
    {26, 261, Flags(0, 4)},                                                             // LPA
    {29, 264, Flags(0, 0)},                                                             // AVSCC
    {30, 265, Flags(0, 0)},                                                             // APSTA
    {38, 312, {{0, 3}, {3, 3}, {16, 8}, {24, 8}}},                                      // RPMBS
    {40, 318, Flags(0, 0)},                                                             // DSTO
    {43, 322, Flags(0, 0)},                                                             // HCTMA
    {46, 328, {{0, 1}, {1, 1}, {2, 1}, {29, 1}, {30, 2}}},                              // SANICAP
    {52, 343, {{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {6, 1}, {7, 1}}},                // ANACAP
    {56, 512, {{0, 4}, {4, 4}}},                                                        // SQES
    {57, 513, {{0, 4}, {4, 4}}},                                                        // CQES
    {60, 520, Flags(0, 7)},                                                             // ONCS
    {61, 522, Flags(0, 0)},                                                             // FUSES
    {62, 524, Flags(0, 2)},                                                             // FNA
    {63, 525, {{0, 1}, {1, 2}}},                                                        // VWC
    {66, 530, Flags(0, 0)},                                                             // NVSCC
    {67, 531, Flags(0, 2)},                                                             // NWPC
    {69, 536, {{0, 2}, {2, 1}, {16, 1}, {17, 1}, {18, 1}, {19, 1}, {20, 1}, {21, 1}}},  // SGLS
};

// Power state descriptor: MP, MXPS, NOPS, ENLAT, EXLAT, RRT, RRL, RWT, RWL, IDLP, IPS, ACTP, APW, APS
const std::vector<Field> kPowerState = {{0, 16},  {24, 1},  {25, 1},   {32, 32}, {64, 32},  {96, 5},  {104, 5},
                                        {112, 5}, {120, 5}, {128, 16}, {150, 2}, {160, 16}, {176, 3}, {182, 2}};

class SlotsTest : public testing::Test {
protected:
    SlotsTest()
    {
        auto& drive = m_Machine.drives[0];
        drive.identify = Bytes(4096);
        drive.logs[0x02] = Bytes(512);
    }
    Bytes& Identify() { return *m_Machine.drives[0].identify; }

    // The object behind an accessor of a new Identify object; it outlives its parent.
    template <class... Arguments>
    static void* NewNested(std::size_t slot, Arguments... arguments)
    {
        void* parent = SXNvmNewIdentifyControllerData(0);
        void* nested = Call<void*>(parent, slot, arguments...);
        SXDelete(parent);
        return nested;
    }

    FakeDrives m_Machine;
};

TEST_F(SlotsTest, IdentifyController)
{
    ExpectEachFieldInItsSlot(Identify(), kIdentify, [] { return SXNvmNewIdentifyControllerData(0); });

    // PELS, slot 55: four bytes on the drive, eight in the answer
    std::fill_n(Identify().begin() + 352, 4, std::uint8_t{0xFF});
    void* object = SXNvmNewIdentifyControllerData(0);
    EXPECT_EQ(Call<std::uint64_t>(object, 55), 0xFFFFFFFFU);
    SXDelete(object);
}

TEST_F(SlotsTest, NestedInterfacesOfIdentifyController)
{
    for (const auto& nested : kNested) {
        SCOPED_TRACE("slot " + std::to_string(nested.slot));
        ExpectEachFieldInItsSlot(Identify(), Numbered(nested.byte, nested.fields), [&] { return NewNested(nested.slot); });
    }
}

TEST_F(SlotsTest, PowerStateDescriptors)
{
    for (const std::uint32_t index : {0U, 1U, 31U}) {
        SCOPED_TRACE("descriptor " + std::to_string(index));
        ExpectEachFieldInItsSlot(Identify(), Numbered(2048 + 32 * std::size_t{index}, kPowerState),
                                 [&] { return NewNested(72, index); });
    }
    for (const std::uint32_t index : {32U, 255U, 0x08000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(NewNested(72, index), nullptr) << index;
    }
}

TEST_F(SlotsTest, HealthInfo)
{
    Slots slots;
    slots.emplace_back(2, Slot{Byte(1, 2), Returns::Celsius});
    for (std::size_t slot = 3; slot <= 5; ++slot) {
        slots.emplace_back(slot, Slot{Byte(slot, 1)});
    }
    for (std::size_t counter = 0; counter < 10; ++counter) {
        slots.emplace_back(7 + counter, Slot{Byte(32 + counter * 16, 16), Returns::Bytes});
    }
    slots.emplace_back(17, Slot{Byte(192, 4)});
    slots.emplace_back(18, Slot{Byte(196, 4)});
    for (std::size_t sensor = 0; sensor < 8; ++sensor) {
        slots.emplace_back(19 + sensor, Slot{Byte(200 + sensor * 2, 2), Returns::Celsius});
    }
    for (std::size_t word = 0; word < 4; ++word) {
        slots.emplace_back(27 + word, Slot{Byte(216 + word * 4, 4)});
    }
    auto& page = m_Machine.drives[0].logs[0x02];
    ExpectEachFieldInItsSlot(page, slots, [] { return SXNvmNewHealthInfo(0); });

    const auto newNested = [](std::size_t slot) {
        void* parent = SXNvmNewHealthInfo(0);
        void* nested = Call<void*>(parent, slot);
        SXDelete(parent);
        return nested;
    };
    ExpectEachFieldInItsSlot(page, Numbered(0, Flags(0, 5)), [&] { return newNested(1); });
    ExpectEachFieldInItsSlot(page, Numbered(6, {{0, 1}, {2, 1}, {3, 1}}), [&] { return newNested(6); });
}

// The one interface whose accessors begin at slot 0.
TEST_F(SlotsTest, CustomizedControllerData)
{
    Identify() = MakersIdentify();
    void* vendor = NewNested(73);
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
