#include "DriveDouble.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "HexFile.h"
#include "platform/Requests.h"

namespace orbis::tests {
namespace {

using namespace orbis::platform;

constexpr std::uint8_t kInquiry = 0x12;
constexpr std::uint8_t kIdentify = 0xEC;
constexpr std::uint8_t kReadLog = 0x2F;
constexpr std::uint8_t kSmart = 0xB0;

Ask AskOfAta(std::uint8_t command)
{
    return command == kIdentify ? Ask::IdentifyByAta : command == kReadLog ? Ask::LogByAta : throw std::logic_error("ATA command");
}

Ask AskOfScsi(const std::array<std::uint8_t, 16>& cdb)
{
    if (cdb[0] == kInquiry) {
        return Ask::Inquiry;
    }
    switch (cdb[14]) {
        case kIdentify:
            return Ask::IdentifyByScsi;
        case kReadLog:
            return Ask::LogByScsi;
        case kSmart:
            return cdb[4] == 0xD0 ? Ask::SmartData : Ask::SmartThresholds;
        default:
            throw std::logic_error("SCSI command");
    }
}

// Where the request's structure keeps what an answer touches.
struct Layout {
    Ask ask;
    std::size_t data, length, status;
    std::uint8_t error;
};

Layout LayoutOf(std::uint32_t code, const void* in)
{
    if (code == kIoctlAtaPassThroughDirect) {
        AtaPassThroughDirect request;
        std::memcpy(&request, in, sizeof(request));
        return {AskOfAta(request.currentTaskFile[6]), offsetof(AtaPassThroughDirect, dataBuffer),
                offsetof(AtaPassThroughDirect, dataTransferLength), offsetof(AtaPassThroughDirect, currentTaskFile) + 6, 0x51};
    }
    ScsiPassThroughDirect request;
    std::memcpy(&request, in, sizeof(request));
    return {AskOfScsi(request.cdb), offsetof(ScsiPassThroughDirect, dataBuffer),
            offsetof(ScsiPassThroughDirect, dataTransferLength), offsetof(ScsiPassThroughDirect, scsiStatus), 0x02};
}

}  // namespace

std::vector<Ask> DriveDouble::Asked() const
{
    std::vector<Ask> asked;
    std::ranges::transform(requests, std::back_inserter(asked), &DriveRequest::ask);
    return asked;
}

DeviceHandle DriveDouble::OpenDevice(const std::u16string& path, std::uint32_t access, std::uint32_t share, void* /*security*/,
                                     std::uint32_t disposition, std::uint32_t flags, NativeHandle /*templateFile*/)
{
    opened.push_back({path, access, share, disposition, flags});
    const auto fault = faults.find(opened.size());
    if (fault != faults.end() && fault->second == Fault::OpenFails) {
        return {m_Port, kInvalidHandle};
    }
    ++m_Port.open;
    return {m_Port, 1};
}

bool DriveDouble::DeviceControl(const DeviceHandle& /*device*/, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                                std::uint32_t outSize, std::uint32_t* /*returned*/, void* /*overlapped*/)
{
    const Layout layout = LayoutOf(code, in);
    std::uint8_t* data = nullptr;
    std::uint32_t length = 0;
    auto* request = static_cast<std::uint8_t*>(in);
    std::memcpy(&data, request + layout.data, sizeof(data));
    std::memcpy(&length, request + layout.length, sizeof(length));
    const bool zeroedData = std::all_of(data, data + length, [](std::uint8_t byte) { return byte == 0; });
    requests.push_back({layout.ask, code, {request, request + inSize}, outSize, in == out, zeroedData});
    std::fill_n(requests.back().bytes.begin() + static_cast<std::ptrdiff_t>(layout.data), sizeof(data), std::uint8_t{0});

    const auto fault = faults.find(opened.size());
    if (fault != faults.end()) {
        switch (fault->second) {
            case Fault::OpenFails:
                throw std::logic_error("a request to a device that is not open");
            case Fault::RequestFails:
                return false;
            case Fault::Zeros:
                return true;
            case Fault::StandardException:
                throw std::runtime_error("out of luck");
            case Fault::OtherException:
                throw 1;
            case Fault::Error:
                break;
        }
    }
    request[layout.status] = fault != faults.end() ? layout.error : 0;
    if (const auto page = pages.find(layout.ask); page != pages.end()) {
        std::copy_n(page->second.begin(), length, data);
    }
    return true;
}

Sector ReadSector(const std::string& file)
{
    const std::vector<std::uint8_t> bytes = ReadHex(file);
    Sector sector{};
    if (bytes.size() != sector.size()) {
        throw std::runtime_error(file + ": not 512 bytes");
    }
    std::ranges::copy(bytes, sector.begin());
    return sector;
}

Sector MakeSector(const std::vector<std::pair<std::size_t, std::vector<std::uint8_t>>>& pieces)
{
    Sector sector{};
    for (const auto& [offset, bytes] : pieces) {
        std::ranges::copy(bytes, sector.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    return sector;
}

}  // namespace orbis::tests
