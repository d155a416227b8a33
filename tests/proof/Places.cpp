#include "Places.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "platform/Requests.h"

namespace orbis::proof {
namespace {

using insight::call::Control;
using simulated::CountedCall;

constexpr std::string_view kSelect = "SELECT * FROM ";
constexpr std::string_view kInterfacePath = R"(\\?\)";

// Walks along the calls and knows what was said so far.
class Guide {
public:
    Guide(Datatype datatype, const std::vector<CountedCall>& calls, const std::vector<Control>& controls)
        : m_Datatype(datatype), m_Calls(calls), m_Controls(controls)
    {}

    std::string PlaceOf(std::size_t at)
    {
        const CountedCall& call = m_Calls[at];
        const std::string_view operation = call.operation;
        if (operation == "Wmi::InitializeCom") {
            m_Place = QueriedFrom(at);
            m_Place += m_Queries[m_Place]++ != 0 && m_Place == "Win32_DiskDrive" ? " again" : "";
        } else if (operation.starts_with("Setup::")) {
            m_Place = "walk";
        } else if (operation == "DeviceIo::Open") {
            m_Place = PlaceOfOpen(at);
        } else if (operation == "DeviceIo::Control") {
            m_Place = PlaceOfControl(at, true);
        } else if (operation == "DeviceIo::LogicalDriveStrings") {
            m_Place = "volumes";
        } else if (operation.starts_with("Firmware::")) {
            m_Place = "SMBIOS";
        } else if (IsListing(at) || (operation == "Pdh::OpenQuery" && IsListing(at + 1)) ||
                   (operation == "Pdh::CollectQueryData" && IsListing(at + 1))) {
            return "instances";
        } else if (operation.starts_with("Pdh::")) {
            m_IsMaking = m_IsMaking || operation == "Pdh::OpenQuery";
            m_Place = m_IsMaking ? "counters made" : "counters";
            m_IsMaking = m_IsMaking && operation != "Pdh::CollectQueryData";
        } else if (operation == "Text::DefaultToWide") {
            return "text";
        }
        return m_Place;
    }

private:
    // Instances are listed in a query of their own.
    [[nodiscard]] bool IsListing(std::size_t at) const
    {
        return at < m_Calls.size() &&
               (m_Calls[at].operation == "Pdh::CounterInstances" || m_Calls[at].subject.starts_with(R"(\PhysicalDisk(*))"));
    }

    [[nodiscard]] std::string QueriedFrom(std::size_t at) const
    {
        while (at < m_Calls.size() && !m_Calls[at].subject.starts_with(kSelect)) {
            ++at;
        }
        return at < m_Calls.size() ? m_Calls[at].subject.substr(kSelect.size()) : "no query";
    }

    // An open belongs to the request that follows it; drives that are opened and asked nothing are looked for.
    [[nodiscard]] std::string PlaceOfOpen(std::size_t at)
    {
        if (m_Calls[at].subject.starts_with(kInterfacePath)) {
            return "walk";
        }
        const bool isAsked = at + 1 < m_Calls.size() && m_Calls[at + 1].operation == "DeviceIo::Control";
        return isAsked ? PlaceOfControl(at + 1, false) : "drives";
    }

    [[nodiscard]] std::string PlaceOfControl(std::size_t at, bool isTaken)
    {
        const Control& request = m_Controls.at(m_Taken);
        m_Taken += isTaken ? 1 : 0;
        if (m_Calls[at].subject.find(kInterfacePath) != std::string::npos) {
            return "walk";
        }
        switch (request.code) {
            case platform::kIoctlDiskGetDriveGeometry:
                m_Identified = 0;
                return "geometry";
            case platform::kIoctlDiskGetDriveLayoutEx:
                return "layout";
            case platform::kIoctlDiskGetPartitionInfoEx:
                return "volume";
            case platform::kIoctlStorageGetDeviceNumber:
                return "volume number";
            case platform::kIoctlDiskPerformance:
                return "transferred";
            case platform::kIoctlStorageQueryProperty:
                return PlaceOfProperty(request);
            case platform::kIoctlStorageProtocolCommand:
                return "maker's log command";
            default:
                return PlaceOfPassThrough(request, isTaken);
        }
    }

    [[nodiscard]] std::string PlaceOfProperty(const Control& request) const
    {
        if (request.request.at(0) == platform::kStorageDeviceProperty) {
            return "bus type";
        }
        if (request.request.at(12) == platform::kNvmeDataTypeIdentify) {
            return m_Datatype == Datatype::Identify ? "identify" : "maker's identify";
        }
        return request.request.at(16) == 0x02 ? "health log" : "maker's log";
    }

    // IDENTIFY DEVICE is asked for in several places, each of which begins with the ATA way and may go on with the SCSI way.
    [[nodiscard]] std::string PlaceOfPassThrough(const Control& request, bool isTaken)
    {
        static const std::vector<std::string> kSmart{"log 9A", "model", "solid state"};
        static const std::vector<std::string> kInfo{"model", "log 9A"};
        const bool isSmart = m_Datatype == Datatype::SmartStatic || m_Datatype == Datatype::SmartDynamic;
        const bool isAta = request.code == platform::kIoctlAtaPassThroughDirect;
        const insight::Bytes command = CommandOf(request);
        if (!isAta && command.at(0) == 0x12) {
            m_Identified = 0;
            return "inquiry";
        }
        if (!isAta && command.at(14) == 0xB0) {
            return command.at(4) == 0xD0 ? "SMART data" : "SMART thresholds";
        }
        const bool isNext = isAta && command.at(6) == 0xEC;
        const std::size_t place = m_Identified + (isNext ? 1 : 0);
        m_Identified = isTaken ? place : m_Identified;
        return (isSmart ? kSmart : kInfo).at(place - 1);
    }

    Datatype m_Datatype;
    const std::vector<CountedCall>& m_Calls;
    const std::vector<Control>& m_Controls;
    std::size_t m_Taken = 0;       // of m_Controls
    std::size_t m_Identified = 0;  // places of the disk that asked for IDENTIFY DEVICE so far
    std::map<std::string, int> m_Queries;
    bool m_IsMaking = false;  // counters, from the query's opening to its first sample
    std::string m_Place;
};

}  // namespace

std::vector<std::string> PlacesOf(Datatype datatype, const std::vector<CountedCall>& calls, std::size_t constructed,
                                  const std::vector<Control>& controls)
{
    Guide guide(datatype, calls, controls);
    std::vector<std::string> places;
    for (std::size_t at = 0; at < calls.size(); ++at) {
        places.push_back((at < constructed ? "construction: " : "") + guide.PlaceOf(at));
    }
    return places;
}

insight::Bytes CommandOf(const Control& control)
{
    const auto from = [&](std::size_t offset) {
        return insight::Bytes(control.request.begin() + static_cast<std::ptrdiff_t>(offset), control.request.end());
    };
    switch (control.code) {
        case platform::kIoctlAtaPassThroughDirect:
            return from(offsetof(platform::AtaPassThroughDirect, currentTaskFile));
        case platform::kIoctlScsiPassThroughDirect:
            return from(offsetof(platform::ScsiPassThroughDirect, cdb));
        case platform::kIoctlStorageProtocolCommand:
            return from(sizeof(platform::StorageProtocolCommandHead));
        default:
            return {};
    }
}

}  // namespace orbis::proof
