#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/Requests.h"

namespace orbis::tests {

inline platform::DeviceHandle OpenDevice(platform::DeviceIo& io, const std::u16string& path,
                                         std::uint32_t access = platform::kGenericRead | platform::kGenericWrite)
{
    return {io, io.Open(path.c_str(), access, platform::kFileShareRead | platform::kFileShareWrite, nullptr,
                        platform::kOpenExisting, 0, 0)};
}

inline std::u16string DrivePath(std::uint32_t number)
{
    const std::string digits = std::to_string(number);
    return u"\\\\.\\PhysicalDrive" + std::u16string(digits.begin(), digits.end());
}

// The answer to a request: its Win32 error, or the bytes that it returned.
struct Answer {
    std::uint32_t error = 0;
    std::vector<std::uint8_t> bytes;

    template <typename T>
    [[nodiscard]] T As(std::size_t offset = 0) const
    {
        T value{};
        if (offset + sizeof(T) <= bytes.size()) {
            std::memcpy(static_cast<void*>(&value), bytes.data() + offset, sizeof(T));
        }
        return value;
    }
};

inline Answer Ask(platform::DeviceIo& io, const platform::DeviceHandle& device, std::uint32_t code,
                  const std::vector<std::uint8_t>& input, std::size_t room)
{
    Answer answer;
    std::vector<std::uint8_t> in = input;
    answer.bytes.resize(room);
    std::uint32_t returned = 0;
    if (!io.Control(device.Get(), code, in.empty() ? nullptr : in.data(), static_cast<std::uint32_t>(in.size()),
                    answer.bytes.data(), static_cast<std::uint32_t>(room), &returned, nullptr)) {
        return {io.LastError(), {}};
    }
    answer.bytes.resize(std::min<std::size_t>(returned, room));
    return answer;
}

template <typename T>
std::vector<std::uint8_t> BytesOf(const T& value, std::size_t size = sizeof(T))
{
    std::vector<std::uint8_t> bytes(size);
    std::memcpy(bytes.data(), &value, std::min(size, sizeof(T)));
    return bytes;
}

// The disks of the device walk: interface path and instance id.
struct WalkedDisk {
    std::u16string path;
    std::u16string instanceId;
};
std::vector<WalkedDisk> WalkDisks(platform::Setup& setup);

constexpr std::int32_t kForwardOnlyImmediate = 0x30;  // WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY

// COM on this thread, a connection and a query. The apartment ends after everything that was made in it.
class WmiSession {
public:
    explicit WmiSession(platform::Wmi& wmi) : m_Wmi(wmi) { m_Wmi.InitializeCom(0); }
    WmiSession(const WmiSession&) = delete;
    WmiSession& operator=(const WmiSession&) = delete;
    ~WmiSession();

    platform::Hresult Connect(const char16_t* path);
    // A null text is a null string.
    platform::Hresult Execute(const char16_t* language, const char16_t* query, std::int32_t flags);
    [[nodiscard]] platform::ComObject* Enumerator() const { return m_Enumerator.Get(); }

private:
    platform::Wmi& m_Wmi;
    platform::ComReference m_Locator;
    platform::ComReference m_Services;
    platform::ComReference m_Enumerator;
};

// A property of a WMI row as a test sees it.
struct WmiValue {
    platform::Hresult result = 0;
    platform::VariantType type = platform::VariantType::Empty;
    std::uint64_t payload = 0;
    std::optional<std::u16string> text;  // of a string that is not null

    [[nodiscard]] std::uint32_t Number() const { return static_cast<std::uint32_t>(payload); }
};
// The outcome of a whole query: the HRESULT that ended it (kWbemSFalse at the end of the rows) and the properties asked for, row by
// row.
struct WmiResult {
    platform::Hresult result = 0;
    std::vector<std::vector<WmiValue>> rows;
};
WmiResult Query(platform::Wmi& wmi, const char16_t* wmiNamespace, const char16_t* query,
                const std::vector<const char16_t*>& properties = {});

}  // namespace orbis::tests
