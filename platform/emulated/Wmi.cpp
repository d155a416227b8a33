#include <algorithm>
#include <atomic>
#include <new>

#include "emulated/Apartments.h"
#include "emulated/Automation.h"
#include "emulated/CaseFolding.h"
#include "emulated/WmiFacts.h"
#include "emulated/Wql.h"
#include "platform/Text.h"

namespace orbis::platform::emulated {
namespace {

constexpr std::int32_t kReturnImmediately = 0x10;  // WBEM_FLAG_RETURN_IMMEDIATELY

// Every kind of object that goes out as a ComObject. It is made with one reference, the only one that the port can give back.
struct Object {
    enum class Kind { Locator, Services, Enumerator, ClassObject };
    explicit Object(Kind kindOfObject) : kind(kindOfObject) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    const Kind kind;
};

struct Locator final : Object {
    static constexpr Kind kKind = Kind::Locator;
    Locator() : Object(kKind) {}
};

struct Services final : Object {
    static constexpr Kind kKind = Kind::Services;
    explicit Services(std::string connected) : Object(kKind), wmiNamespace(std::move(connected)) {}
    const std::string wmiNamespace;
};

using Selection = std::shared_ptr<const std::vector<std::string>>;  // names of properties; none: all

struct Enumerator final : Object {
    static constexpr Kind kKind = Kind::Enumerator;
    Enumerator(WmiAnswer found, Selection properties) : Object(kKind), answer(std::move(found)), selection(std::move(properties)) {}
    WmiAnswer answer;
    const Selection selection;
    std::size_t next = 0;
};

struct ClassObject final : Object {
    static constexpr Kind kKind = Kind::ClassObject;
    ClassObject(std::shared_ptr<const WmiRow> content, Selection properties)
        : Object(kKind), row(std::move(content)), selection(std::move(properties))
    {}
    const std::shared_ptr<const WmiRow> row;
    const Selection selection;
};

template <typename T>
T* As(ComObject* object) noexcept
{
    auto* base = reinterpret_cast<Object*>(object);
    return base != nullptr && base->kind == T::kKind ? static_cast<T*>(base) : nullptr;
}

// Makes an object for the caller. It goes out as its base: As and Release take it back the same way.
template <typename T, typename... Arguments>
Hresult HandOut(ComObject** out, Arguments&&... arguments)
{
    *out = reinterpret_cast<ComObject*>(static_cast<Object*>(new T(std::forward<Arguments>(arguments)...)));
    return hresult::kOk;
}

// Runs what may throw; what does becomes the HRESULT that a COM method would return.
template <typename Function>
Hresult Guarded(Function&& function) noexcept
{
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return hresult::kOutOfMemory;
    } catch (...) {
        return hresult::kWbemFailed;
    }
}

class EmulatedWmi final : public Wmi {
public:
    explicit EmulatedWmi(WmiFacts& facts) : m_Facts(facts), m_Com(facts.Com()), m_Apartments(m_Com.singleThreaded) {}

    Hresult InitializeCom(std::uint32_t flags) override
    {
        return Guarded([&] { return m_Apartments.Enter(flags); });
    }
    Hresult InitializeSecurity(std::int32_t /*services*/, std::uint32_t /*level*/, std::uint32_t /*impersonation*/,
                               std::uint32_t /*capabilities*/) override
    {
        return m_SecurityIsSet.exchange(true) ? hresult::kRpcTooLate : hresult::kOk;
    }
    void UninitializeCom() noexcept override { m_Apartments.Leave(); }

    Bstr AllocateString(const char16_t* text) override { return text != nullptr ? NewString(text) : nullptr; }
    void FreeString(Bstr text) noexcept override { emulated::FreeString(text); }
    std::uint32_t StringLength(Bstr text) const noexcept override { return static_cast<std::uint32_t>(TextOf(text).size()); }

    Hresult CreateLocator(ComObject** locator) override;
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override;
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t /*authentication*/, std::uint32_t /*authorization*/,
                            std::uint32_t /*level*/, std::uint32_t /*impersonation*/, std::uint32_t /*capabilities*/) override
    {
        return services == nullptr                 ? hresult::kInvalidArgument
               : As<Services>(services) == nullptr ? hresult::kNoInterface  // only a proxy has IClientSecurity
                                                   : hresult::kOk;
    }
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override;
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override;
    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override;
    void Release(ComObject* object) noexcept override { delete reinterpret_cast<Object*>(object); }

