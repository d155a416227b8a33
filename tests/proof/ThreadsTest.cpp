// Collections on one plug-in object and the exports of the device-query library from several threads at once. What a race would
// break shows in the answers here, and the race itself under ThreadSanitizer.
#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Collections.h"
#include "simulated/MachineFile.h"
#include "sondix/sondix.h"

namespace orbis::proof {
namespace {

constexpr int kRounds = 20;

// Runs every job on a thread of its own, all from the same moment.
void RunTogether(const std::vector<std::function<void()>>& jobs)
{
    std::latch start(static_cast<std::ptrdiff_t>(jobs.size()));
    std::vector<std::thread> threads;
    for (const auto& job : jobs) {
        threads.emplace_back([&start, &job] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                job();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class Threads : public ::testing::Test {
protected:
    ~Threads() override { platform::Platform::Replace(nullptr); }
    void ExpectNothingOpen() const
    {
        EXPECT_EQ(m_Machine->OpenObjects(), simulated::OpenCounts{});
        EXPECT_EQ(m_Machine->Misuses(), std::vector<std::string>{});
    }

    std::unique_ptr<simulated::Machine> m_Machine = simulated::ParseMachine(MachineText("workstation"));
};

TEST_F(Threads, CollectionsOfOnePlugin)
{
    platform::Platform::Replace(m_Machine.get());
    {
        // Activity is not among them: the host collects one datatype once at a time, and its query is confined to that.
        Veyra::Orbis::Plugins::StorageCollectorPlugin plugin(nullptr);
        std::vector<std::function<void()>> jobs;
        std::atomic<int> wrong = 0;
        for (const Datatype datatype : {Datatype::Identify, Datatype::Health, Datatype::Static, Datatype::SmartStatic,
                                        Datatype::SmartDynamic, Datatype::Static, Datatype::Identify}) {
            jobs.emplace_back([&plugin, &wrong, datatype, alone = Collect(plugin, datatype)] {
                wrong += Collect(plugin, datatype) == alone ? 0 : 1;
            });
        }
        RunTogether(jobs);
        EXPECT_EQ(wrong, 0);
    }
    ExpectNothingOpen();
}

TEST_F(Threads, ExportsOfTheDeviceQueryLibrary)
{
    platform::Platform::Replace(m_Machine.get());
    const std::uint32_t mask = SXGetPhysicalDrives();
    std::atomic<int> wrong = 0;
    std::vector<std::function<void()>> jobs;
    for (const std::int32_t drive : {0, 0, 1, 2, 3, 5}) {  // drive 0 from two threads, SATA drives among them
        const bool isNvme = drive < 3;
        jobs.emplace_back([&wrong, mask, drive, isNvme, busType = SXQueryStorageBusType(drive)] {
            auto* identify = SXNvmNewIdentifyControllerData(drive);
            auto* health = SXNvmNewHealthInfo(drive);
            auto* maker = SXNvmNewCustomizedHealthInfo(drive);
            const bool isRight = SXGetPhysicalDrives() == mask && SXQueryStorageBusType(drive) == busType &&
                                 (identify != nullptr) == isNvme && (health != nullptr) == isNvme &&
                                 (identify == nullptr || identify->VID() == 0x1DD4);
            wrong += isRight ? 0 : 1;
            SXDelete(maker);
            SXDelete(health);
            SXDelete(identify);
        });
    }
    RunTogether(jobs);
    EXPECT_EQ(wrong, 0);
    ExpectNothingOpen();
}

}  // namespace
}  // namespace orbis::proof
