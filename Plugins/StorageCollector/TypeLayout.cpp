#include "TypeLayout.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "platform/Memory.h"

namespace Veyra::Orbis::Plugins::TypeLayout {
namespace {

using Address = std::uintptr_t;
static_assert(sizeof(Address) == 8);

template <class T>
std::optional<T> Read(Address address)
{
    T value{};
    const bool isRead = orbis::platform::Memory::Read(reinterpret_cast<const void*>(address), &value, sizeof value);
    return isRead ? std::optional(value) : std::nullopt;
}

// Whether the zero-terminated text at an address is `expected`, which is shorter than 63 bytes.
bool IsText(Address address, std::string_view expected)
{
    std::array<char, 64> text{};
    return orbis::platform::Memory::Read(reinterpret_cast<const void*>(address), text.data(), expected.size() + 1) &&
           std::string_view(text.data(), expected.size()) == expected && text[expected.size()] == '\0';
}

// ---- The Itanium C++ ABI, 2.9.5: std::type_info and its derived classes

struct ItaniumVmi {
    Address table;
    Address name;
    std::uint32_t flags;
    std::uint32_t baseCount;
};
struct ItaniumBase {
    Address type;
    std::int64_t
        offsetAndFlags;  // bit 0: virtual; bit 1: public; from bit 8 on: offset, or of a virtual base where it stands in the table
};
static_assert(sizeof(ItaniumVmi) == 24 && sizeof(ItaniumBase) == 16);

class ItaniumSearch {
public:
    explicit ItaniumSearch(std::string_view name) : m_Name(name) {}

    // Visits a class and its public bases, at the addresses that they have in this object.
    void Visit(Address subobject, Address type, unsigned depth)
    {
        const auto name = Read<Address>(type + sizeof(Address));
        if (!name || depth > kDepth || ++m_Visited > kClasses) {
            return;
        }
        if (IsText(*name, m_Name)) {
            m_IsAmbiguous |= m_Found != 0 && m_Found != subobject;
            m_Found = subobject;
        } else if (IsOfKind(type, "N10__cxxabiv120__si_class_type_infoE")) {
            if (const auto base = Read<Address>(type + 2 * sizeof(Address))) {
                Visit(subobject, *base, depth + 1);
            }
        } else if (IsOfKind(type, "N10__cxxabiv121__vmi_class_type_infoE")) {
            const auto header = Read<ItaniumVmi>(type);
            for (std::uint32_t index = 0; header && index < std::min(header->baseCount, kClasses); ++index) {
                if (const auto base = Read<ItaniumBase>(type + sizeof(ItaniumVmi) + index * sizeof(ItaniumBase))) {
                    VisitBase(subobject, *base, depth + 1);
                }
            }
        }
    }

    [[nodiscard]] Address Found() const { return m_IsAmbiguous ? 0 : m_Found; }

private:
    // More than any class has. The limit also ends a walk over cyclic type information.
    static constexpr unsigned kDepth = 16;
    static constexpr std::uint32_t kClasses = 256;

    // The class of a type_info object, by its own type information: modules have separate copies of it with the same name.
    static bool IsOfKind(Address type, std::string_view kind)
    {
        const auto table = Read<Address>(type);
        const auto kindType = table ? Read<Address>(*table - sizeof(Address)) : std::nullopt;
        const auto name = kindType ? Read<Address>(*kindType + sizeof(Address)) : std::nullopt;
        return name && IsText(*name, kind);
    }

    void VisitBase(Address subobject, const ItaniumBase& base, unsigned depth)
    {
        constexpr std::int64_t kVirtual = 1;
        constexpr std::int64_t kPublic = 2;
        std::int64_t offset = base.offsetAndFlags >> 8;
        if ((base.offsetAndFlags & kVirtual) != 0) {
            const auto table = Read<Address>(subobject);
            const auto stored = table ? Read<std::int64_t>(*table + static_cast<Address>(offset)) : std::nullopt;
            if (!stored) {
                return;
            }
            offset = *stored;
        }
        if ((base.offsetAndFlags & kPublic) != 0) {
            Visit(subobject + static_cast<Address>(offset), base.type, depth);
        }
    }

