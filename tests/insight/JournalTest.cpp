#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <thread>
#include <utility>

#include "Common/HardwareAccess.h"
#include "Common/WmiCommonLib.h"
#include "insight/Journal.h"
#include "insight/TimeLimits.h"
#include "platform/Errors.h"
#include "platform/Forwarding.h"
#include "platform/Requests.h"
#include "simulated/MachineFile.h"

namespace orbis::insight {
namespace {

using namespace Veyra::Orbis::Cpp::Common;

class JournalTest : public testing::Test {
protected:
    ~JournalTest() override { platform::Platform::Replace(nullptr); }

    // The calls of `use` on this machine.
    Extract Observe(const std::string& machine, const std::function<void()>& use, std::size_t capacity = Journal::kDefaultCapacity)
    {
        m_Machine = simulated::ParseMachine(machine);
        m_Journal = std::make_unique<Journal>(*m_Machine, capacity);
        platform::Platform::Replace(m_Journal.get());
        use();
        return m_Journal->Take();
    }

    template <class Kind>
    static std::vector<const Kind*> Of(const Extract& extract)
    {
        std::vector<const Kind*> found;
        for (const Record& record : extract.records) {
            if (const Kind* call = record.As<Kind>()) {
                found.push_back(call);
            }
        }
        return found;
    }

private:
    std::unique_ptr<simulated::Machine> m_Machine;
    std::unique_ptr<Journal> m_Journal;
};

constexpr const char* kDrives = R"(
disk { number: 0 kind: SATA_SSD model: "M" size: 1000204886016 }
disk { number: 1 kind: SATA_SSD model: "N" size: 1000204886016
  exchange { ata_command: 0xEC usual: true error: 1117 } }
)";

// The request is one buffer for input and output and holds a pointer to the data.
TEST_F(JournalTest, RequestIsKeptAsItWasAndAnswersAreKeptWhole)
{
    const Extract extract = Observe(kDrives, [] {
        HardwareAccessLib::HardwareAccess disks;
        EXPECT_TRUE(disks.ReadIdentifyData(u"\\\\.\\PhysicalDrive0"));
        EXPECT_THROW((void)disks.ReadIdentifyData(u"\\\\.\\PhysicalDrive1"), std::exception);
    });
    const auto requests = Of<call::Control>(extract);
    ASSERT_EQ(requests.size(), 2U);
    for (const call::Control* request : requests) {
        EXPECT_EQ(request->code, platform::kIoctlAtaPassThroughDirect);
        ASSERT_EQ(request->request.size(), 48U);
        ASSERT_EQ(request->output.size(), 48U);
        EXPECT_EQ(request->request[46], 0xEC) << "the command, not the status that replaced it";
        EXPECT_TRUE(std::all_of(request->request.begin() + 24, request->request.begin() + 32, [](int byte) { return byte == 0; }));
        EXPECT_EQ(request->dataBefore, Bytes(512, 0));
        ASSERT_EQ(request->dataAfter.size(), 512U);
    }
    EXPECT_EQ(requests[0]->device->path, u"\\\\.\\PhysicalDrive0");
    EXPECT_EQ(requests[0]->output[46], 0x50);
    EXPECT_EQ(requests[0]->dataAfter[54], ' ');
    EXPECT_EQ(requests[0]->dataAfter[55], 'M');
    EXPECT_FALSE(requests[1]->succeeded);
    EXPECT_EQ(requests[1]->error, platform::win32::kIoDevice);

    // A handle that the system gives a second time is another object.
    const auto opens = Of<call::Open>(extract);
    const auto closes = Of<call::Close>(extract);
    ASSERT_EQ(opens.size(), 2U);
    ASSERT_EQ(closes.size(), 2U);
    EXPECT_NE(opens[0]->handle, opens[1]->handle);
    for (std::size_t one = 0; one < opens.size(); ++one) {
        EXPECT_EQ(opens[one]->handle, requests[one]->handle);
        EXPECT_EQ(opens[one]->handle, closes[one]->handle);
    }
}

// A system that has one handle, and gives it to another thread before the close of it has returned.
class OneHandle final : public platform::ForwardingPlatform, private platform::ForwardingDeviceIo {
public:
    explicit OneHandle(Platform& machine) : ForwardingPlatform(machine), ForwardingDeviceIo(machine.DeviceIoPort()) {}
    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    std::function<void()> meanwhile;

private:
    platform::NativeHandle Open(const char16_t*, std::uint32_t, std::uint32_t, void*, std::uint32_t, std::uint32_t,
                                platform::NativeHandle) override
    {
        return 42;
    }
    bool Close(platform::NativeHandle) noexcept override
    {
        std::thread(std::exchange(meanwhile, [] {})).join();
        return true;
    }
};

TEST_F(JournalTest, HandleGivenOutAgainDuringItsCloseIsAnotherObject)
{
    const auto machine = simulated::ParseMachine("");
    OneHandle system(*machine);
    Journal journal(system);
    platform::DeviceIo& io = journal.DeviceIoPort();
    const auto open = [&io] { return io.Open(u"", 0, 3, nullptr, platform::kOpenExisting, 0, 0); };
    system.meanwhile = [&] { static_cast<void>(open()); };
    io.Close(open());
    io.Close(42);
    const Extract extract = journal.Take();
    const auto opens = Of<call::Open>(extract);
    const auto closes = Of<call::Close>(extract);
    ASSERT_EQ(extract.records.size(), 4U);
    EXPECT_NE(opens[0]->handle, opens[1]->handle);
    EXPECT_EQ(closes[0]->handle, opens[0]->handle);
    EXPECT_EQ(closes[1]->handle, opens[1]->handle);
    const Record& opened = extract.records[1];
    const Record& closed = extract.records[2];
    EXPECT_NE(opened.thread, closed.thread);
    EXPECT_LE(closed.start, opened.start);
    EXPECT_GE(closed.start + closed.duration, opened.start + opened.duration);
}

TEST_F(JournalTest, RowsCarryTheirQueryAndArraysTheirElements)
{
    const Extract extract = Observe(R"(wmi_class { name: "C" wmi_namespace: "root\\wmi"
        row { property { name: "B" byte_array { content { hex: "010203" } } } }
        row { property { name: "B" null_text: true } property { name: "T" text: "text" } } })",
                                    [] {
                                        WmiCommonLib rows(u"SELECT * FROM C", WmiNamespace::Wmi);
                                        EXPECT_EQ(rows.GetUint8ArrayByField(u"B").size(), 3U);
                                        rows.Next();
                                        EXPECT_THROW((void)rows.GetStringByField(u"B"), std::exception);
                                        EXPECT_EQ(rows.GetStringByField(u"T"), "text");
                                        EXPECT_THROW((void)rows.GetStringByField(u"X"), std::exception);
                                        rows.Next();
                                    });
    const auto reads = Of<call::Get>(extract);
    ASSERT_EQ(reads.size(), 4U);
    for (std::size_t one = 0; one < reads.size(); ++one) {
        EXPECT_EQ(reads[one]->query->space, u"root\\WMI");
        EXPECT_EQ(reads[one]->query->text, u"SELECT * FROM C");
        EXPECT_EQ(reads[one]->rowIndex, one == 0 ? 0U : 1U);
    }
    EXPECT_EQ(Of<call::SetProxyBlanket>(extract).at(0)->authenticationLevel, 3U) << "RPC_C_AUTHN_LEVEL_CALL";
    EXPECT_TRUE(reads[1]->value.isNullPointer);
    EXPECT_EQ(reads[2]->value.text, u"text");
    EXPECT_EQ(reads[3]->result, platform::hresult::kWbemNotFound);

    const auto elements = Of<call::ArrayElements>(extract);
    ASSERT_EQ(elements.size(), 1U) << "one record for the walk over an array";
    EXPECT_EQ(elements[0]->array, reads[0]->value.array);
    EXPECT_EQ(elements[0]->bytes, (Bytes{1, 2, 3}));

    const auto fetches = Of<call::Next>(extract);
    ASSERT_EQ(fetches.size(), 3U);
    EXPECT_EQ(fetches[2]->row, 0U);
    // Every object that was opened is closed under its number.
    std::vector<Serial> released;
    for (const call::Release* release : Of<call::Release>(extract)) {
        released.push_back(release->object);
    }
    for (const Serial opened : {fetches[0]->row, fetches[1]->row, fetches[0]->enumerator}) {
        EXPECT_EQ(std::ranges::count(released, opened), 1);
    }
    EXPECT_EQ(std::ranges::count(released, 0U), 0);
}

