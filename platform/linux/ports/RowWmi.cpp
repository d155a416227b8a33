#include "linux/ports/RowWmi.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <map>
#include <mutex>
#include <new>
#include <thread>
#include <type_traits>
#include <utility>

namespace orbis::platform {
namespace {

constexpr std::uint32_t kApartmentThreaded = 2;  // COINIT_APARTMENTTHREADED
constexpr std::int32_t kReturnImmediately = 0x10;

// Every kind of object that goes out as a ComObject.
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
    explicit Services(std::u16string connected) : Object(kKind), path(std::move(connected)) {}
    const std::u16string path;
};

struct Enumerator final : Object {
    static constexpr Kind kKind = Kind::Enumerator;
    Enumerator() : Object(kKind) {}
    Hresult failure = hresult::kOk;  // of the class, told by the first Next
    std::vector<Row> rows;
    std::size_t next = 0;
};

struct ClassObject final : Object {
    static constexpr Kind kKind = Kind::ClassObject;
    explicit ClassObject(Row properties) : Object(kKind), row(std::move(properties)) {}
    const Row row;
};

template <typename T>
T* As(ComObject* object) noexcept
{
    auto* base = reinterpret_cast<Object*>(object);
    return base != nullptr && base->kind == T::kKind ? static_cast<T*>(base) : nullptr;
}

// An object goes out as its base: As and Release take it back the same way.
template <typename T>
ComObject* HandOut(std::unique_ptr<T> object) noexcept
{
    return reinterpret_cast<ComObject*>(static_cast<Object*>(object.release()));
}

struct Array {
    RowBytes bytes;
    RowStrings strings;
    bool holdsStrings = false;

