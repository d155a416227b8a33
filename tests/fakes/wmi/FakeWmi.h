#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "Utf8Text.h"
#include "platform/Platform.h"

namespace orbis::fakes {

// A property's value as WMI delivers it.
struct FakeProperty {
    [[nodiscard]] static FakeProperty Null() { return {.type = platform::VariantType::Null}; }
    [[nodiscard]] static FakeProperty Number(platform::VariantType type, std::uint64_t payload)
    {
        return {.type = type, .payload = payload};
    }
    // nullopt: a VT_BSTR without a string.
    [[nodiscard]] static FakeProperty Text(std::optional<std::u16string> text)
    {
        return {.type = platform::VariantType::String, .text = std::move(text)};
    }
    [[nodiscard]] static FakeProperty Bytes(std::vector<std::uint8_t> bytes)
    {
        return {.type = platform::VariantType::UInt8Array, .bytes = std::move(bytes)};
    }
    [[nodiscard]] static FakeProperty Texts(std::vector<std::optional<std::u16string>> texts, std::int32_t lower = 0)
    {
        return {.type = platform::VariantType::StringArray, .texts = std::move(texts), .lower = lower};
    }

    platform::VariantType type = platform::VariantType::Empty;
    std::uint64_t payload = 0;
    std::optional<std::u16string> text{};
    std::vector<std::uint8_t> bytes{};
    std::vector<std::optional<std::u16string>> texts{};
    std::int32_t lower = 0;
};

using FakeRow = std::map<std::u16string, FakeProperty>;

// What the users of the port hold.
struct WmiBalance {
    int com = 0;  // successful initialisations less uninitialisations
    int interfaces = 0;
    int strings = 0;
    int variants = 0;

    friend bool operator==(const WmiBalance&, const WmiBalance&) = default;
    friend std::ostream& operator<<(std::ostream& out, const WmiBalance& balance)
    {
        return out << "COM " << balance.com << ", interfaces " << balance.interfaces << ", strings " << balance.strings
                   << ", variants " << balance.variants;
    }
};

// WMI from a script: every query gives the same rows. Keeps what it was asked, in order, and what is held.
class FakeWmi final : public platform::Wmi {
public:
    std::vector<FakeRow> rows;
    std::vector<std::string> calls;
    WmiBalance balance;
    std::vector<std::string> misuses;  // what was given back though it was never handed out

    // Makes one call of an operation, counted from 0, give this result and nothing else; AllocateString gives null.
    void Fail(const std::string& operation, platform::Hresult result, int call = 0) { m_Faults[operation] = {call, result}; }

    platform::Hresult InitializeCom(std::uint32_t flags) override;
    platform::Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                                         std::uint32_t impersonationLevel, std::uint32_t capabilities) override;
    void UninitializeCom() noexcept override;
    platform::Bstr AllocateString(const char16_t* text) override;
    void FreeString(platform::Bstr text) noexcept override;
    std::uint32_t StringLength(platform::Bstr text) const noexcept override;
    platform::Hresult CreateLocator(platform::ComObject** locator) override;
    platform::Hresult ConnectServer(platform::ComObject* locator, platform::Bstr path, platform::ComObject** services) override;
    platform::Hresult SetProxyBlanket(platform::ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                                      std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                                      std::uint32_t capabilities) override;
    platform::Hresult ExecQuery(platform::ComObject* services, platform::Bstr language, platform::Bstr query, std::int32_t flags,
                                platform::ComObject** enumerator) override;
    platform::Hresult Next(platform::ComObject* enumerator, std::uint32_t timeout, platform::ComObject** object,
                           std::uint32_t* returned) override;
    platform::Hresult Get(platform::ComObject* object, const char16_t* name, platform::Variant* value) override;
    void Release(platform::ComObject* object) noexcept override;
    void ClearVariant(platform::Variant* value) noexcept override;
    platform::Hresult ArrayUpperBound(platform::SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override;
    platform::Hresult ArrayElement(platform::SafeArray* array, std::int32_t index, void* element) override;
    platform::SafeArrayBounds ArrayBounds(const platform::SafeArray* array) const noexcept override;

private:
    struct Object {
        std::string kind;
        std::size_t row = 0;  // of an enumerator: the next one
    };
    struct Fault {
        int callsLeft;
        platform::Hresult result;
    };

    std::optional<platform::Hresult> FaultOf(const std::string& operation);
    platform::Hresult HandOut(const std::string& operation, Object object, platform::ComObject** out);

    std::map<std::string, Fault> m_Faults;
    std::map<platform::ComObject*, std::unique_ptr<Object>> m_Objects;
    std::map<platform::Bstr, std::unique_ptr<std::u16string>> m_Strings;
};

// A machine with a FakeWmi and UTF-8 as its code page; in force for as long as it lives.
class FakeWmiMachine final : public platform::Platform {
public:
    FakeWmiMachine() { Replace(this); }
    FakeWmiMachine(const FakeWmiMachine&) = delete;
    FakeWmiMachine& operator=(const FakeWmiMachine&) = delete;
    ~FakeWmiMachine() override { Replace(nullptr); }

    FakeWmi wmi;

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override { return System().DeviceIoPort(); }
    [[nodiscard]] platform::Setup& SetupPort() noexcept override { return System().SetupPort(); }
    [[nodiscard]] platform::Wmi& WmiPort() noexcept override { return wmi; }
    [[nodiscard]] platform::Firmware& FirmwarePort() noexcept override { return System().FirmwarePort(); }
    [[nodiscard]] platform::Pdh& PdhPort() noexcept override { return System().PdhPort(); }
    [[nodiscard]] platform::Time& TimePort() noexcept override { return System().TimePort(); }
    [[nodiscard]] platform::Text& TextPort() noexcept override { return m_Text; }

private:
    Utf8Text m_Text;
};

}  // namespace orbis::fakes
