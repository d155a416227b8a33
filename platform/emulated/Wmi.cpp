#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <thread>

#include "emulated/Automation.h"
#include "emulated/CaseFolding.h"
#include "emulated/WmiFacts.h"
#include "emulated/Wql.h"
#include "platform/Text.h"

namespace orbis::platform::emulated {
namespace {

constexpr std::uint32_t kApartmentThreaded = 2;    // COINIT_APARTMENTTHREADED
constexpr std::int32_t kReturnImmediately = 0x10;  // WBEM_FLAG_RETURN_IMMEDIATELY

// The object behind a ComObject pointer. It is created with one reference, the only one that the port can release.
struct Object {
    enum class Kind { Locator, Services, Enumerator, Row } kind;
    std::string wmiNamespace{};                                  // services
    WmiAnswer answer{};                                          // enumerator
    std::size_t next = 0;                                        // enumerator: position of the row that Next gives
    std::shared_ptr<const WmiRow> row{};                         // row
    std::shared_ptr<const std::vector<std::string>> selected{};  // enumerator and row: names of properties; none: all
};
using enum Object::Kind;

Object* Find(ComObject* object, Object::Kind kind) noexcept
{
    auto* found = reinterpret_cast<Object*>(object);
    return found != nullptr && found->kind == kind ? found : nullptr;
}

Hresult HandOut(ComObject** out, Object object)
{
    *out = reinterpret_cast<ComObject*>(new Object(std::move(object)));
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
    explicit EmulatedWmi(WmiFacts& facts) : m_Facts(facts), m_Com(facts.Com()) {}

    Hresult InitializeCom(std::uint32_t flags) override
    {
        return Guarded([&] {
            const bool single = (flags & kApartmentThreaded) != 0;
            // Apartments that every thread has are not counted here; their maker owns them.
            const Apartment made{m_Com.singleThreaded || single, m_Com.singleThreaded ? 1U : 0U};
            const std::scoped_lock lock(m_Mutex);
            Apartment& own = m_Apartments.try_emplace(std::this_thread::get_id(), made).first->second;
            if (own.single != single) {
                return hresult::kRpcChangedMode;
            }
            return own.count++ == 0 ? hresult::kOk : hresult::kFalse;
        });
    }
    Hresult InitializeSecurity(std::int32_t /*services*/, std::uint32_t /*level*/, std::uint32_t /*impersonation*/,
                               std::uint32_t /*capabilities*/) override
    {
        return m_SecurityIsSet.exchange(true) ? hresult::kRpcTooLate : hresult::kOk;
    }
    void UninitializeCom() noexcept override
    {
        const std::scoped_lock lock(m_Mutex);
        const auto own = m_Apartments.find(std::this_thread::get_id());
        if (own != m_Apartments.end() && --own->second.count == 0) {
            m_Apartments.erase(own);
        }
    }

    Bstr AllocateString(const char16_t* text) override { return text != nullptr ? NewString(text) : nullptr; }
    void FreeString(Bstr text) noexcept override { emulated::FreeString(text); }
    std::uint32_t StringLength(Bstr text) const noexcept override { return static_cast<std::uint32_t>(TextOf(text).size()); }

    Hresult CreateLocator(ComObject** locator) override
    {
        *locator = nullptr;
        return Guarded([&] {
            const Hresult result = IsComReady() ? m_Com.locatorResult : hresult::kCoNotInitialized;
            return Failed(result) ? result : HandOut(locator, {Locator});
        });
    }

    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        *services = nullptr;
        if (Find(locator, Locator) == nullptr || path == nullptr) {
            return hresult::kWbemInvalidParameter;
        }
        return Guarded([&] {
            Object connection{Services};
            std::string& name = connection.wmiNamespace;
            const Hresult result = ParseNamespacePath(Utf16ToUtf8(TextOf(path)), name);
            if (!Failed(result) && !IsWindowsNamespace(name) && !m_Facts.HasNamespace(name)) {
                return hresult::kWbemInvalidNamespace;
            }
            return Failed(result) ? result : HandOut(services, std::move(connection));
        });
    }

