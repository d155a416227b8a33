// Every request that any collection sends to any device of the example machines, against a short list of read-only ones.
#include <algorithm>
#include <cstring>
#include <iostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Collections.h"
#include "JournalInForce.h"
#include "Places.h"
#include "insight/SleepingDisks.h"
#include "platform/DeviceIo.h"
#include "platform/Requests.h"
#include "platform/Text.h"
#include "simulated/MachineFile.h"

namespace orbis::proof {
namespace {

using insight::call::Control;

// A request as the ledger names it: the operation that the device is asked for, how it was opened, and which way the data goes.
std::string Access(std::uint32_t access)
{
    switch (access) {
        case 0:
            return "no access";
        case platform::kFileReadAttributes:
            return "read attributes";
        case platform::kGenericRead:
            return "read";
        case platform::kGenericRead | platform::kGenericWrite:
            return "read and write";
        default:
            return fmt::format("access {:#x}", access);
    }
}

std::string Command(const Control& request)
{
    const insight::Bytes bytes = CommandOf(request);
    const auto byte = [&](std::size_t at) { return at < bytes.size() ? bytes[at] : 0xFFU; };
    const auto input = [&](std::size_t at) { return at < request.request.size() ? request.request[at] : 0xFFU; };
    switch (request.code) {
        case platform::kIoctlAtaPassThroughDirect:
            return fmt::format(" ATA {:02x} features {:02x} log {:02x}", byte(6), byte(0), byte(2));
        case platform::kIoctlScsiPassThroughDirect:
            return byte(0) == 0x85 ? fmt::format(" ATA-16 protocol {:02x}{:02x} {:02x} features {:02x} log {:02x}", byte(1),
                                                 byte(2), byte(14), byte(4), byte(8))
                                   : fmt::format(" SCSI {:02x}", byte(0));
        case platform::kIoctlStorageProtocolCommand:
            return fmt::format(" NVMe admin {:02x} log {:02x}", byte(0), byte(40));
        case platform::kIoctlStorageQueryProperty:
            return input(0) == platform::kStorageDeviceProperty
                       ? fmt::format(" property 0 query {}", input(4))
                       : fmt::format(" property {} query {} type {} value {:02x}", input(0), input(4), input(12), input(16));
        default:
            return "";
    }
}

template <class Kind>
Kind HeadOf(const insight::Bytes& request)
{
    Kind head{};
    std::memcpy(static_cast<void*>(&head), request.data(), std::min(request.size(), sizeof(head)));
    return head;
}

bool IsDataToDevice(const Control& request)
{
    switch (request.code) {
        case platform::kIoctlAtaPassThroughDirect:
            return (HeadOf<platform::AtaPassThroughDirect>(request.request).ataFlags & platform::kAtaFlagsDataOut) != 0;
        case platform::kIoctlScsiPassThroughDirect:
            return HeadOf<platform::ScsiPassThroughDirect>(request.request).dataIn == platform::kScsiIoctlDataOut;
        case platform::kIoctlStorageProtocolCommand:
            return HeadOf<platform::StorageProtocolCommandHead>(request.request).dataToDeviceTransferLength != 0;
        default:
            return false;
    }
}

// Empty for a call that is no request to a device.
std::string LedgerLine(const insight::Record& record)
{
    if (const auto* open = record.As<insight::call::Open>()) {
        return "open, " + Access(open->device->access);
    }
    const auto* request = record.As<Control>();
    return request == nullptr ? std::string{}
                              : fmt::format("{:#010x}{}, {}{}", request->code, Command(*request), Access(request->device->access),
                                            IsDataToDevice(*request) ? ", DATA TO THE DEVICE" : "");
}

// Windows demands read and write access for pass-through, whatever the command; the commands are those that only read.
const std::set<std::string_view> kReadOnly{
    "open, no access",
    "open, read attributes",
    "open, read",
    "open, read and write",
    "0x002d1080, read",                                                       // IOCTL_STORAGE_GET_DEVICE_NUMBER
    "0x00070048, read",                                                       // IOCTL_DISK_GET_PARTITION_INFO_EX
    "0x00070020, read attributes",                                            // IOCTL_DISK_PERFORMANCE
    "0x00070000, read and write",                                             // IOCTL_DISK_GET_DRIVE_GEOMETRY
    "0x00070050, read and write",                                             // IOCTL_DISK_GET_DRIVE_LAYOUT_EX
    "0x0004d030 ATA ec features 00 log 00, read and write",                   // IDENTIFY DEVICE
    "0x0004d030 ATA 2f features 00 log 9a, read and write",                   // READ LOG EXT
    "0x0004d014 SCSI 12, read and write",                                     // INQUIRY
    "0x0004d014 ATA-16 protocol 080e ec features 00 log 00, read and write",  // IDENTIFY DEVICE, PIO data-in
    "0x0004d014 ATA-16 protocol 080e 2f features 00 log 9a, read and write",  // READ LOG EXT
    "0x0004d014 ATA-16 protocol 080e b0 features d0 log 00, read and write",  // SMART READ DATA
    "0x0004d014 ATA-16 protocol 080e b0 features d1 log 00, read and write",  // SMART READ THRESHOLDS
    "0x002d1400 property 0 query 0, no access",                               // the device's descriptor
    "0x002d1400 property 49 query 0 type 1 value 01, no access",              // Identify Controller
    "0x002d1400 property 49 query 0 type 2 value 02, no access",              // Get Log Page, SMART / Health Information
    "0x002d1400 property 49 query 0 type 2 value d1, no access",              // Get Log Page, the maker's
    "0x002dd3c0 NVMe admin 02 log d1, read and write",                        // the same as a command
};

TEST(Ledger, CollectionsOnlyRead)
{
    std::set<std::string> seen;
    std::size_t requests = 0;
    for (const std::string& name : ExampleMachines()) {
        PluginOnMachine plugin(simulated::ParseMachine(MachineText(name)));
        fakes::JournalInForce journal;
        plugin.Construct();
        for (const Datatype datatype : kDatatypes) {
            static_cast<void>(plugin.CollectNext(datatype));
            EXPECT_EQ(plugin.Machine().OpenObjects().deviceHandles, 0) << name << ", " << NameOf(datatype);
            for (const insight::Record& record : journal.Take()) {
                if (const std::string line = LedgerLine(record); !line.empty()) {
                    EXPECT_TRUE(kReadOnly.contains(line)) << name << ", " << NameOf(datatype) << ": " << line;
                    seen.insert(line);
                    ++requests;
                }
            }
        }
        EXPECT_EQ(plugin.Finish(), PluginOnMachine::kNothingOpen) << name;
    }
    for (const std::string_view line : kReadOnly) {
        EXPECT_TRUE(seen.contains(std::string(line))) << "nobody asks for: " << line;
    }
    std::cout << "ledger: " << requests << " requests of " << seen.size() << " kinds, all read-only\n";
}

// Passes of all collections, and what they asked for.
struct Passes {
    std::multiset<std::string> requests;
    std::multiset<std::string> powerStates;  // paths
    std::vector<std::set<std::string>> items;