    std::string_view m_Name;
    Address m_Found = 0;
    bool m_IsAmbiguous = false;
    std::uint32_t m_Visited = 0;
};

// ---- The Microsoft C++ ABI for 64-bit programs: addresses are offsets from the image's start

struct Locator {  // _RTTICompleteObjectLocator
    std::uint32_t signature;
    std::uint32_t offset;  // of the subobject's table pointer in the complete object
    std::uint32_t constructorOffset;
    std::uint32_t type;
    std::uint32_t hierarchy;
    std::uint32_t self;
};
struct Hierarchy {  // _RTTIClassHierarchyDescriptor
    std::uint32_t signature;
    std::uint32_t attributes;
    std::uint32_t baseCount;  // the class itself is the first
    std::uint32_t bases;
};
struct Base {  // _RTTIBaseClassDescriptor
    std::uint32_t type;
    std::uint32_t containedCount;
    std::int32_t memberOffset;
    std::int32_t tableOffset;  // of the pointer to the table of virtual bases; -1 when the base is not virtual
    std::int32_t slot;         // in that table, in bytes
    std::uint32_t attributes;
};
static_assert(sizeof(Locator) == 24 && sizeof(Hierarchy) == 16 && sizeof(Base) == 24);

constexpr std::uint32_t kSignature64 = 1;
constexpr Address kNameInType = 16;  // _TypeDescriptor: a table pointer, a spare word, the name

// The start of the image follows from a locator's own offset; the locator's class has a decorated name.
std::optional<Locator> LocatorBefore(Address table, Address& at)
{
    at = Read<Address>(table - sizeof(Address)).value_or(0);
    const auto locator = Read<Locator>(at);
    if (!locator || locator->signature != kSignature64) {
        return std::nullopt;
    }
    const auto name = Read<std::array<char, 3>>(at - locator->self + locator->type + kNameInType);
    const bool isDecorated = name && std::string_view(name->data(), name->size()) == ".?A";
    return isDecorated ? locator : std::nullopt;
}

std::optional<Address> AddressOf(const Base& base, Address object)
{
    Address address = object + static_cast<Address>(std::int64_t{base.memberOffset});
    if (base.tableOffset >= 0) {
        const Address pointer = object + static_cast<Address>(std::int64_t{base.tableOffset});
        const auto table = Read<Address>(pointer);
        const auto distance = table ? Read<std::int32_t>(*table + static_cast<Address>(std::int64_t{base.slot})) : std::nullopt;
        if (!distance) {
            return std::nullopt;
        }
        address += static_cast<Address>(std::int64_t{base.tableOffset} + *distance);
    }
    return address;
}

}  // namespace

Address FindItaniumBase(Address subobject, Address table, std::string_view name)
{
    // Before the functions: the offset of the complete object, and its type information.
    const auto offset = Read<std::int64_t>(table - 2 * sizeof(Address));
    const auto type = Read<Address>(table - sizeof(Address));
    if (!offset || !type) {
        return 0;
    }
    const Address object = subobject + static_cast<Address>(*offset);
    ItaniumSearch search(name);
    search.Visit(object, *type, 0);
    // The table of what was found must belong to the same object.
    const auto found = Read<Address>(search.Found());
    const bool isPart = found && Read<Address>(*found - sizeof(Address)) == type &&
                        Read<std::int64_t>(*found - 2 * sizeof(Address)) == static_cast<std::int64_t>(object - search.Found());
    return isPart ? search.Found() : 0;
}

Address FindMicrosoftBase(Address subobject, Address table, std::string_view name)
{
    constexpr std::uint32_t kNotReachable = 0x0F;  // not visible, ambiguous, private or protected, in one of two ways
    constexpr std::uint32_t kMostBases = 256;
    Address at = 0;
    const auto locator = LocatorBefore(table, at);
    const Address image = locator ? at - locator->self : 0;
    const auto hierarchy = locator ? Read<Hierarchy>(image + locator->hierarchy) : std::nullopt;
    if (!hierarchy || locator->constructorOffset != 0) {
        return 0;
    }
    for (std::uint32_t index = 0; index < std::min(hierarchy->baseCount, kMostBases); ++index) {
        const auto descriptor = Read<std::uint32_t>(image + hierarchy->bases + index * sizeof(std::uint32_t));
        const auto base = descriptor ? Read<Base>(image + *descriptor) : std::nullopt;
        if (base && (base->attributes & kNotReachable) == 0 && IsText(image + base->type + kNameInType, name)) {
            const Address object = subobject - locator->offset;
            const Address found = AddressOf(*base, object).value_or(0);
            // The table of what was found must belong to the same object.
            const auto other = LocatorBefore(Read<Address>(found).value_or(0), at);
            return other && at - other->self == image && other->hierarchy == locator->hierarchy && other->offset == found - object
                       ? found
                       : 0;
        }
    }
    return 0;
}

Address FindBase(Address subobject, const TypeName& name)
{
    const auto table = Read<Address>(subobject);
    if (!table) {
        return 0;
    }
    Address at = 0;
    return LocatorBefore(*table, at) ? FindMicrosoftBase(subobject, *table, name.microsoft)
                                     : FindItaniumBase(subobject, *table, name.itanium);
}

}  // namespace Veyra::Orbis::Plugins::TypeLayout