    [[nodiscard]] std::size_t Count() const noexcept { return holdsStrings ? strings.size() : bytes.size(); }
};

const Array& AsArray(const SafeArray* array) noexcept { return *reinterpret_cast<const Array*>(array); }

// A BSTR's length in bytes stands in front of its text. Eight bytes are kept for it, so that the text is aligned for any reader.
constexpr std::size_t kBstrPrefix = 8;

char16_t LowerAscii(char16_t character) noexcept
{
    return character >= u'A' && character <= u'Z' ? static_cast<char16_t>(character - u'A' + u'a') : character;
}

bool IsSpace(char16_t character) noexcept { return character == u' ' || (character >= u'\t' && character <= u'\r'); }

std::u16string NormalisedNamespace(std::u16string_view path)
{
    std::u16string out;
    out.reserve(path.size());
    std::ranges::transform(path, std::back_inserter(out), [](char16_t c) { return c == u'/' ? u'\\' : LowerAscii(c); });
    constexpr std::u16string_view kThisMachine = u"\\\\.\\";
    return out.starts_with(kThisMachine) ? out.substr(kThisMachine.size()) : out;
}

struct Query {
    std::vector<std::u16string> properties;  // none: all
    std::u16string className;
};

// Words of the query; a comma and a star are words of their own.
std::vector<std::u16string_view> Words(std::u16string_view text)
{
    std::vector<std::u16string_view> words;
    for (std::size_t at = 0; at < text.size();) {
        if (IsSpace(text[at])) {
            ++at;
            continue;
        }
        std::size_t end = at + 1;
        const auto isMark = [](char16_t c) { return c == u',' || c == u'*'; };
        while (!isMark(text[at]) && end < text.size() && !IsSpace(text[end]) && !isMark(text[end])) {
            ++end;
        }
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

bool Parse(std::u16string_view text, Query& query)
{
    const std::vector<std::u16string_view> words = Words(text);
    if (words.size() < 4 || !EqualIgnoreCase(words[0], u"SELECT")) {
        return false;
    }
    std::size_t at = 1;
    if (words[at] == u"*") {
        ++at;
    } else {
        for (bool more = true; more && at < words.size(); ++at) {
            query.properties.emplace_back(words[at]);
            more = at + 1 < words.size() && words[at + 1] == u",";
            at += more ? 1 : 0;
        }
    }
    if (at + 2 != words.size() || !EqualIgnoreCase(words[at], u"FROM")) {
        return false;
    }
    query.className = words[at + 1];
    return true;
}

void KeepOnly(const std::vector<std::u16string>& names, std::vector<Row>& rows)
{
    const auto isAsked = [&](const RowProperty& property) {
        return std::ranges::any_of(names, [&](const std::u16string& name) { return EqualIgnoreCase(name, property.name); });
    };
    for (Row& row : rows) {
        std::erase_if(row, [&](const RowProperty& property) { return !isAsked(property); });
    }
}

// Runs what may throw; what does becomes the HRESULT a COM method would return.
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

class RowWmi final : public Wmi {
public:
    explicit RowWmi(RowSource& source) : m_Source(source) {}

    Hresult InitializeCom(std::uint32_t flags) override;
    Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                               std::uint32_t impersonationLevel, std::uint32_t capabilities) override;
    void UninitializeCom() noexcept override;

    Bstr AllocateString(const char16_t* text) override;
    void FreeString(Bstr text) noexcept override;
    std::uint32_t StringLength(Bstr text) const noexcept override;

    Hresult CreateLocator(ComObject** locator) override;
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override;
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                            std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                            std::uint32_t capabilities) override;
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override;
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override;
    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override;
    void Release(ComObject* object) noexcept override;

    void ClearVariant(Variant* value) noexcept override;
    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override;
    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override;
    SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override;

private:
    struct Apartment {
        std::uint32_t flags = 0;
        std::uint32_t count = 0;
    };

    [[nodiscard]] Bstr NewString(std::u16string_view text);

    RowSource& m_Source;
    std::atomic<bool> m_SecuritySet{false};
    std::mutex m_ApartmentsLock;
    std::map<std::thread::id, Apartment> m_Apartments;
};

Hresult RowWmi::InitializeCom(std::uint32_t flags)
{
    const std::scoped_lock lock(m_ApartmentsLock);
    Apartment& apartment = m_Apartments[std::this_thread::get_id()];
    const std::uint32_t model = flags & kApartmentThreaded;
    if (apartment.count != 0 && apartment.flags != model) {
        return hresult::kRpcChangedMode;
    }
    apartment.flags = model;
    return apartment.count++ == 0 ? hresult::kOk : hresult::kFalse;
}

Hresult RowWmi::InitializeSecurity(std::int32_t /*authenticationServices*/, std::uint32_t /*authenticationLevel*/,
                                   std::uint32_t /*impersonationLevel*/, std::uint32_t /*capabilities*/)
{
    return m_SecuritySet.exchange(true) ? hresult::kRpcTooLate : hresult::kOk;
}

void RowWmi::UninitializeCom() noexcept
{
    const std::scoped_lock lock(m_ApartmentsLock);
    const auto apartment = m_Apartments.find(std::this_thread::get_id());
    if (apartment != m_Apartments.end() && apartment->second.count > 0 && --apartment->second.count == 0) {
        m_Apartments.erase(apartment);
    }
}

Bstr RowWmi::NewString(std::u16string_view text)
{
    const std::size_t bytes = text.size() * sizeof(char16_t);
    if (bytes > 0x7FFFFFFF) {
        return nullptr;
    }
    auto* block = static_cast<unsigned char*>(::operator new(kBstrPrefix + bytes + sizeof(char16_t), std::nothrow));
    if (block == nullptr) {
        return nullptr;
    }
    const auto length = static_cast<std::uint32_t>(bytes);
    std::memcpy(block + kBstrPrefix - sizeof(length), &length, sizeof(length));
    auto* out = reinterpret_cast<char16_t*>(block + kBstrPrefix);
    std::ranges::copy(text, out);
    out[text.size()] = u'\0';
    return out;
}

Bstr RowWmi::AllocateString(const char16_t* text) { return text != nullptr ? NewString(text) : nullptr; }

void RowWmi::FreeString(Bstr text) noexcept
{
    if (text != nullptr) {
        auto* block = reinterpret_cast<unsigned char*>(const_cast<char16_t*>(text)) - kBstrPrefix;
        ::operator delete(block);
    }
}

std::uint32_t RowWmi::StringLength(Bstr text) const noexcept
{
    std::uint32_t bytes = 0;
    if (text != nullptr) {
        std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(text) - sizeof(bytes), sizeof(bytes));
    }
    return static_cast<std::uint32_t>(bytes / sizeof(char16_t));
}

