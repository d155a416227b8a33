#include "FakeWmi.h"

#include <cstring>
#include <utility>

#include <fmt/format.h>

namespace orbis::fakes {

using namespace platform;

namespace {

std::string Utf8(Bstr text) { return text != nullptr ? Utf16ToUtf8(text) : "null"; }

FakeProperty* PropertyOf(SafeArray* array) { return reinterpret_cast<FakeProperty*>(array); }
const FakeProperty* PropertyOf(const SafeArray* array) { return reinterpret_cast<const FakeProperty*>(array); }

template <class Pointer>
std::uint64_t PayloadOf(Pointer pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

}  // namespace

std::optional<Hresult> FakeWmi::FaultOf(const std::string& operation)
{
    const auto fault = m_Faults.find(operation);
    if (fault == m_Faults.end() || fault->second.callsLeft-- != 0) {
        return std::nullopt;
    }
    return fault->second.result;
}

Hresult FakeWmi::HandOut(const std::string& operation, Object object, ComObject** out)
{
    *out = nullptr;
    if (const auto fault = FaultOf(operation)) {
        return *fault;
    }
    auto owned = std::make_unique<Object>(std::move(object));
    *out = reinterpret_cast<ComObject*>(owned.get());
    m_Objects.emplace(*out, std::move(owned));
    ++balance.interfaces;
    return hresult::kOk;
}

Hresult FakeWmi::InitializeCom(std::uint32_t flags)
{
    calls.push_back(fmt::format("InitializeCom {}", flags));
    const Hresult result = FaultOf("InitializeCom").value_or(hresult::kOk);
    balance.com += Failed(result) ? 0 : 1;
    return result;
}

Hresult FakeWmi::InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                                    std::uint32_t impersonationLevel, std::uint32_t capabilities)
{
    calls.push_back(fmt::format("InitializeSecurity {} {} {} {}", authenticationServices, authenticationLevel, impersonationLevel,
                                capabilities));
    return FaultOf("InitializeSecurity").value_or(hresult::kOk);
}

void FakeWmi::UninitializeCom() noexcept
{
    calls.emplace_back("UninitializeCom");
    --balance.com;
}

Bstr FakeWmi::AllocateString(const char16_t* text)
{
    calls.push_back("AllocateString " + Utf16ToUtf8(text));
    if (FaultOf("AllocateString")) {
        return nullptr;
    }
    auto owned = std::make_unique<std::u16string>(text);
    const Bstr string = owned->c_str();
    m_Strings.emplace(string, std::move(owned));
    ++balance.strings;
    return string;
}

void FakeWmi::FreeString(Bstr text) noexcept
{
    calls.push_back("FreeString " + Utf8(text));
    if (m_Strings.erase(text) == 0) {
        misuses.emplace_back("freed a string that is none");
    } else {
        --balance.strings;
    }
}

std::uint32_t FakeWmi::StringLength(Bstr text) const noexcept
{
    const auto found = m_Strings.find(text);
    return found != m_Strings.end() ? static_cast<std::uint32_t>(found->second->size()) : 0;
}

Hresult FakeWmi::CreateLocator(ComObject** locator)
{
    calls.emplace_back("CreateLocator");
    return HandOut("CreateLocator", {"locator"}, locator);
}

Hresult FakeWmi::ConnectServer(ComObject*, Bstr path, ComObject** services)
{
    calls.push_back("ConnectServer " + Utf8(path));
    return HandOut("ConnectServer", {"services"}, services);
}

Hresult FakeWmi::SetProxyBlanket(ComObject*, std::uint32_t authentication, std::uint32_t authorization,
                                 std::uint32_t authenticationLevel, std::uint32_t impersonationLevel, std::uint32_t capabilities)
{
    calls.push_back(fmt::format("SetProxyBlanket {} {} {} {} {}", authentication, authorization, authenticationLevel,
                                impersonationLevel, capabilities));
    return FaultOf("SetProxyBlanket").value_or(hresult::kOk);
}

Hresult FakeWmi::ExecQuery(ComObject*, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    calls.push_back(fmt::format("ExecQuery {} {} {:#x}", Utf8(language), Utf8(query), flags));
    return HandOut("ExecQuery", {"enumerator"}, enumerator);
}

Hresult FakeWmi::Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned)
{
    calls.push_back(fmt::format("Next {:#x}", timeout));
    *returned = 0;
    *object = nullptr;
    Object& cursor = *m_Objects.at(enumerator);
    if (cursor.row == rows.size()) {
        return FaultOf("Next").value_or(hresult::kWbemSFalse);
    }
    const Hresult result = HandOut("Next", {"row", cursor.row}, object);
    if (*object != nullptr) {
        ++cursor.row;
        *returned = 1;
    }
    return result;
}

