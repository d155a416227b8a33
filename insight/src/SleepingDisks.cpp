#include "insight/SleepingDisks.h"

#include <algorithm>
#include <string>

#include "DiskNames.h"
#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::insight {
namespace {

using namespace platform;

std::u16string PathOfDrive(std::uint32_t number) { return u"\\\\.\\PhysicalDrive" + Utf8ToUtf16(std::to_string(number)); }

std::vector<std::u16string> WalkedPaths(Setup& setup)
{
    std::vector<std::u16string> paths;
    const DeviceInfoSet set(setup,
                            setup.ClassDevices(&kDiskInterfaceGuid, nullptr, nullptr, kDigcfPresent | kDigcfDeviceInterface));
    DeviceInterfaceData data;
    for (std::uint32_t index = 0; set.IsValid() && setup.EnumDeviceInterfaces(set.Get(), kDiskInterfaceGuid, index, &data);
         ++index) {
        paths.push_back(InterfacePathOf(setup, set.Get(), data));
    }
    return paths;
}

}  // namespace

bool SleepingDisks::IsAsleep(const std::u16string& path)
{
    return m_Inner.DeviceIoPort().DiskPowerState(path.c_str()) == PowerState::Asleep;
}

void SleepingDisks::HideIfAsleep(const std::u16string& path)
{
    const HiddenDisk disk = HiddenDiskOf(path);
    const std::vector<HiddenDisk> known = m_Hidden.Hidden();
    if (std::none_of(known.begin(), known.end(), [&](const HiddenDisk& one) { return IsSameDisk(one, disk); }) && IsAsleep(path)) {
        m_Hidden.Hide(disk);
    }
}

void SleepingDisks::Look()
{
    for (const HiddenDisk& disk : m_Hidden.Hidden()) {
        // A disk without a number cannot be asked here, so it is shown again.
        if (!disk.number || !IsAsleep(PathOfDrive(*disk.number))) {
            m_Hidden.Show(disk);
        }
    }
    DeviceIo& io = m_Inner.DeviceIoPort();
    constexpr std::uint32_t kNumbersInAMask = 32;  // the collectors try the same numbers
    constexpr std::uint32_t kMostDrives = 4096;
    bool isThere = true;
    for (std::uint32_t number = 0; number < kNumbersInAMask || (isThere && number < kMostDrives); ++number) {
        HiddenDisk disk;
        disk.number = number;
        const std::vector<HiddenDisk> known = m_Hidden.Hidden();
        isThere = std::any_of(known.begin(), known.end(), [&](const HiddenDisk& one) { return IsSameDisk(one, disk); });
        if (isThere) {
            continue;  // it was asked above
        }
        const PowerState state = io.DiskPowerState(PathOfDrive(number).c_str());
        const std::uint32_t error = state == PowerState::Unknown ? io.LastError() : win32::kSuccess;
        isThere = error != win32::kFileNotFound && error != win32::kPathNotFound;
        if (state == PowerState::Asleep) {
            m_Hidden.Hide(disk);
        }
    }
    if (m_Hidden.Hidden().empty()) {
        return;
    }
    std::uint32_t characters = 0;
    // HiddenDisks learns the disks' letters from the names of the instances.
    static_cast<void>(m_Hidden.PdhPort().EnumInstances(u"PhysicalDisk", nullptr, &characters));
    for (const std::u16string& path : WalkedPaths(m_Inner.SetupPort())) {
        HideIfAsleep(path);
    }
    for (const char16_t letter : DriveLettersOf(io)) {
        HideIfAsleep(std::u16string(u"\\\\.\\") + letter + u':');
    }
}

}  // namespace orbis::insight
