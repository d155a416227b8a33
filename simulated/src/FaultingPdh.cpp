#include "FaultCounter.h"
#include "platform/Errors.h"
#include "platform/Forwarding.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using enum FaultKind;
using platform::PdhStatus;
namespace pdh = platform::pdh;

const FaultableOperation kOpenQuery{"Pdh::OpenQuery", {Error, BadAlloc}, pdh::kMemoryAllocation};
const FaultableOperation kEnumInstances{"Pdh::EnumInstances", {Error, ShortData, BadAlloc}, pdh::kNoObject};
const FaultableOperation kAddCounter{"Pdh::AddEnglishCounter", {Error, BadAlloc}, pdh::kNoCounter};
const FaultableOperation kCounterInstances{"Pdh::CounterInstances", {Error, ShortData, BadAlloc}, pdh::kNoInstance};
const FaultableOperation kCollect{"Pdh::CollectQueryData", {Error, BadAlloc}, pdh::kNoData};
const FaultableOperation kFormattedValue{"Pdh::FormattedValue", {Error, BadAlloc}, pdh::kInvalidData};
const FaultableOperation kWideToUtf8{"Text::WideToUtf8", {Error, BadAlloc}, platform::win32::kNoUnicodeTranslation};
const FaultableOperation kDefaultToWide{"Text::DefaultToWide", {Error, BadAlloc}, platform::win32::kNoUnicodeTranslation};

class FaultingPdh final : public platform::ForwardingPdh {
public:
    FaultingPdh(platform::Pdh& inner, FaultCounter& counter) : ForwardingPdh(inner), m_Counter(counter) {}

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, platform::PdhQueryObject** query) override
    {
        const auto fault = m_Counter.Count(kOpenQuery, {});
        return fault ? fault->error : ForwardingPdh::OpenQuery(dataSource, userData, query);
    }

    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        return Names(kEnumInstances, buffer, characters,
                     [&](char16_t* names, std::uint32_t* count) { return ForwardingPdh::EnumInstances(object, names, count); });
    }

    PdhStatus CounterInstances(platform::PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        return Names(kCounterInstances, buffer, characters,
                     [&](char16_t* names, std::uint32_t* count) { return ForwardingPdh::CounterInstances(counter, names, count); });
    }

    PdhStatus AddEnglishCounter(platform::PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                platform::PdhCounterObject** counter) override
    {
        const auto fault = m_Counter.Count(kAddCounter, path != nullptr ? platform::Utf16ToUtf8(path) : std::string{});
        return fault ? fault->error : ForwardingPdh::AddEnglishCounter(query, path, userData, counter);
    }

    PdhStatus CollectQueryData(platform::PdhQueryObject* query) override
    {
        const auto fault = m_Counter.Count(kCollect, {});
        return fault ? fault->error : ForwardingPdh::CollectQueryData(query);
    }

    PdhStatus FormattedValue(platform::PdhCounterObject* counter, std::uint32_t format, platform::PdhCounterValue* value) override
    {
        const auto fault = m_Counter.Count(kFormattedValue, {});
        return fault ? fault->error : ForwardingPdh::FormattedValue(counter, format, value);
    }

private:
    template <class List>
    PdhStatus Names(const FaultableOperation& operation, char16_t* buffer, std::uint32_t* characters, const List& list)
    {
        const auto fault = m_Counter.Count(operation, buffer == nullptr ? "size" : "names");
        if (!fault || fault->Is(Error)) {
            return fault ? fault->error : list(buffer, characters);
        }
        // As if instances came meanwhile: less room is asked for than is needed, or the room that there is does not suffice.
        std::uint32_t needed = 0;
        const PdhStatus status = list(nullptr, &needed);
        *characters = buffer == nullptr ? needed / 2 : needed;
        return status;
    }

    FaultCounter& m_Counter;
};

class FaultingText final : public platform::ForwardingText {
public:
    FaultingText(platform::Text& inner, FaultCounter& counter) : ForwardingText(inner), m_Counter(counter) {}

    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override
    {
        return m_Counter.Count(kWideToUtf8, {}) ? 0 : ForwardingText::WideToUtf8(text, characters, out, outBytes);
    }

    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override
    {
        return m_Counter.Count(kDefaultToWide, {}) ? 0 : ForwardingText::DefaultToWide(text, bytes, out, outCharacters);
    }

private:
    FaultCounter& m_Counter;
};

}  // namespace

std::unique_ptr<platform::Pdh> MakeFaultingPdh(platform::Pdh& inner, FaultCounter& counter)
{
    return std::make_unique<FaultingPdh>(inner, counter);
}

std::unique_ptr<platform::Text> MakeFaultingText(platform::Text& inner, FaultCounter& counter)
{
    return std::make_unique<FaultingText>(inner, counter);
}

}  // namespace orbis::simulated