    Hresult SetProxyBlanket(ComObject* services, std::uint32_t /*authentication*/, std::uint32_t /*authorization*/,
                            std::uint32_t /*level*/, std::uint32_t /*impersonation*/, std::uint32_t /*capabilities*/) override
    {
        const Hresult refusal = services == nullptr ? hresult::kInvalidArgument : hresult::kNoInterface;
        return Find(services, Services) != nullptr ? hresult::kOk : refusal;
    }

    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        *enumerator = nullptr;
        const Object* connection = Find(services, Services);
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
            Object rows{Enumerator};
            rows.answer = m_Facts.Query(asked);
            rows.selected = std::make_shared<std::vector<std::string>>(std::move(asked.properties));
            const bool isDone = Failed(rows.answer.result) || (flags & kReturnImmediately) != 0;
            const Hresult result = isDone ? rows.answer.result : rows.answer.end;
            return Failed(result) || rows.answer.isNull ? result : HandOut(enumerator, std::move(rows));
        });
    }

    Hresult Next(ComObject* enumerator, std::uint32_t /*timeout*/, ComObject** object, std::uint32_t* returned) override
    {
        *object = nullptr;
        *returned = 0;
        Object* rows = Find(enumerator, Enumerator);
        if (rows == nullptr) {
            return hresult::kWbemInvalidParameter;
        }
        if (rows->next == rows->answer.rows.size()) {
            return rows->answer.end;
        }
        return Guarded([&] {
            HandOut(object, {Row, {}, {}, 0, rows->answer.rows[rows->next], rows->selected});
            ++rows->next;
            *returned = 1;
            return hresult::kOk;
        });
    }

    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override
    {
        const Object* row = Find(object, Row);
        if (row == nullptr || name == nullptr || value == nullptr) {
            return hresult::kWbemInvalidParameter;
        }
        return Guarded([&] {
            const std::string property = Utf16ToUtf8(name);
            const auto isProperty = [&](const std::string& selected) { return EqualIgnoreCase(selected, property); };
            const bool isSelected = row->selected->empty() || std::ranges::any_of(*row->selected, isProperty);
            const WmiValue* found = isSelected ? row->row->Find(property) : nullptr;
            return found != nullptr ? MakeVariant(*found, *value) : hresult::kWbemNotFound;
        });
    }

    void Release(ComObject* object) noexcept override { delete reinterpret_cast<Object*>(object); }

    void ClearVariant(Variant* value) noexcept override { emulated::ClearVariant(*value); }

    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        if (array == nullptr || bound == nullptr) {
            return hresult::kInvalidArgument;
        }
        const WmiArray& content = ContentOf(*array);
        const std::int64_t last = std::int64_t{content.lowerBound} + static_cast<std::int64_t>(content.Count()) - 1;
        *bound = content.upperBound.value_or(static_cast<std::int32_t>(std::min<std::int64_t>(last, INT32_MAX)));
        return dimension == 1 ? content.boundError : hresult::kDispBadIndex;
    }

    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        if (array == nullptr || element == nullptr) {
            return hresult::kInvalidArgument;
        }
        const WmiArray& content = ContentOf(*array);
        const std::int64_t at = std::int64_t{index} - content.lowerBound;
        if (Failed(content.elementError) && index == content.failingIndex) {
            return content.elementError;
        }
        if (at < 0 || at >= static_cast<std::int64_t>(content.Count())) {
            return hresult::kDispBadIndex;
        }
        const auto position = static_cast<std::size_t>(at);
        if (content.type == VariantType::UInt8Array) {
            std::memcpy(element, &content.bytes[position], 1);
            return hresult::kOk;
        }
        const auto& text = content.texts[position];
        const Bstr string = text ? NewString(*text) : nullptr;
        std::memcpy(element, &string, sizeof(string));
        return text && string == nullptr ? hresult::kOutOfMemory : hresult::kOk;
    }

    SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override
    {
        const WmiArray none;
        const WmiArray& content = array != nullptr ? ContentOf(*array) : none;
        return {content.lowerBound, static_cast<std::uint32_t>(content.Count())};
    }

private:
    struct Apartment {
        bool single = false;
        std::uint32_t count = 0;
    };

    // A thread makes objects in its own apartment, or in the multi-threaded one that some other thread has made.
    [[nodiscard]] bool IsComReady()
    {
        const std::scoped_lock lock(m_Mutex);
        return m_Com.singleThreaded || std::ranges::any_of(m_Apartments, [](const auto& apartment) {
                   return !apartment.second.single || apartment.first == std::this_thread::get_id();
               });
    }

    WmiFacts& m_Facts;
    const ComFacts m_Com;
    std::atomic<bool> m_SecurityIsSet{false};
    std::mutex m_Mutex;
    std::map<std::thread::id, Apartment> m_Apartments;
};

}  // namespace

std::unique_ptr<Wmi> MakeWmi(WmiFacts& facts) { return std::make_unique<EmulatedWmi>(facts); }

}  // namespace orbis::platform::emulated
