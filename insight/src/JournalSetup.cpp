#include <algorithm>
#include <map>

#include "Store.h"

namespace orbis::insight {
namespace {

using platform::DeviceInfoSetHandle;

// The value by which the system finds an entry of a set again; it identifies the index of the entry.
using EntryKey = std::pair<std::uint32_t, std::uintptr_t>;
EntryKey KeyOf(const platform::DeviceInterfaceData& data) { return {data.flags, data.reserved}; }
EntryKey KeyOf(const platform::DeviceInfoData& data) { return {data.deviceInstance, data.reserved}; }

struct OpenSet {
    Serial serial = 0;
    std::map<EntryKey, std::uint32_t> interfaces;
    std::map<EntryKey, std::uint32_t> devices;
};

std::uint32_t IndexOf(const std::map<EntryKey, std::uint32_t>& entries, const EntryKey& key)
{
    const auto found = entries.find(key);
    return found != entries.end() ? found->second : call::kUnknownIndex;
}

class SetupJournal final : public platform::ForwardingSetup {
public:
    SetupJournal(platform::Setup& inner, Store& store) : ForwardingSetup(inner), m_Store(store) {}

    DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                     std::uint32_t flags) override
    {
        const auto start = Clock::now();
        const DeviceInfoSetHandle set = ForwardingSetup::ClassDevices(classGuid, enumerator, parentWindow, flags);
        const bool isOpen = set != platform::kInvalidDeviceInfoSet && set != 0;
        m_Store.Keep(start, [&]() -> Call {
            const Serial serial = isOpen ? m_Store.NewSerial() : 0;
            if (isOpen) {
                m_Open[set] = {serial, {}, {}};
            }
            return call::ClassDevices{serial,
                                      classGuid != nullptr ? *classGuid : platform::Guid{},
                                      TextOf(enumerator),
                                      flags,
                                      isOpen ? 0 : set,
                                      isOpen ? 0 : LastError()};
        });
        return set;
    }

    bool EnumDeviceInterfaces(DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override
    {
        const auto start = Clock::now();
        const bool done = ForwardingSetup::EnumDeviceInterfaces(set, interfaceClass, index, data);
        m_Store.Keep(start, [&]() -> Call {
            OpenSet& known = m_Open[set];
            if (done) {
                known.interfaces[KeyOf(*data)] = index;
            }
            return call::EnumDeviceInterfaces{known.serial, interfaceClass, index, done, done ? 0 : LastError()};
        });
        return done;
    }

    bool DeviceInterfaceDetail(DeviceInfoSetHandle set, const platform::DeviceInterfaceData& data, void* detail,
                               std::uint32_t detailSize, std::uint32_t* required) override
    {
        const auto start = Clock::now();
        const bool done = ForwardingSetup::DeviceInterfaceDetail(set, data, detail, detailSize, required);
        m_Store.Keep(start, [&]() -> Call {
            const OpenSet& known = m_Open[set];
            const auto* bytes = static_cast<const std::uint8_t*>(detail);
            call::DeviceInterfaceDetail kept{known.serial,
                                             IndexOf(known.interfaces, KeyOf(data)),
                                             {},
                                             bytes != nullptr ? Bytes(bytes, bytes + detailSize) : Bytes{},
                                             required != nullptr ? *required : 0,
                                             done,
                                             done ? 0 : LastError()};
            for (std::size_t at = platform::kDeviceInterfaceDetailPathOffset; done && at + 1 < kept.detail.size(); at += 2) {
                const auto unit = static_cast<char16_t>(kept.detail[at] | kept.detail[at + 1] << 8U);
                if (unit == 0) {
                    break;
                }
                kept.path += unit;
            }
            return kept;
        });
        return done;
    }

    bool EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, platform::DeviceInfoData* data) override
    {
        const auto start = Clock::now();
        const bool done = ForwardingSetup::EnumDeviceInfo(set, index, data);
        m_Store.Keep(start, [&]() -> Call {
            OpenSet& known = m_Open[set];
            if (done) {
                known.devices[KeyOf(*data)] = index;
            }
            return call::EnumDeviceInfo{known.serial, index, done, done ? 0 : LastError()};
        });
        return done;
    }

    bool DeviceProperty(DeviceInfoSetHandle set, const platform::DeviceInfoData& data, const platform::DevicePropertyKey& key,
                        std::uint32_t* type, void* buffer, std::uint32_t bufferSize, std::uint32_t* required,
                        std::uint32_t flags) override
    {
        const auto start = Clock::now();
        const bool done = ForwardingSetup::DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags);
        m_Store.Keep(start, [&]() -> Call {
            const OpenSet& known = m_Open[set];
            const auto* bytes = static_cast<const std::uint8_t*>(buffer);
            return call::DeviceProperty{known.serial,
                                        IndexOf(known.devices, KeyOf(data)),
                                        key,
                                        flags,
                                        type != nullptr ? *type : 0,
                                        bytes != nullptr ? Bytes(bytes, bytes + bufferSize) : Bytes{},
                                        required != nullptr ? *required : 0,
                                        done,
                                        done ? 0 : LastError()};
        });
        return done;
    }

    bool DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept override
    {
        const Serial serial = m_Store.Locked([&] {
            const auto found = m_Open.find(set);
            const Serial known = found != m_Open.end() ? found->second.serial : 0;
            if (found != m_Open.end()) {
                m_Open.erase(found);
            }
            return known;
        });
        const auto start = Clock::now();
        const bool done = ForwardingSetup::DestroyDeviceInfoList(set);
        m_Store.Keep(start, [&]() -> Call { return call::DestroyDeviceInfoList{serial, done, done ? 0 : LastError()}; });
        return done;
    }

private:
    Store& m_Store;
    std::map<DeviceInfoSetHandle, OpenSet> m_Open;
};

}  // namespace

std::unique_ptr<platform::Setup> JournalSetup(platform::Setup& inner, Store& store)
{
    return std::make_unique<SetupJournal>(inner, store);
}

}  // namespace orbis::insight