    void ClearVariant(Variant* value) noexcept override { emulated::ClearVariant(*value); }
    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        return array != nullptr && bound != nullptr ? UpperBound(ContentOf(*array), dimension, *bound) : hresult::kInvalidArgument;
    }
    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        return array != nullptr && element != nullptr ? CopyElement(ContentOf(*array), index, element) : hresult::kInvalidArgument;
    }
    SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override
    {
        const WmiArray none;
        const WmiArray& content = array != nullptr ? ContentOf(*array) : none;
        return {content.lowerBound, static_cast<std::uint32_t>(content.Count())};
    }

private:
    WmiFacts& m_Facts;
    const ComFacts m_Com;
    Apartments m_Apartments;
    std::atomic<bool> m_SecurityIsSet{false};
};

Hresult EmulatedWmi::CreateLocator(ComObject** locator)
{
    *locator = nullptr;
    return Guarded([&] {
        const Hresult result = m_Apartments.IsReady() ? m_Com.locatorResult : hresult::kCoNotInitialized;
        return Failed(result) ? result : HandOut<Locator>(locator);
    });
}

Hresult EmulatedWmi::ConnectServer(ComObject* locator, Bstr path, ComObject** services)
{
    *services = nullptr;
    if (As<Locator>(locator) == nullptr || path == nullptr) {
        return hresult::kWbemInvalidParameter;
    }
    return Guarded([&] {
        std::string wmiNamespace;
        const Hresult parsed = ParseNamespacePath(Utf16ToUtf8(TextOf(path)), wmiNamespace);
        if (Failed(parsed)) {
            return parsed;
        }
        return IsWindowsNamespace(wmiNamespace) || m_Facts.HasNamespace(wmiNamespace)
                   ? HandOut<Services>(services, std::move(wmiNamespace))
                   : hresult::kWbemInvalidNamespace;
    });
}

Hresult EmulatedWmi::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    *enumerator = nullptr;
    const auto* connection = As<Services>(services);
    if (connection == nullptr || language == nullptr || TextOf(query).empty()) {
        return hresult::kWbemInvalidParameter;
    }
    if (!EqualIgnoreCase(TextOf(language), u"WQL")) {
        return hresult::kWbemInvalidQueryType;
    }
    return Guarded([&] {
        WmiQuery asked{connection->wmiNamespace, Utf16ToUtf8(TextOf(query)), {}, {}};
        if (!ParseSelect(asked)) {
            return hresult::kWbemInvalidQuery;
        }
        WmiAnswer answer = m_Facts.Query(asked);
        const Hresult result = Failed(answer.result) || (flags & kReturnImmediately) != 0 ? answer.result : answer.end;
        auto selection = std::make_shared<const std::vector<std::string>>(std::move(asked.properties));
        return Failed(result) ? result : HandOut<Enumerator>(enumerator, std::move(answer), std::move(selection));
    });
}

Hresult EmulatedWmi::Next(ComObject* enumerator, std::uint32_t /*timeout*/, ComObject** object, std::uint32_t* returned)
{
    *object = nullptr;
    *returned = 0;
    auto* rows = As<Enumerator>(enumerator);
    if (rows == nullptr) {
        return hresult::kWbemInvalidParameter;
    }
    if (rows->next == rows->answer.rows.size()) {
        return rows->answer.end;
    }
    const Hresult result = Guarded([&] { return HandOut<ClassObject>(object, rows->answer.rows[rows->next], rows->selection); });
    if (!Failed(result)) {
        ++rows->next;
        *returned = 1;
    }
    return result;
}

Hresult EmulatedWmi::Get(ComObject* object, const char16_t* name, Variant* value)
{
    const auto* row = As<ClassObject>(object);
    if (row == nullptr || name == nullptr || value == nullptr) {
        return hresult::kWbemInvalidParameter;
    }
    return Guarded([&] {
        const std::string property = Utf16ToUtf8(name);
        const auto isProperty = [&](const std::string& selected) { return EqualIgnoreCase(selected, property); };
        const bool isSelected = row->selection->empty() || std::ranges::any_of(*row->selection, isProperty);
        const WmiValue* found = isSelected ? row->row->Find(property) : nullptr;
        return found != nullptr ? MakeVariant(*found, *value) : hresult::kWbemNotFound;
    });
}

}  // namespace

std::unique_ptr<Wmi> MakeWmi(WmiFacts& facts) { return std::make_unique<EmulatedWmi>(facts); }

}  // namespace orbis::platform::emulated
