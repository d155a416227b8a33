#include "platform/Wmi.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include "MachineState.h"
#include "WmiTables.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

namespace hresult = platform::hresult;
using platform::Bstr;
using platform::ComObject;
using platform::Failed;
using platform::Hresult;
using platform::SafeArray;
using platform::Variant;
using platform::VariantType;

constexpr Hresult kCoNotInitialised = hresult::Make(0x800401F0);      // CO_E_NOTINITIALIZED
constexpr Hresult kWbemInvalidQueryType = hresult::Make(0x80041018);  // WBEM_E_INVALID_QUERY_TYPE
constexpr Hresult kNoInterface = hresult::Make(0x80004002);           // E_NOINTERFACE
constexpr std::int32_t kReturnImmediately = 0x10;                     // WBEM_FLAG_RETURN_IMMEDIATELY
constexpr std::uint32_t kApartmentThreaded = 2;                       // COINIT_APARTMENTTHREADED

// What an interface pointer stands for.
struct Object {
    enum class Kind { Locator, Services, Enumerator, Row };
    Kind kind = Kind::Locator;
    std::thread::id thread;
    std::string wmiNamespace;                // services
    WmiRows rows;                            // enumerator
    std::size_t next = 0;                    // enumerator: position of the next row
    Hresult firstError = hresult::kOk;       // enumerator: an error that the query left to the first Next
    std::shared_ptr<const WmiRow> row;       // row
    std::vector<std::u16string> properties;  // enumerator and row: lower-case names that were selected; empty: all
};

struct Array {
    PropertyValue value;
    [[nodiscard]] std::size_t Count() const
    {
        return value.type == VariantType::StringArray ? value.texts.size() : value.bytes.size();
    }
};

class SimulatedWmi final : public ApartmentWmi {
public:
    explicit SimulatedWmi(MachineState& machine) : m_Machine(machine) {}

    Hresult InitializeCom(std::uint32_t flags) override
    {
        const std::lock_guard lock(m_Mutex);
        Apartment& apartment = m_Apartments[std::this_thread::get_id()];
        const bool isSingle = apartment.singleThreaded || m_Machine.description.com().single_threaded();
        if (isSingle && (flags & kApartmentThreaded) == 0) {
            return hresult::kRpcChangedMode;
        }
        ++m_Machine.open.comInitialisations;
        return apartment.initialisations++ == 0 ? hresult::kOk : hresult::kFalse;
    }

    Hresult InitializeSecurity(std::int32_t /*authenticationServices*/, std::uint32_t /*authenticationLevel*/,
                               std::uint32_t /*impersonationLevel*/, std::uint32_t /*capabilities*/) override
    {
        return m_SecurityIsSet.exchange(true) ? hresult::kRpcTooLate : hresult::kOk;
    }

    void UninitializeCom() noexcept override
    {
        const std::lock_guard lock(m_Mutex);
        --m_Apartments[std::this_thread::get_id()].initialisations;
        --m_Machine.open.comInitialisations;
    }

    Bstr AllocateString(const char16_t* text) override { return text != nullptr ? Allocate(text) : nullptr; }

    void FreeString(Bstr text) noexcept override
    {
        if (text == nullptr) {
            return;
        }
        const std::lock_guard lock(m_Mutex);
        if (m_Strings.erase(text) == 0) {
            m_Machine.ReportMisuse("Wmi::FreeString of a string that is not allocated");
            return;
        }
        --m_Machine.open.strings;
    }

    std::uint32_t StringLength(Bstr text) const noexcept override
    {
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Strings.find(text);
        return found != m_Strings.end() ? static_cast<std::uint32_t>(found->second->size()) : 0;
    }

