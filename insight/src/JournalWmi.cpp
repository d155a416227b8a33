#include <cstring>
#include <map>

#include "Store.h"

namespace orbis::insight {
namespace {

using platform::Bstr;
using platform::ComObject;
using platform::Hresult;
using platform::SafeArray;
using platform::Variant;
using platform::VariantType;

bool IsArray(VariantType type)
{
    return (static_cast<std::uint16_t>(type) & static_cast<std::uint16_t>(VariantType::ArrayFlag)) != 0;
}

class WmiJournal final : public platform::ForwardingWmi {
public:
    WmiJournal(platform::Wmi& inner, Store& store) : ForwardingWmi(inner), m_Store(store) {}

    Hresult InitializeCom(std::uint32_t flags) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::InitializeCom(flags);
        m_Store.Keep(start, [&]() -> Call { return call::InitializeCom{flags, result}; });
        return result;
    }
    Hresult InitializeSecurity(std::int32_t services, std::uint32_t level, std::uint32_t impersonation,
                               std::uint32_t capabilities) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::InitializeSecurity(services, level, impersonation, capabilities);
        m_Store.Keep(start, [&]() -> Call {
            return call::InitializeSecurity{services, level, impersonation, capabilities, result};
        });
        return result;
    }
    void UninitializeCom() noexcept override
    {
        const auto start = Clock::now();
        ForwardingWmi::UninitializeCom();
        m_Store.Keep(start, []() -> Call { return call::UninitializeCom{}; });
    }

    Bstr AllocateString(const char16_t* text) override
    {
        const auto start = Clock::now();
        const Bstr result = ForwardingWmi::AllocateString(text);
        m_Store.Keep(start, [&]() -> Call { return call::AllocateString{TextOf(text), result != nullptr}; });
        return result;
    }
    void FreeString(Bstr text) noexcept override
    {
        const auto start = Clock::now();
        ForwardingWmi::FreeString(text);
        m_Store.Keep(start, []() -> Call { return call::FreeString{}; });
    }
    std::uint32_t StringLength(Bstr text) const noexcept override
    {
        const auto start = Clock::now();
        const std::uint32_t result = ForwardingWmi::StringLength(text);
        m_Store.Keep(start, [&]() -> Call { return call::StringLength{result}; });
        return result;
    }

    Hresult CreateLocator(ComObject** locator) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::CreateLocator(locator);
        m_Store.Keep(start, [&]() -> Call { return call::CreateLocator{Opened(*locator, {}, nullptr), result}; });
        return result;
    }
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::ConnectServer(locator, path, services);
        m_Store.Keep(start, [&]() -> Call {
            std::u16string text = Content(path);
            const Serial opened = Opened(*services, std::make_shared<const Query>(Query{text, u""}), nullptr);
            return call::ConnectServer{Find(locator).serial, std::move(text), opened, result};
        });
        return result;
    }
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization, std::uint32_t level,
                            std::uint32_t impersonation, std::uint32_t capabilities) override
    {
        const auto start = Clock::now();
        const Hresult result =
            ForwardingWmi::SetProxyBlanket(services, authentication, authorization, level, impersonation, capabilities);
        m_Store.Keep(start, [&]() -> Call {
            return call::SetProxyBlanket{Find(services).serial, authentication, authorization, level,
                                         impersonation,         capabilities,   result};
        });
        return result;
    }
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
        m_Store.Keep(start, [&]() -> Call {
            const Object asked = Find(services);
            auto kept = std::make_shared<const Query>(Query{asked.query->space, Content(query)});
            return call::ExecQuery{asked.serial, kept, Content(language), flags, Opened(*enumerator, kept, nullptr), result};
        });
        return result;
    }
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::Next(enumerator, timeout, object, returned);
        m_Store.Keep(start, [&]() -> Call {
            const Object asked = Find(enumerator);
            const Serial row = Opened(*object, asked.query, &asked.rows);
            if (const auto found = m_Open.find(enumerator); row != 0 && found != m_Open.end()) {
                ++found->second.rows;
            }
            return call::Next{asked.serial, asked.query, timeout, asked.rows, *returned, row, result};
        });
        return result;
    }
    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::Get(object, name, value);
        m_Store.Keep(start, [&]() -> Call {
            const Object row = Find(object);
            return call::Get{row.serial, row.query, row.rows, TextOf(name), platform::Failed(result) ? Value{} : Read(*value),
                             result};
        });
        return result;
    }
    void Release(ComObject* object) noexcept override
    {
        const Serial serial = m_Store.Locked([&] {
            const auto found = m_Open.find(object);
            const Serial known = found != m_Open.end() ? found->second.serial : 0;
            if (found != m_Open.end()) {
                m_Open.erase(found);
            }
            return known;
        });
        const auto start = Clock::now();
        ForwardingWmi::Release(object);
        m_Store.Keep(start, [&]() -> Call { return call::Release{serial}; });
    }

    void ClearVariant(Variant* value) noexcept override
    {
        if (IsArray(value->type)) {
            m_Store.Locked([&] { return m_Arrays.erase(value->AsArray()); });
        }
        const auto start = Clock::now();
        ForwardingWmi::ClearVariant(value);
        m_Store.Keep(start, []() -> Call { return call::ClearVariant{}; });
    }
    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::ArrayUpperBound(array, dimension, bound);
        m_Store.Keep(start, [&]() -> Call { return call::ArrayUpperBound{Find(array).serial, dimension, *bound, result}; });
        return result;
    }
    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        const auto start = Clock::now();
        const Hresult result = ForwardingWmi::ArrayElement(array, index, element);
        if (!m_Store.Locked([&] { return Folded(start, array, index, element, result); })) {
            m_Store.Keep(start, [&]() -> Call {
                const Array known = Find(array);
                call::ArrayElements kept{known.serial, index, 0, {}, {}, result};
                AddElement(kept, known.type, element);
                return kept;
            });
        }
        return result;
    }
    platform::SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override
    {
        const auto start = Clock::now();
        const platform::SafeArrayBounds result = ForwardingWmi::ArrayBounds(array);
        m_Store.Keep(start, [&]() -> Call { return call::ArrayBounds{Find(array).serial, result}; });
        return result;
    }

