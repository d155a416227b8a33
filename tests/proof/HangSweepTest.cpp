// Every platform call that may block, of every collection on the workstation, made to hang in turn: it is told what is waited for,
// and the same collection without that source never asks it again and has all other disks whole. No test waits: a call that hangs
// is one that fails while it is told.
#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Collections.h"
#include "insight/HiddenDisks.h"
#include "insight/HiddenSources.h"
#include "insight/Waits.h"
#include "platform/Requests.h"
#include "platform/Text.h"
#include "simulated/MachineFile.h"

namespace orbis::proof {
namespace {

using insight::HiddenDisk;
using insight::Source;
using simulated::FaultKind;

const std::set<std::string> kBlocking{"DeviceIo::Open",        "DeviceIo::Control",     "DeviceIo::LogicalDriveStrings",
                                      "Setup::ClassDevices",   "Setup::DeviceProperty", "Wmi::CreateLocator",
                                      "Wmi::ConnectServer",    "Wmi::ExecQuery",        "Wmi::Next",
                                      "Pdh::OpenQuery",        "Pdh::EnumInstances",    "Pdh::AddEnglishCounter",
                                      "Pdh::CounterInstances", "Pdh::CollectQueryData", "Firmware::SystemFirmwareTable"};

// The request that hung, and all requests so far.
class Listener final : public insight::WaitListener {
public:
    explicit Listener(const simulated::FaultingPlatform& faults) : m_Faults(faults) {}

    void Began(const Source& source, std::string_view what) noexcept override
    {
        m_Now = source;
        asked.insert(source);
        EXPECT_NE(what, "");
    }
    void Ended() noexcept override
    {
        if (m_Faults.Reached() && !m_IsReached) {
            hung = m_Now;
        }
        m_IsReached = m_Faults.Reached();
        m_Now.reset();
    }

    std::set<Source> asked;
    std::optional<Source> hung;

private:
    const simulated::FaultingPlatform& m_Faults;
    std::optional<Source> m_Now;
    bool m_IsReached = false;
};

const simulated::Machine& Workstation()
{
    static const auto kMachine = simulated::ParseMachine(MachineText("workstation"));
    return *kMachine;
}

// A collection of a machine without some sources.
struct Collecting {
    explicit Collecting(const std::optional<Source>& late = std::nullopt, const HiddenDisk& known = {})
        : plugin(Workstation().Anew())
    {
        if (late && late->kind == Source::Kind::Device) {
            HiddenDisk disk = insight::HiddenDiskOf(platform::Utf8ToUtf16(late->name));
            disk.number = known.number ? known.number : disk.number;
            disk.interfacePath = disk.interfacePath.empty() ? known.interfacePath : disk.interfacePath;
            disks.Hide(disk);
        } else if (late) {
            sources.Hide(*late);
        }
        platform::Platform::Replace(&disks);
    }

    ~Collecting() { static_cast<void>(Finish()); }
    Collecting(const Collecting&) = delete;
    Collecting& operator=(const Collecting&) = delete;

    // Ends the plug-in, before its decorators end, and says what is open then.
    std::string Finish() { return std::exchange(m_IsFinished, true) ? "" : plugin.Finish(); }

    Outcome Run(Datatype datatype)
    {
        plugin.Construct();
        return plugin.CollectNext(datatype);
    }

    PluginOnMachine plugin;
    Listener listener{plugin.Faults()};
    insight::WaitWatch waits{plugin.Faults(), listener};
    insight::HiddenSources sources{waits};
    insight::HiddenDisks disks{sources};

private:
    bool m_IsFinished = false;
};

// The items of an outcome; those of the activity without their numbers, which depend on the samples before.
std::map<std::string, std::string> ItemsOf(const Outcome& outcome, Datatype datatype)
{
    std::map<std::string, std::string> items;
    for (const Outcome::Item& item : outcome.items) {
        items[item.id] = datatype == Datatype::Dynamic || !item.message ? "" : item.message->SerializeAsString();
    }
    return items;
}

// The workstation's disks: number and item id, and what each path belongs to.
struct KnownDisks {
    std::map<std::string, std::uint32_t> numbers;  // by path
    std::map<std::uint32_t, std::string> ids;

