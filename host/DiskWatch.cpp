#include "DiskWatch.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

#include "Text.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/Text.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Nvme.h"
#include "platform/protocol/Scsi.h"

namespace orbis::host {
namespace {

using namespace platform;

namespace ata = protocol::ata;
namespace scsi = protocol::scsi;

template <class T>
std::optional<T> As(const void* bytes, std::size_t size)
{
    if (bytes == nullptr || size < sizeof(T)) {
        return std::nullopt;
    }
    T value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

// ASCII without the padding of devices; other bytes are left out.
std::string DeviceText(std::string_view bytes)
{
    std::string text;
    std::copy_if(bytes.begin(), bytes.end(), std::back_inserter(text), [](char letter) { return letter >= ' ' && letter <= '~'; });
    return Trimmed(text);
}

// Words 10 to 19 of IDENTIFY DEVICE; the two letters of each word are swapped.
std::string AtaSerialNumber(const void* identify)
{
    std::string text(static_cast<const char*>(identify) + 20, 20);
    for (std::size_t at = 0; at < text.size(); at += 2) {
        std::swap(text[at], text[at + 1]);
    }
    return DeviceText(text);
}

// "C:" of "\\.\C:"
std::optional<std::string> LetterOf(const std::u16string& path)
{
    const bool isLetter = path.size() == 6 && path.starts_with(uR"(\\.\)") && path[5] == u':' && path[4] < 0x80;
    return isLetter ? std::optional(std::string{static_cast<char>(path[4]), ':'}) : std::nullopt;
}

// N of "\\.\PhysicalDriveN"
std::optional<std::uint32_t> NumberOf(const std::u16string& path)
{
    constexpr std::u16string_view kDrive = uR"(\\.\PhysicalDrive)";
    if (!path.starts_with(kDrive) || path.size() == kDrive.size() || path.size() > kDrive.size() + 9) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    for (const char16_t digit : std::u16string_view(path).substr(kDrive.size())) {
        if (digit < u'0' || digit > u'9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint32_t>(digit - u'0');
    }
    return number;
}

// A pass-through request: its ATA command, or 0, and its data buffer.
struct PassThrough {
    std::uint8_t command = 0;
    std::uint32_t length = 0;
    const void* data = nullptr;
};

PassThrough CommandOf(std::uint32_t code, const void* in, std::uint32_t inSize)
{
    if (code == kIoctlAtaPassThroughDirect) {
        if (const auto request = As<AtaPassThroughDirect>(in, inSize)) {
            return {request->currentTaskFile[ata::task_file::kCommand], request->dataTransferLength, request->dataBuffer};
        }
    } else if (code == kIoctlScsiPassThroughDirect) {
        if (const auto request = As<ScsiPassThroughDirect>(in, inSize); request && request->cdb[0] == scsi::kAtaPassThrough16) {
            return {request->cdb[scsi::ata_pass_through::kCommand16], request->dataTransferLength, request->dataBuffer};
        }
    }
    return {};
}

bool IsRefused(std::uint32_t code, const void* out, std::uint32_t outSize)
{
    if (code == kIoctlAtaPassThroughDirect) {
        const auto reply = As<AtaPassThroughDirect>(out, outSize);
        return reply && (reply->currentTaskFile[ata::task_file::kStatus] & ata::kStatusError) != 0;
    }
    const auto reply = As<ScsiPassThroughDirect>(out, outSize);
    return reply && (reply->scsiStatus & scsi::kCheckCondition) != 0;
}

}  // namespace

std::vector<Disk> DiskWatch::Seen()
{
    const std::lock_guard lock(m_Lock);
    std::vector<Disk> disks;
    for (const auto& [number, drive] : m_Drives) {
        if (drive.pnpDeviceId.empty()) {
            continue;
        }
        // The plug-in decodes the text with the system's code page, so the item id is made in the same way.
        Disk disk{"Disk_" + DefaultToUtf8(drive.pnpDeviceId),
                  number,
                  drive.model,
                  drive.serialNumber,
                  {},
                  drive.isNvme,
                  drive.smartError};
        for (const auto& [letter, where] : m_Letters) {
            if (where == number) {
                const auto serial = m_VolumeSerials.find(letter);
                disk.letters[letter] = serial == m_VolumeSerials.end() ? std::string() : serial->second;
            }
        }
        disks.push_back(std::move(disk));
    }
    return disks;
}

std::optional<std::uint32_t> DiskWatch::NumberOfPath(const std::string& path)
{
    const std::u16string wide = Utf8ToUtf16(path);
    const auto letter = LetterOf(wide);
    const std::lock_guard lock(m_Lock);
    if (const auto number = host::NumberOf(wide)) {
        return number;
    }
    if (const auto known = m_Numbers.find(wide); known != m_Numbers.end()) {
        return known->second;
    }
    if (const auto known = letter ? m_Letters.find(*letter) : m_Letters.end(); known != m_Letters.end()) {
        return known->second;
    }
    // An interface path starts with the device's id.
    for (const auto& [number, drive] : m_Drives) {
        std::string start = R"(\\?\)" + drive.pnpDeviceId + '#';
        std::replace(start.begin() + 4, start.end(), '\\', '#');
        const auto isSame = [](char one, char other) {
            return std::tolower(static_cast<unsigned char>(one)) == std::tolower(static_cast<unsigned char>(other));
        };
        if (!drive.pnpDeviceId.empty() && path.size() >= start.size() &&
            std::equal(start.begin(), start.end(), path.begin(), isSame)) {
            return number;
        }
    }
    return std::nullopt;
}

std::string DiskWatch::InterfacePathOf(std::uint32_t number)
{
    const std::lock_guard lock(m_Lock);
    const auto known = std::find_if(m_Numbers.begin(), m_Numbers.end(), [number](const auto& one) { return one.second == number; });
    return known != m_Numbers.end() ? Utf16ToUtf8(known->first) : std::string();
}

std::optional<DiskWatch::DeviceFailure> DiskWatch::TakeLastFailure()
{
    const std::lock_guard lock(m_Lock);
    return std::exchange(m_LastFailure, std::nullopt);
}

Hresult DiskWatch::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    const Hresult result = ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
    if (!Failed(result) && query != nullptr) {
        const std::u16string_view text = query;
        const std::lock_guard lock(m_Lock);
        if (text == u"SELECT * FROM Win32_DiskDrive") {
            m_Enumerations[*enumerator] = Table::DiskDrive;
            m_Listed.clear();
        } else if (text == u"SELECT * FROM Win32_LogicalDisk") {
            m_Enumerations[*enumerator] = Table::LogicalDisk;
        }
    }
    return result;
}

Hresult DiskWatch::Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned)
{
    const Hresult result = ForwardingWmi::Next(enumerator, timeout, object, returned);
    const std::lock_guard lock(m_Lock);
    const auto found = m_Enumerations.find(enumerator);
    if (found != m_Enumerations.end() && !Failed(result) && *object != nullptr) {
        m_Rows[*object] = {found->second, {}};
    }
    return result;
}

Hresult DiskWatch::Get(ComObject* object, const char16_t* name, Variant* value)
{
    const Hresult result = ForwardingWmi::Get(object, name, value);
    const std::lock_guard lock(m_Lock);
    const auto row = m_Rows.find(object);
    if (row != m_Rows.end() && !Failed(result)) {
        if (value->type == VariantType::String && value->AsString() != nullptr) {
            row->second.values[name] = Trimmed(Utf16ToUtf8(value->AsString()));
        } else if (value->type == VariantType::Int32 || value->type == VariantType::UInt32) {
            row->second.values[name] = std::to_string(static_cast<std::uint32_t>(value->payload));
        }
    }
    return result;
}

void DiskWatch::Release(ComObject* object) noexcept
{
    {
        const std::lock_guard lock(m_Lock);
        m_Enumerations.erase(object);
        if (const auto row = m_Rows.find(object); row != m_Rows.end()) {
            Take(row->second);
            m_Rows.erase(row);
        }
    }
    ForwardingWmi::Release(object);
}

void DiskWatch::Take(const Row& row)
{
    const auto value = [&](const char16_t* name) {
        const auto found = row.values.find(name);
        return found == row.values.end() ? std::string() : found->second;
    };
    if (row.table == Table::LogicalDisk) {
        m_VolumeSerials[value(u"Caption")] = value(u"VolumeSerialNumber");
        return;
    }
    const std::string id = value(u"PNPDeviceID");
    if (id.empty() || value(u"Index").empty()) {
        return;  // a query for models only, or a row without an identity
    }
    const auto number = static_cast<std::uint32_t>(std::stoul(value(u"Index")));
    if (!m_Listed.insert(number).second) {
        return;  // the plug-in uses the first of two rows with the same number
    }
    Drive& drive = m_Drives[number];
    if (!drive.pnpDeviceId.empty() && drive.pnpDeviceId != id) {
        drive = {};  // another disk has this number now
    }
    drive.pnpDeviceId = id;
    drive.model = value(u"Model");
}

NativeHandle DiskWatch::Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                             std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile)
{
    const NativeHandle handle = ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
    const std::lock_guard lock(m_Lock);
    if (handle == kInvalidHandle) {
        m_LastFailure = {Utf16ToUtf8(path), true, SavedLastError()};
    } else {
        m_Open[handle] = path;
    }
    return handle;
}