private:
    struct Object {
        Serial serial = 0;
        std::shared_ptr<const Query> query;
        std::uint32_t rows = 0;  // for an enumerator the number of rows returned; for a row its index
    };
    struct Array {
        Serial serial = 0;
        VariantType type = VariantType::Empty;
    };

    std::u16string Content(Bstr text) const
    {
        return text != nullptr ? std::u16string(text, ForwardingWmi::StringLength(text)) : std::u16string{};
    }

    // The serial number of a new object; a null object has none.
    Serial Opened(ComObject* object, std::shared_ptr<const Query> query, const std::uint32_t* row)
    {
        if (object == nullptr) {
            return 0;
        }
        const Serial serial = m_Store.NewSerial();
        m_Open[object] = {serial, query != nullptr ? std::move(query) : m_Unknown, row != nullptr ? *row : 0};
        return serial;
    }
    Object Find(ComObject* object) const
    {
        const auto found = m_Open.find(object);
        return found != m_Open.end() ? found->second : Object{0, m_Unknown, 0};
    }
    Array Find(const SafeArray* array) const
    {
        const auto found = m_Arrays.find(array);
        return found != m_Arrays.end() ? found->second : Array{};
    }

    Value Read(const Variant& variant)
    {
        Value value{variant.type, variant.payload, false, {}, 0};
        const bool isText = variant.type == VariantType::String;
        if (isText || IsArray(variant.type)) {
            value.payload = 0;
            value.isNullPointer = variant.payload == 0;
            if (isText) {
                value.text = Content(variant.AsString());
            } else if (variant.AsArray() != nullptr) {
                value.array = m_Store.NewSerial();
                m_Arrays[variant.AsArray()] = {value.array, variant.type};
            }
        }
        return value;
    }

    // Adds one call to a combined record, with its element if there is one.
    void AddElement(call::ArrayElements& elements, VariantType type, const void* element) const
    {
        ++elements.count;
        if (platform::Failed(elements.result)) {
            return;
        }
        if (type == VariantType::UInt8Array) {
            elements.bytes.push_back(*static_cast<const std::uint8_t*>(element));
        } else if (type == VariantType::StringArray) {
            Bstr text = nullptr;
            std::memcpy(&text, element, sizeof(text));
            elements.texts.push_back(Content(text));
        }
    }

    // Adds the call to the last record if that belongs to the same array; false if it does not, or if there is no room.
    bool Folded(Clock::time_point start, const SafeArray* array, std::int32_t index, const void* element, Hresult result) noexcept
    try {
        Record* last = m_Store.LastOfThisThread();
        auto* elements = last != nullptr ? std::get_if<call::ArrayElements>(&last->call) : nullptr;
        const Array known = Find(array);
        if (elements == nullptr || known.serial == 0 || elements->array != known.serial || platform::Failed(elements->result) ||
            std::int64_t{elements->first} + elements->count != index || !m_Store.Grow(sizeof(std::u16string))) {
            return false;
        }
        elements->result = result;
        AddElement(*elements, known.type, element);
        last->duration += std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start);
        return true;
    } catch (...) {
        return false;
    }

    Store& m_Store;
    std::map<const ComObject*, Object> m_Open;
    std::map<const SafeArray*, Array> m_Arrays;
    std::shared_ptr<const Query> m_Unknown = std::make_shared<const Query>();
};

}  // namespace

std::unique_ptr<platform::Wmi> JournalWmi(platform::Wmi& inner, Store& store) { return std::make_unique<WmiJournal>(inner, store); }

}  // namespace orbis::insight