Hresult RowWmi::CreateLocator(ComObject** locator)
{
    *locator = nullptr;
    return Guarded([&] {
        *locator = HandOut(std::make_unique<Locator>());
        return hresult::kOk;
    });
}

Hresult RowWmi::ConnectServer(ComObject* locator, Bstr path, ComObject** services)
{
    *services = nullptr;
    if (As<Locator>(locator) == nullptr || path == nullptr) {
        return hresult::kInvalidArgument;
    }
    return Guarded([&] {
        std::u16string normalised = NormalisedNamespace({path, StringLength(path)});
        if (!m_Source.HasNamespace(normalised)) {
            return hresult::kWbemInvalidNamespace;
        }
        *services = HandOut(std::make_unique<Services>(std::move(normalised)));
        return hresult::kOk;
    });
}

Hresult RowWmi::SetProxyBlanket(ComObject* services, std::uint32_t /*authentication*/, std::uint32_t /*authorization*/,
                                std::uint32_t /*authenticationLevel*/, std::uint32_t /*impersonationLevel*/,
                                std::uint32_t /*capabilities*/)
{
    return As<Services>(services) != nullptr ? hresult::kOk : hresult::kInvalidArgument;
}

Hresult RowWmi::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    *enumerator = nullptr;
    const auto* connection = As<Services>(services);
    if (connection == nullptr || language == nullptr || query == nullptr) {
        return hresult::kInvalidArgument;
    }
    return Guarded([&] {
        Query parsed;
        if (!EqualIgnoreCase({language, StringLength(language)}, u"WQL") || !Parse({query, StringLength(query)}, parsed)) {
            return hresult::kWbemInvalidQuery;
        }
        auto result = std::make_unique<Enumerator>();
        result->failure = m_Source.Rows(connection->path, parsed.className, result->rows);
        if (Failed(result->failure) && (flags & kReturnImmediately) == 0) {
            return result->failure;
        }
        if (!parsed.properties.empty()) {
            KeepOnly(parsed.properties, result->rows);
        }
        *enumerator = HandOut(std::move(result));
        return hresult::kOk;
    });
}

Hresult RowWmi::Next(ComObject* enumerator, std::uint32_t /*timeout*/, ComObject** object, std::uint32_t* returned)
{
    *object = nullptr;
    *returned = 0;
    auto* rows = As<Enumerator>(enumerator);
    if (rows == nullptr) {
        return hresult::kInvalidArgument;
    }
    if (Failed(rows->failure)) {
        return rows->failure;
    }
    if (rows->next == rows->rows.size()) {
        return hresult::kWbemSFalse;
    }
    return Guarded([&] {
        *object = HandOut(std::make_unique<ClassObject>(std::move(rows->rows[rows->next])));
        ++rows->next;
        *returned = 1;
        return hresult::kOk;
    });
}