Hresult FakeWmi::Get(ComObject* object, const char16_t* name, Variant* value)
{
    calls.push_back("Get " + Utf16ToUtf8(name));
    if (const auto fault = FaultOf("Get")) {
        return *fault;
    }
    FakeRow& row = rows.at(m_Objects.at(object)->row);
    const auto property = row.find(name);
    if (property == row.end()) {
        return hresult::kWbemNotFound;
    }
    FakeProperty& source = property->second;
    *value = {source.type, source.payload};
    if (source.type == VariantType::String && source.text) {
        auto owned = std::make_unique<std::u16string>(*source.text);
        value->payload = PayloadOf(owned->c_str());
        m_Strings.emplace(owned->c_str(), std::move(owned));
        ++balance.strings;
    } else if (source.type == VariantType::UInt8Array || source.type == VariantType::StringArray) {
        value->payload = PayloadOf(&source);
    }
    balance.variants += source.type != VariantType::Empty ? 1 : 0;  // an empty one holds nothing
    return hresult::kOk;
}

void FakeWmi::Release(ComObject* object) noexcept
{
    const auto found = m_Objects.find(object);
    if (found == m_Objects.end()) {
        misuses.emplace_back("released an interface that is none");
        return;
    }
    calls.push_back("Release " + found->second->kind);
    m_Objects.erase(found);
    --balance.interfaces;
}

void FakeWmi::ClearVariant(Variant* value) noexcept
{
    if (value->type == VariantType::String && value->payload != 0) {
        m_Strings.erase(value->AsString());
        --balance.strings;
    }
    if (value->type != VariantType::Empty) {
        --balance.variants;
    }
    *value = {};
}

Hresult FakeWmi::ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound)
{
    calls.push_back(fmt::format("ArrayUpperBound {}", dimension));
    if (const auto fault = FaultOf("ArrayUpperBound")) {
        return *fault;
    }
    const SafeArrayBounds bounds = ArrayBounds(array);
    *bound = bounds.lower + static_cast<std::int32_t>(bounds.count) - 1;
    return hresult::kOk;
}

Hresult FakeWmi::ArrayElement(SafeArray* array, std::int32_t index, void* element)
{
    if (const auto fault = FaultOf("ArrayElement")) {
        return *fault;
    }
    const FakeProperty& source = *PropertyOf(array);
    const SafeArrayBounds bounds = ArrayBounds(array);
    if (index < bounds.lower || index - bounds.lower >= static_cast<std::int32_t>(bounds.count)) {
        return hresult::kDispBadIndex;
    }
    const auto at = static_cast<std::size_t>(index - bounds.lower);
    if (source.type == VariantType::UInt8Array) {
        *static_cast<std::uint8_t*>(element) = source.bytes[at];
    } else {
        const Bstr copy = source.texts[at] ? AllocateString(source.texts[at]->c_str()) : nullptr;
        std::memcpy(element, &copy, sizeof copy);
    }
    return hresult::kOk;
}

SafeArrayBounds FakeWmi::ArrayBounds(const SafeArray* array) const noexcept
{
    const FakeProperty& source = *PropertyOf(array);
    return {source.lower,
            static_cast<std::uint32_t>(source.type == VariantType::UInt8Array ? source.bytes.size() : source.texts.size())};
}

}  // namespace orbis::fakes