TEST_F(JournalTest, KnowsTheSystemsOwnMachineBehindDecorators)
{
    platform::ForwardingPlatform decorator(platform::Platform::System());
    EXPECT_TRUE(Journal(decorator).Take().isOfSystem);
    EXPECT_FALSE(Observe({}, [] {}).isOfSystem);
}

TEST_F(JournalTest, FullJournalSaysSoAndChangesNoAnswer)
{
    constexpr std::size_t kFewRecords = 8 * sizeof(Record);
    const auto use = [] {
        for (int pass = 0; pass < 5; ++pass) {
            EXPECT_TRUE(HardwareAccessLib::HardwareAccess().ReadIdentifyData(u"\\\\.\\PhysicalDrive0"));
        }
    };
    const Extract extract = Observe(kDrives, use, kFewRecords);
    EXPECT_GT(extract.lost, 0U);
    EXPECT_FALSE(extract.records.empty());
    EXPECT_EQ(extract.records.size() + extract.lost, 5 * 3U) << "open, control, close";
    const Extract whole = Observe(kDrives, use);
    for (std::size_t at = 0; at < extract.records.size(); ++at) {
        EXPECT_EQ(extract.records[at].call.index(), whole.records[at].call.index()) << "the records have no gap";
    }
    const auto machine = simulated::ParseMachine(kDrives);
    Journal taken(*machine, kFewRecords);
    for (int pass = 0; pass < 5; ++pass) {
        platform::DeviceIo& io = taken.DeviceIoPort();
        io.Close(io.Open(u"\\\\.\\PhysicalDrive0", 0, 3, nullptr, platform::kOpenExisting, 0, 0));
        EXPECT_EQ(taken.Take().lost, 0U) << "room that was taken is free again";
    }
}