    KnownDisks()
    {
        const auto machine = Workstation().Anew();
        for (const char* letters = "CDEFGHIJ"; *letters != 0; ++letters) {
            Ask(*machine, std::string(R"(\\.\)") + *letters + ':');
        }
        for (std::uint32_t number = 0; number < 8; ++number) {
            Ask(*machine, R"(\\.\PhysicalDrive)" + std::to_string(number));
        }
        Collecting all;
        for (const Outcome::Item& item : all.Run(Datatype::Static).items) {
            const auto& message = *item.message;
            const auto* name = message.GetDescriptor()->FindFieldByName("name");
            ids[static_cast<std::uint32_t>(std::stoul(message.GetReflection()->GetString(message, name).substr(4)))] = item.id;
        }
        for (const Source& source : all.listener.asked) {
            if (source.kind == Source::Kind::Device) {
                Ask(*machine, source.name);
            }
        }
    }

    // The data of a disk in an earlier collection.
    [[nodiscard]] HiddenDisk Of(std::uint32_t number) const
    {
        HiddenDisk disk;
        disk.number = number;
        for (const auto& [path, owner] : numbers) {
            if (owner == number && path.starts_with(R"(\\?\)")) {
                disk.interfacePath = platform::Utf8ToUtf16(path);
            }
        }
        return disk;
    }

private:
    void Ask(platform::Platform& machine, const std::string& path)
    {
        auto& port = machine.DeviceIoPort();
        const platform::DeviceHandle device(port, port.Open(platform::Utf8ToUtf16(path).c_str(), 0, 3, nullptr, 3, 0, 0));
        platform::StorageDeviceNumber number;
        std::uint32_t returned = 0;
        if (device.IsValid() && port.Control(device.Get(), platform::kIoctlStorageGetDeviceNumber, nullptr, 0, &number,
                                             sizeof number, &returned, nullptr)) {
            numbers[path] = number.deviceNumber;
        }
    }
};

class HangSweep : public ::testing::TestWithParam<Datatype> {};

TEST_P(HangSweep, EveryHangIsReportedAndLeftOut)
{
    const KnownDisks known;
    Collecting whole;
    const auto expected = ItemsOf(whole.Run(GetParam()), GetParam());
    const auto calls = whole.plugin.Faults().Calls();
    std::map<Source, std::string> late;  // and the call that hung
    for (std::size_t call = 0; call < calls.size(); ++call) {
        // Many calls ask the same: the first and the last of them stand for all.
        const auto& operation = calls[call].operation;
        const auto isSame = [&](const auto& one) { return one.operation == operation && one.subject == calls[call].subject; };
        if (std::find_if(calls.begin(), calls.end(), isSame) != calls.begin() + static_cast<std::ptrdiff_t>(call) &&
            std::find_if(calls.rbegin(), calls.rend(), isSame) != calls.rend() - static_cast<std::ptrdiff_t>(call) - 1) {
            continue;
        }
        if (!kBlocking.contains(operation)) {
            continue;
        }
        Collecting hanging;
        hanging.plugin.Faults().FailAt(call, FaultKind::Error);
        static_cast<void>(hanging.Run(GetParam()));
        ASSERT_TRUE(hanging.listener.hung) << operation << ' ' << calls[call].subject << " is not told";
        late.try_emplace(*hanging.listener.hung, operation + ' ' + calls[call].subject);
    }
    for (const auto& [source, call] : late) {
        SCOPED_TRACE(call);
        const auto number = known.numbers.find(source.name);
        const bool isDisk = source.kind == Source::Kind::Device && number != known.numbers.end();
        Collecting without(source, isDisk ? known.Of(number->second) : HiddenDisk{});
        const auto items = ItemsOf(without.Run(GetParam()), GetParam());
        for (const Source& asked : without.listener.asked) {
            const auto other = known.numbers.find(asked.name);
            const bool isSameDisk = isDisk && other != known.numbers.end() && other->second == number->second;
            EXPECT_FALSE(asked == source || isSameDisk) << asked.name << " is asked again";
        }
        if (isDisk) {
            auto others = expected;
            others.erase(known.ids.at(number->second));
            EXPECT_EQ(items, others);
        }
        EXPECT_EQ(without.Finish(), PluginOnMachine::kNothingOpen);
    }
}

INSTANTIATE_TEST_SUITE_P(Collections, HangSweep, ::testing::ValuesIn(kDatatypes), [](const auto& datatype) {
    std::string name(NameOf(datatype.param));
    std::erase(name, ' ');
    return name;
});

}  // namespace
}  // namespace orbis::proof
