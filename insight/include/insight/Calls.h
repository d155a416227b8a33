#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/Platform.h"

// The records that the journal keeps of port operations: arguments and results. The names are those of the operations.
//
// - Identity: handles, device sets and COM objects are reused by the system after they were given back, so each has a serial number
//   from 1, given when it is opened; 0 is an object that is unknown (opened before the journal was in force) or that there is none.
// - Buffers are copied whole, as large as the caller made them, of failed calls too: `returned` is what the driver claims and no
//   limit. Pointers inside them are zero.
// - Arguments that point into the caller's process alone (security attributes, template file, parent window, user data) are not
//   kept.
// - `error` is the Win32 error after the call when it failed, else 0.
namespace orbis::insight {

using Serial = std::uint64_t;
using Bytes = std::vector<std::uint8_t>;
using SharedText = std::shared_ptr<const std::u16string>;

// An open device: never null in a call, but empty for an unknown one.
struct Device {
    std::u16string path;
    std::uint32_t access = 0;
};
// A WMI query; empty texts for an unknown one.
struct Query {
    std::u16string space;  // the namespace as it was connected, for example "root\cimv2"
    std::u16string text;
};
// A WMI property's value. Texts and arrays are pointers in the variant's payload; here the payload of these is 0.
struct Value {
    platform::VariantType type = platform::VariantType::Empty;
    std::uint64_t payload = 0;
    bool isNullPointer = false;  // a text or an array whose pointer is null
    std::u16string text;
    Serial array = 0;  // its elements follow in call::ArrayElements as far as they are read
};

namespace call {

// ---- DeviceIo ----
struct Open {
    Serial handle = 0;  // 0: failed
    std::shared_ptr<const Device> device;
    std::uint32_t share = 0;
    std::uint32_t disposition = 0;
    std::uint32_t flags = 0;
    platform::NativeHandle result = 0;  // for an invalid one, which it was: kInvalidHandle or null
    std::uint32_t error = 0;
};
struct Control {
    Serial handle = 0;
    std::shared_ptr<const Device> device;
    std::uint32_t code = 0;
    Bytes request;     // before the call
    Bytes output;      // the whole buffer after the call; it is the request's own where both are one
    Bytes dataBefore;  // of direct pass-through requests: the data buffer
    Bytes dataAfter;
    std::uint32_t returned = 0;
    bool succeeded = false;
    std::uint32_t error = 0;
};
struct Close {
    Serial handle = 0;
    bool succeeded = false;
    std::uint32_t error = 0;
};
struct DiskPowerState {
    std::u16string text;  // the path
    platform::PowerState result = platform::PowerState::Unknown;
    std::uint32_t error = 0;  // of an unknown one
};
struct LogicalDriveStrings {
    std::uint32_t characters = 0;
    std::u16string text;  // the whole buffer, zeros included
    std::uint32_t result = 0;
    std::uint32_t error = 0;
};

// ---- Setup ----
struct ClassDevices {
    Serial set = 0;  // 0: failed
    platform::Guid classGuid{};
    std::u16string enumerator;
    std::uint32_t flags = 0;
    platform::DeviceInfoSetHandle result = 0;  // for an invalid one, which it was
    std::uint32_t error = 0;
};
struct EnumDeviceInterfaces {
    Serial set = 0;
    platform::Guid interfaceClass{};
    std::uint32_t index = 0;
    bool succeeded = false;
    std::uint32_t error = 0;
};
struct DeviceInterfaceDetail {
    Serial set = 0;
    std::uint32_t index = 0;  // of the interface in the set, kUnknownIndex when it was not enumerated there
    std::u16string path;      // of a call that succeeded
    Bytes detail;             // the whole buffer
    std::uint32_t required = 0;
    bool succeeded = false;
    std::uint32_t error = 0;
};
struct EnumDeviceInfo {
    Serial set = 0;
    std::uint32_t index = 0;
    bool succeeded = false;
    std::uint32_t error = 0;
};
struct DeviceProperty {
    Serial set = 0;
    std::uint32_t index = 0;  // of the device in the set, or kUnknownIndex
    platform::DevicePropertyKey key{};
    std::uint32_t flags = 0;
    std::uint32_t type = 0;
    Bytes value;  // the whole buffer
    std::uint32_t required = 0;
    bool succeeded = false;
    std::uint32_t error = 0;
};
struct DestroyDeviceInfoList {
    Serial set = 0;
    bool succeeded = false;
    std::uint32_t error = 0;
};
inline constexpr std::uint32_t kUnknownIndex = 0xFFFFFFFF;

// ---- Firmware ----
struct SystemFirmwareTable {
    std::uint32_t provider = 0;
    std::uint32_t table = 0;
    Bytes content;  // the whole buffer
    std::uint32_t result = 0;
    std::uint32_t error = 0;
};

// ---- Wmi ----
struct InitializeCom {
    std::uint32_t flags = 0;
    platform::Hresult result = 0;
};
struct InitializeSecurity {
    std::int32_t authenticationServices = 0;
    std::uint32_t authenticationLevel = 0;
    std::uint32_t impersonationLevel = 0;
    std::uint32_t capabilities = 0;
    platform::Hresult result = 0;
};
struct UninitializeCom {};
struct AllocateString {
    std::u16string text;
    bool succeeded = false;
};
struct FreeString {};
struct StringLength {
    std::uint32_t result = 0;
};
struct CreateLocator {
    Serial locator = 0;
    platform::Hresult result = 0;
};
struct ConnectServer {
    Serial locator = 0;
    std::u16string path;
    Serial services = 0;
    platform::Hresult result = 0;
};
struct SetProxyBlanket {
    Serial services = 0;
    std::uint32_t authentication = 0;
    std::uint32_t authorization = 0;
    std::uint32_t authenticationLevel = 0;
    std::uint32_t impersonationLevel = 0;
    std::uint32_t capabilities = 0;
    platform::Hresult result = 0;
};
struct ExecQuery {
    Serial services = 0;
    std::shared_ptr<const Query> query;
    std::u16string language;
    std::int32_t flags = 0;
    Serial enumerator = 0;
    platform::Hresult result = 0;
};
struct Next {
    Serial enumerator = 0;
    std::shared_ptr<const Query> query;
    std::uint32_t timeout = 0;
    std::uint32_t rowIndex = 0;  // of the row that was asked for, from 0
    std::uint32_t returned = 0;
    Serial row = 0;
    platform::Hresult result = 0;
};
struct Get {
    Serial row = 0;
    std::shared_ptr<const Query> query;
    std::uint32_t rowIndex = 0;
    std::u16string name;
    Value value;
    platform::Hresult result = 0;
};
struct Release {
    Serial object = 0;
};
struct ClearVariant {};
struct ArrayUpperBound {
    Serial array = 0;
    std::uint32_t dimension = 0;
    std::int32_t bound = 0;
    platform::Hresult result = 0;
};
// Consecutive reads of one array, combined into one record: elements from `first` on, one for each call. A failed call ends the
// record.
struct ArrayElements {
    Serial array = 0;
    std::int32_t first = 0;
    std::uint32_t count = 0;            // calls, including a failed one
    Bytes bytes;                        // of an array of bytes
    std::vector<std::u16string> texts;  // of an array of texts; a null text is empty
    platform::Hresult result = 0;       // of the last call
};
struct ArrayBounds {
    Serial array = 0;
    platform::SafeArrayBounds result{};
};

// ---- Pdh ----
struct OpenQuery {
    std::u16string dataSource;
    Serial query = 0;
    platform::PdhStatus status = 0;
};
struct EnumInstances {
    std::u16string object;
    std::uint32_t charactersBefore = 0;
    std::uint32_t charactersAfter = 0;
    std::u16string names;  // the whole buffer, zeros included
    platform::PdhStatus status = 0;
};
struct CounterInstances {
    Serial counter = 0;
    SharedText path;  // null for an unknown counter
    std::uint32_t charactersBefore = 0;
    std::uint32_t charactersAfter = 0;
    std::u16string names;  // the whole buffer, zeros included
    platform::PdhStatus status = 0;
};
struct AddEnglishCounter {
    Serial query = 0;
    SharedText path;
    Serial counter = 0;
    platform::PdhStatus status = 0;
};
struct CollectQueryData {
    Serial query = 0;
    platform::PdhStatus status = 0;
};
struct FormattedValue {
    Serial counter = 0;
    SharedText path;  // null for an unknown counter
    std::uint32_t format = 0;
    platform::PdhCounterValue value{};
    platform::PdhStatus status = 0;
};
struct CloseQuery {
    Serial query = 0;
    platform::PdhStatus status = 0;
};

// ---- Time ----
struct UtcNow {
    std::chrono::system_clock::time_point result;
};
struct Sleep {
    std::uint32_t milliseconds = 0;
};

// ---- Text ----
struct WideToUtf8 {
    std::u16string text;
    std::int32_t characters = 0;
    std::int32_t outBytes = 0;
    std::string out;  // what was written
    std::int32_t result = 0;
};
struct DefaultToWide {
    std::string text;
    std::int32_t outCharacters = 0;
    std::u16string out;  // what was written
    std::int32_t result = 0;
};

}  // namespace call

using Call =
    std::variant<call::Open, call::Control, call::Close, call::DiskPowerState, call::LogicalDriveStrings, call::ClassDevices,
                 call::EnumDeviceInterfaces, call::DeviceInterfaceDetail, call::EnumDeviceInfo, call::DeviceProperty,
                 call::DestroyDeviceInfoList, call::SystemFirmwareTable, call::InitializeCom, call::InitializeSecurity,
                 call::UninitializeCom, call::AllocateString, call::FreeString, call::StringLength, call::CreateLocator,
                 call::ConnectServer, call::SetProxyBlanket, call::ExecQuery, call::Next, call::Get, call::Release,
                 call::ClearVariant, call::ArrayUpperBound, call::ArrayElements, call::ArrayBounds, call::OpenQuery,
                 call::EnumInstances, call::CounterInstances, call::AddEnglishCounter, call::CollectQueryData, call::FormattedValue,
                 call::CloseQuery, call::UtcNow, call::Sleep, call::WideToUtf8, call::DefaultToWide>;

// One call, recorded when it has returned. A call that threw is not recorded.
struct Record {
    std::uint32_t thread = 0;  // serial number of the calling thread in the process, from 1
    std::chrono::steady_clock::time_point start;
    std::chrono::nanoseconds duration{0};
    Call call;

    // The call if it is of this kind, else null: `if (const auto* control = record.As<call::Control>())`.
    template <class T>
    [[nodiscard]] const T* As() const noexcept
    {
        return std::get_if<T>(&call);
    }
};

}  // namespace orbis::insight