TEST(TimeLimitsTest, RequestsGoWithNoMoreTimeThanIsLeft)
{
    const auto machine = simulated::ParseMachine("disk { number: 0 kind: SATA_HDD size: 1000000000 }");
    Journal journal(*machine);
    double left = 0;
    TimeLimits limits(journal, [&] { return left; });
    platform::DeviceIo& io = limits.DeviceIoPort();
    const platform::DeviceHandle disk(io, io.Open(u"\\\\.\\PhysicalDrive0", platform::kGenericRead | platform::kGenericWrite, 3,
                                                  nullptr, platform::kOpenExisting, 0, 0));
    const auto timeOutOf = [&](std::uint32_t code, auto request) {
        const auto asked = request.timeOutValue = 60;
        std::array<std::uint8_t, 256> out{};
        std::uint32_t returned = 0;
        static_cast<void>(journal.Take());
        static_cast<void>(io.Control(disk.Get(), code, &request, sizeof request, out.data(), out.size(), &returned, nullptr));
        EXPECT_EQ(request.timeOutValue, asked) << "the caller's request is as it was";
        const Extract extract = journal.Take();
        const auto* sent = extract.records.at(0).As<call::Control>();
        std::memcpy(static_cast<void*>(&request), sent->request.data(), sizeof request);
        return request.timeOutValue;
    };
    for (const auto& [seconds, expected] :
         std::vector<std::pair<double, std::uint32_t>>{{100, 60}, {60, 60}, {7.2, 8}, {0, 1}, {-3, 1}}) {
        left = seconds;
        EXPECT_EQ(timeOutOf(platform::kIoctlAtaPassThroughDirect, platform::AtaPassThroughDirect{}), expected) << seconds;
        EXPECT_EQ(timeOutOf(platform::kIoctlScsiPassThroughDirect, platform::ScsiPassThroughDirect{}), expected) << seconds;
        EXPECT_EQ(timeOutOf(platform::kIoctlStorageProtocolCommand, platform::StorageProtocolCommandHead{}), expected) << seconds;
    }
}

}  // namespace
}  // namespace orbis::insight