bool DiskWatch::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                        std::uint32_t* returned, void* overlapped)
{
    // The request is read first, because the answer may overwrite it.
    const PassThrough request = CommandOf(code, in, inSize);
    const std::uint32_t propertyId =
        code == kIoctlStorageQueryProperty && in != nullptr && inSize >= sizeof(StoragePropertyQueryHead)
            ? As<StoragePropertyQueryHead>(in, inSize)->propertyId
            : 0;
    const bool isAnswered = ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped);

    const std::lock_guard lock(m_Lock);
    const auto open = m_Open.find(device);
    if (open == m_Open.end()) {
        return isAnswered;
    }
    if (!isAnswered) {
        m_LastFailure = {Utf16ToUtf8(open->second), false, SavedLastError()};
    }
    const std::string_view reply(static_cast<const char*>(out), isAnswered ? std::min(outSize, *returned) : 0);
    if (code == kIoctlStorageGetDeviceNumber) {
        if (const auto number = As<StorageDeviceNumber>(reply.data(), reply.size())) {
            TakeDeviceNumber(open->second, number->deviceNumber);
        }
        return isAnswered;
    }
    Drive* drive = DriveAt(open->second);
    if (drive == nullptr) {
        return isAnswered;
    }
    if (isAnswered && code == kIoctlStorageQueryProperty) {
        TakeProperty(*drive, propertyId, reply);
    } else if (request.command == ata::kSmart) {
        drive->smartError.reset();
        if (!isAnswered) {
            drive->smartError = SavedLastError();
        } else if (IsRefused(code, out, outSize)) {
            drive->smartError = 0;
        }
    } else if (isAnswered && request.command == ata::kIdentifyDevice && request.data != nullptr &&
               request.length >= ata::kSectorSize && !IsRefused(code, out, outSize)) {
        const std::string serial = AtaSerialNumber(request.data);
        drive->serialNumber = serial.empty() ? drive->serialNumber : serial;
    } else if (!isAnswered && code == kIoctlScsiPassThroughDirect) {
        drive->smartError = SavedLastError();  // an INQUIRY; without its answer SMART is not requested
    }
    return isAnswered;
}