    Hresult CreateLocator(ComObject** locator) override
    {
        *locator = nullptr;
        const std::uint32_t error = m_Machine.description.com().locator_error();
        if (error != 0) {
            return hresult::Make(error);
        }
        if (!IsComReady()) {
            return kCoNotInitialised;
        }
        *locator = Add({});
        return hresult::kOk;
    }

    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        *services = nullptr;
        if (Find(locator, Object::Kind::Locator, "ConnectServer") == nullptr || path == nullptr) {
            return hresult::kInvalidArgument;
        }
        const std::string name = platform::Utf16ToUtf8(path);
        const Hresult result = HasNamespace(m_Machine, name) ? hresult::kOk : hresult::kWbemInvalidNamespace;
        Record("Wmi::ConnectServer", name, result);
        if (!Failed(result)) {
            Object object;
            object.kind = Object::Kind::Services;
            object.wmiNamespace = name;
            *services = Add(std::move(object));
        }
        return result;
    }

    Hresult SetProxyBlanket(ComObject* services, std::uint32_t /*authentication*/, std::uint32_t /*authorization*/,
                            std::uint32_t /*authenticationLevel*/, std::uint32_t /*impersonationLevel*/,
                            std::uint32_t /*capabilities*/) override
    {
        if (services == nullptr) {
            return hresult::kInvalidArgument;  // as CoSetProxyBlanket answers
        }
        return Find(services, Object::Kind::Services, "SetProxyBlanket") != nullptr ? hresult::kOk : kNoInterface;
    }

    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        *enumerator = nullptr;
        const std::shared_ptr<Object> connection = Find(services, Object::Kind::Services, "ExecQuery");
        if (connection == nullptr || language == nullptr || query == nullptr) {
            return hresult::kInvalidArgument;
        }
        Object object;
        object.kind = Object::Kind::Enumerator;
        const std::string text = platform::Utf16ToUtf8(query);
        Hresult result = Run(connection->wmiNamespace, platform::Utf16ToUtf8(language), text, object);
        Record("Wmi::ExecQuery", text, result);
        // A semisynchronous query reports what it finds wrong with the class when its first row is fetched.
        if (Failed(result) && (flags & kReturnImmediately) != 0 && result != kWbemInvalidQueryType &&
            result != hresult::kWbemInvalidQuery) {
            object.firstError = std::exchange(result, hresult::kOk);
        }
        if (!Failed(result)) {
            *enumerator = Add(std::move(object));
        }
        return result;
    }

    Hresult Next(ComObject* enumerator, std::uint32_t /*timeout*/, ComObject** object, std::uint32_t* returned) override
    {
        *object = nullptr;
        *returned = 0;
        const std::shared_ptr<Object> rows = Find(enumerator, Object::Kind::Enumerator, "Next");
        if (rows == nullptr) {
            return hresult::kInvalidArgument;
        }
        if (Failed(rows->firstError)) {
            return rows->firstError;
        }
        if (rows->next >= rows->rows.size()) {
            return hresult::kWbemSFalse;
        }
        Object row;
        row.kind = Object::Kind::Row;
        row.row = rows->rows[rows->next++];
        row.properties = rows->properties;
        if (Failed(row.row->nextError)) {
            return row.row->nextError;
        }
        *object = Add(std::move(row));
        *returned = 1;
        return hresult::kOk;
    }

    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override
    {
        const std::shared_ptr<Object> row = Find(object, Object::Kind::Row, "Get");
        if (row == nullptr || name == nullptr || value == nullptr) {
            return hresult::kInvalidArgument;
        }
        const std::u16string property = ToLower(std::u16string_view(name));
        const bool isSelected =
            row->properties.empty() || std::find(row->properties.begin(), row->properties.end(), property) != row->properties.end();
        const PropertyValue* found = isSelected ? row->row->Find(property) : nullptr;
        if (found == nullptr) {
            return hresult::kWbemNotFound;
        }
        if (Failed(found->getError)) {
            return found->getError;
        }
        *value = MakeVariant(*found);
        if (value->type != VariantType::Empty) {
            ++m_Machine.open.variants;
        }
        return hresult::kOk;
    }

    void Release(ComObject* object) noexcept override
    {
        if (object == nullptr) {
            return;
        }
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Objects.find(object);
        if (found == m_Objects.end()) {
            m_Machine.ReportMisuse("Wmi::Release of an interface that is not held");
            return;
        }
        CheckThread(*found->second, "Release");
        m_Objects.erase(found);
        --m_Machine.open.interfaces;
    }

    void ClearVariant(Variant* value) noexcept override
    {
        if (value->type == VariantType::Empty) {
            return;
        }
        --m_Machine.open.variants;
        const Variant held = std::exchange(*value, Variant{});
        if (held.type == VariantType::String) {
            FreeString(held.AsString());
        } else if (held.type == VariantType::UInt8Array || held.type == VariantType::StringArray) {
            const std::lock_guard lock(m_Mutex);
            if (m_Arrays.erase(held.AsArray()) == 0) {
                m_Machine.ReportMisuse("Wmi::ClearVariant of an array that does not exist");
                return;
            }
            --m_Machine.open.arrays;
        }
    }

    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        const std::shared_ptr<Array> found = Find(array);
        if (found == nullptr) {
            return hresult::kInvalidArgument;
        }
        if (dimension != 1) {
            return hresult::kDispBadIndex;
        }
        if (Failed(found->value.boundError)) {
            return found->value.boundError;
        }
        const std::int64_t last = std::int64_t{found->value.lowerBound} + static_cast<std::int64_t>(found->Count()) - 1;
        *bound = found->value.upperBound.value_or(static_cast<std::int32_t>(std::min<std::int64_t>(last, INT32_MAX)));
        return hresult::kOk;
    }

    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        const std::shared_ptr<Array> found = Find(array);
        if (found == nullptr) {
            return hresult::kInvalidArgument;
        }
        const PropertyValue& value = found->value;
        if (Failed(value.elementError) && index == value.failingIndex) {
            return value.elementError;
        }
        const std::int64_t at = static_cast<std::int64_t>(index) - value.lowerBound;
        if (at < 0 || at >= static_cast<std::int64_t>(found->Count())) {
            return hresult::kDispBadIndex;
        }
        const auto position = static_cast<std::size_t>(at);
        if (value.type == VariantType::StringArray) {
            const Bstr text = value.texts[position] ? Allocate(*value.texts[position]) : nullptr;
            std::memcpy(element, &text, sizeof(text));
        } else {
            std::memcpy(element, &value.bytes[position], 1);
        }
        return hresult::kOk;
    }

    platform::SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override
    {
        const std::shared_ptr<Array> found = Find(array);
        return found != nullptr ? platform::SafeArrayBounds{found->value.lowerBound, static_cast<std::uint32_t>(found->Count())}
                                : platform::SafeArrayBounds{};
    }

    void EnterSingleThreadedApartment() override
    {
        const std::lock_guard lock(m_Mutex);
        Apartment& apartment = m_Apartments[std::this_thread::get_id()];
        apartment.singleThreaded = true;
        ++apartment.initialisations;
    }

    void LeaveSingleThreadedApartment() override
    {
        const std::lock_guard lock(m_Mutex);
        m_Apartments.erase(std::this_thread::get_id());
    }