Hresult RowWmi::Get(ComObject* object, const char16_t* name, Variant* value)
{
    const auto* row = As<ClassObject>(object);
    if (row == nullptr || name == nullptr || value == nullptr) {
        return hresult::kInvalidArgument;
    }
    const auto property =
        std::ranges::find_if(row->row, [&](const RowProperty& candidate) { return EqualIgnoreCase(candidate.name, name); });
    if (property == row->row.end()) {
        return hresult::kWbemNotFound;
    }
    const auto asArray = [&](VariantType type, auto member, const auto& content) {
        auto array = std::make_unique<Array>();
        (*array).*member = content;
        array->holdsStrings = type == VariantType::StringArray;
        *value = {type, reinterpret_cast<std::uintptr_t>(array.release())};
        return hresult::kOk;
    };
    const auto convert = [&](const auto& content) -> Hresult {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, RowNull>) {
            *value = {VariantType::Null, 0};
        } else if constexpr (std::is_same_v<Content, Variant>) {
            *value = content;
        } else if constexpr (std::is_same_v<Content, RowBytes>) {
            return asArray(VariantType::UInt8Array, &Array::bytes, content);
        } else if constexpr (std::is_same_v<Content, RowStrings>) {
            return asArray(VariantType::StringArray, &Array::strings, content);
        } else {
            const Bstr text = NewString(content);
            if (text == nullptr) {
                return hresult::kOutOfMemory;
            }
            *value = {VariantType::String, reinterpret_cast<std::uintptr_t>(text)};
        }
        return hresult::kOk;
    };
    return Guarded([&] { return std::visit(convert, property->value); });
}

void RowWmi::Release(ComObject* object) noexcept
{
    if (object != nullptr) {
        delete reinterpret_cast<Object*>(object);
    }
}

void RowWmi::ClearVariant(Variant* value) noexcept
{
    if (value->type == VariantType::String) {
        FreeString(value->AsString());
    } else if (value->type == VariantType::UInt8Array || value->type == VariantType::StringArray) {
        delete reinterpret_cast<Array*>(value->AsArray());
    }
    *value = {};
}

Hresult RowWmi::ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound)
{
    if (array == nullptr || bound == nullptr) {
        return hresult::kInvalidArgument;
    }
    if (dimension != 1) {
        return hresult::kDispBadIndex;
    }
    *bound = static_cast<std::int32_t>(AsArray(array).Count()) - 1;
    return hresult::kOk;
}

Hresult RowWmi::ArrayElement(SafeArray* array, std::int32_t index, void* element)
{
    if (array == nullptr || element == nullptr) {
        return hresult::kInvalidArgument;
    }
    const Array& content = AsArray(array);
    if (index < 0 || static_cast<std::size_t>(index) >= content.Count()) {
        return hresult::kDispBadIndex;
    }
    const auto at = static_cast<std::size_t>(index);
    if (!content.holdsStrings) {
        std::memcpy(element, &content.bytes[at], 1);
        return hresult::kOk;
    }
    const Bstr text = NewString(content.strings[at]);
    std::memcpy(element, &text, sizeof(text));
    return text != nullptr ? hresult::kOk : hresult::kOutOfMemory;
}

SafeArrayBounds RowWmi::ArrayBounds(const SafeArray* array) const noexcept
{
    return array != nullptr ? SafeArrayBounds{0, static_cast<std::uint32_t>(AsArray(array).Count())} : SafeArrayBounds{};
}

}  // namespace

RowValue RowUint32(std::uint32_t value) { return Variant{VariantType::Int32, value}; }

RowValue RowUint64(std::uint64_t value)
{
    std::u16string digits;
    do {
        digits.insert(digits.begin(), static_cast<char16_t>(u'0' + value % 10));
        value /= 10;
    } while (value != 0);
    return digits;
}

RowValue RowBool(bool value) { return Variant{VariantType::Bool, value ? 0xFFFFU : 0U}; }

bool EqualIgnoreCase(std::u16string_view left, std::u16string_view right) noexcept
{
    return std::ranges::equal(left, right, [](char16_t a, char16_t b) { return LowerAscii(a) == LowerAscii(b); });
}

std::unique_ptr<Wmi> MakeRowWmi(RowSource& source) { return std::make_unique<RowWmi>(source); }

}  // namespace orbis::platform