bool DiskWatch::Close(NativeHandle device) noexcept
{
    {
        const std::lock_guard lock(m_Lock);
        m_Open.erase(device);
    }
    return ForwardingDeviceIo::Close(device);
}

void DiskWatch::TakeDeviceNumber(const std::u16string& path, std::uint32_t number)
{
    if (const auto letter = LetterOf(path)) {
        m_Letters[*letter] = number;
    } else {
        m_Numbers[path] = number;
    }
}

DiskWatch::Drive* DiskWatch::DriveAt(const std::u16string& path)
{
    std::optional<std::uint32_t> number = NumberOf(path);
    if (const auto known = m_Numbers.find(path); !number && known != m_Numbers.end()) {
        number = known->second;
    }
    return number ? &m_Drives[*number] : nullptr;
}

void DiskWatch::TakeProperty(Drive& drive, std::uint32_t propertyId, std::string_view reply)
{
    if (propertyId == kStorageDeviceProperty) {
        const auto head = As<StorageDeviceDescriptorHead>(reply.data(), reply.size());
        if (!head) {
            return;
        }
        drive.isNvme = drive.isNvme || head->busType == BusType::Nvme;
        // An NVMe driver's text is the namespace's identifier rather than the serial number.
        if (drive.serialNumber.empty() && !drive.isNvme && head->serialNumberOffset != 0 &&
            head->serialNumberOffset < reply.size()) {
            const std::string_view text = reply.substr(head->serialNumberOffset);
            drive.serialNumber = DeviceText(text.substr(0, text.find('\0')));
        }
    } else if (propertyId == kStorageAdapterProtocolSpecificProperty || propertyId == kStorageDeviceProtocolSpecificProperty) {
        // Bytes 4 to 23 of Identify Controller (NVMe 1.4, figure 247). A controller's page starts with its PCI vendor id.
        const auto head = As<StorageProtocolDataDescriptor>(reply.data(), reply.size());
        if (!head || head->protocol.dataType != kNvmeDataTypeIdentify ||
            head->protocol.requestValue != protocol::nvme::kCnsController) {
            return;
        }
        const std::size_t page = offsetof(StorageProtocolDataDescriptor, protocol) + std::size_t{head->protocol.dataOffset};
        if (page <= reply.size() && reply.size() - page >= 24) {
            const std::string serial = DeviceText(reply.substr(page + 4, 20));
            drive.serialNumber = serial.empty() ? drive.serialNumber : serial;
            drive.isNvme = true;
        }
    }
}

}  // namespace orbis::host