private:
    struct Apartment {
        bool singleThreaded = false;
        std::int64_t initialisations = 0;
    };

    void Record(const char* operation, const std::string& subject, Hresult result)
    {
        m_Machine.Record([&] {
            JournalEntry entry;
            entry.operation = operation;
            entry.subject = subject;
            entry.error = Failed(result) ? static_cast<std::uint32_t>(result) : 0;
            return entry;
        });
    }

    // A thread without COM of its own uses the process's multi-threaded apartment, once some thread has made it.
    bool IsComReady() const
    {
        const std::lock_guard lock(m_Mutex);
        return m_Machine.description.com().single_threaded() ||
               std::any_of(m_Apartments.begin(), m_Apartments.end(),
                           [](const auto& entry) { return entry.second.initialisations > 0 || entry.second.singleThreaded; });
    }

    ComObject* Add(Object object)
    {
        object.thread = std::this_thread::get_id();
        auto held = std::make_shared<Object>(std::move(object));
        auto* pointer = reinterpret_cast<ComObject*>(held.get());
        const std::lock_guard lock(m_Mutex);
        m_Objects.emplace(pointer, std::move(held));
        ++m_Machine.open.interfaces;
        return pointer;
    }

    std::shared_ptr<Object> Find(ComObject* object, Object::Kind kind, const char* operation) const
    {
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Objects.find(object);
        if (found == m_Objects.end() || found->second->kind != kind) {
            m_Machine.ReportMisuse(fmt::format("Wmi::{} on an interface that is not held or of another kind", operation));
            return nullptr;
        }
        CheckThread(*found->second, operation);
        return found->second;
    }

    void CheckThread(const Object& object, const char* operation) const
    {
        if (object.thread != std::this_thread::get_id()) {
            m_Machine.ReportMisuse(fmt::format("Wmi::{} on a thread that did not make the interface", operation));
        }
    }

    std::shared_ptr<Array> Find(const SafeArray* array) const
    {
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Arrays.find(array);
        return found != m_Arrays.end() ? found->second : nullptr;
    }

    // Zero characters inside the text stay, as in any BSTR.
    Bstr Allocate(std::u16string text)
    {
        auto held = std::make_unique<const std::u16string>(std::move(text));
        const Bstr pointer = held->c_str();
        const std::lock_guard lock(m_Mutex);
        m_Strings.emplace(pointer, std::move(held));
        ++m_Machine.open.strings;
        return pointer;
    }

    Hresult Run(const std::string& wmiNamespace, const std::string& language, const std::string& text, Object& enumerator) const
    {
        if (ToLower(language) != "wql") {
            return kWbemInvalidQueryType;
        }
        std::optional<WmiQueryText> query = ParseQuery(text);
        if (!query) {
            return hresult::kWbemInvalidQuery;
        }
        if (const Hresult error = QueryError(m_Machine, wmiNamespace, query->className); Failed(error)) {
            return error;
        }
        std::optional<WmiRows> rows = Rows(wmiNamespace, query->className);
        if (!rows) {
            return hresult::kWbemInvalidClass;
        }
        enumerator.rows = std::move(*rows);
        enumerator.properties = std::move(query->properties);
        return hresult::kOk;
    }

    // Rows change only when a disk comes or goes, and are kept until then.
    std::optional<WmiRows> Rows(const std::string& wmiNamespace, const std::string& className) const
    {
        std::vector<const DiskModel*> present = m_Machine.PresentDisks();
        const std::string key = ToLower(wmiNamespace + ':' + className);
        const std::lock_guard lock(m_KeptMutex);
        const auto kept = m_Kept.find(key);
        if (kept != m_Kept.end() && kept->second.present == present) {
            return kept->second.rows;
        }
        std::optional<WmiRows> rows = FindRows(m_Machine, wmiNamespace, className);
        if (rows) {
            m_Kept[key] = {std::move(present), *rows};
        }
        return rows;
    }

    Variant MakeVariant(const PropertyValue& value)
    {
        Variant variant{value.type, value.payload};
        if (value.type == VariantType::String && value.text) {
            variant.payload = reinterpret_cast<std::uintptr_t>(Allocate(*value.text));
        } else if (value.type == VariantType::UInt8Array || value.type == VariantType::StringArray) {
            auto array = std::make_shared<Array>(Array{value});
            variant.payload = reinterpret_cast<std::uintptr_t>(array.get());
            const std::lock_guard lock(m_Mutex);
            m_Arrays.emplace(variant.AsArray(), std::move(array));
            ++m_Machine.open.arrays;
        }
        return variant;
    }

    MachineState& m_Machine;
    std::atomic<bool> m_SecurityIsSet{false};
    struct KeptRows {
        std::vector<const DiskModel*> present;
        WmiRows rows;
    };
    mutable std::mutex m_KeptMutex;
    mutable std::map<std::string, KeptRows> m_Kept;

    mutable std::mutex m_Mutex;
    std::map<std::thread::id, Apartment> m_Apartments;
    std::map<const ComObject*, std::shared_ptr<Object>> m_Objects;
    std::map<Bstr, std::unique_ptr<const std::u16string>> m_Strings;
    std::map<const SafeArray*, std::shared_ptr<Array>> m_Arrays;
};

}  // namespace

std::unique_ptr<ApartmentWmi> MakeWmiPort(MachineState& machine) { return std::make_unique<SimulatedWmi>(machine); }

}  // namespace orbis::simulated