    // Two passes, a minute apart, of a machine whose disks 3 and 5 fall asleep and wake up as `sleep` says.
    Passes(const std::string& sleep, bool skipsSleeping)
    {
        std::string machine = MachineText("workstation");
        for (const std::string place : {"\n  number: 3\n", "\n  number: 5\n"}) {
            machine.insert(machine.find(place) + place.size(), sleep);
        }
        PluginOnMachine plugin(simulated::ParseMachine(machine));
        fakes::JournalInForce journal;
        insight::SleepingDisks disks(platform::Platform::Current());
        if (skipsSleeping) {
            platform::Platform::Replace(&disks.Visible());
            disks.Look();
        }
        plugin.Construct();
        for (const int pass : {1, 2}) {
            if (skipsSleeping && pass == 2) {
                plugin.Machine().AdvanceClock(std::chrono::minutes(1));
                disks.Look();
            }
            items.emplace_back();
            for (const Datatype datatype : kDatatypes) {
                for (const Outcome::Item& item : plugin.CollectNext(datatype).items) {
                    items.back().insert(fmt::format("{} {}", NameOf(datatype), item.id));
                }
            }
        }
        for (const insight::Record& record : journal.Take()) {
            if (const auto* power = record.As<insight::call::DiskPowerState>()) {
                powerStates.insert(platform::Utf16ToUtf8(power->text));
            } else if (const std::string line = LedgerLine(record); !line.empty()) {
                requests.insert(line);
            }
        }
        EXPECT_EQ(plugin.Finish(), PluginOnMachine::kNothingOpen);
    }
};

// The machine counts a request to a disk that has said that it is asleep as a misuse, of which Finish tells.
TEST(Ledger, SleepingDisksAreAskedForTheirPowerStateAlone)
{
    const Passes whole({}, false);
    const Passes awake({}, true);
    EXPECT_EQ(awake.requests, whole.requests) << "more than the power state is asked beyond the collections";
    EXPECT_EQ(awake.powerStates.size(), 2 * 32U);
    EXPECT_EQ(awake.items, whole.items);

    const Passes asleep("  sleeps_at: 0\n", true);
    std::set<std::string> others = whole.items.front();
    std::erase_if(others,
                  [](const std::string& item) { return item.find("SAMSUNG") != item.npos || item.find("IRON") != item.npos; });
    EXPECT_LT(others.size(), whole.items.front().size());
    EXPECT_EQ(asleep.items, (std::vector{others, others}));

    const Passes between("  sleeps_at: 0\n  wakes_at: 30\n", true);
    EXPECT_EQ(between.items, (std::vector{others, whole.items.back()})) << "they are back when they wake up";
}

}  // namespace
}  // namespace orbis::proof
