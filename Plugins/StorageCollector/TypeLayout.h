#pragma once

#include <cstdint>
#include <string_view>

// Run-time type information of 64-bit programs as data, in the two layouts that C++ compilers for Windows and Linux use. Every word
// is copied through platform::Memory before it is used, so an address that leads nowhere is an answer and no fault.
namespace Veyra::Orbis::Plugins::TypeLayout {

// A class by its name in both layouts: mangled as in the Itanium C++ ABI, and as the Microsoft compiler decorates it.
struct TypeName {
    std::string_view itanium;
    std::string_view microsoft;
};

// The address of the one public base (or own) subobject of class `name` in the complete object of which `subobject`, a polymorphic
// class of its own, is a part. 0 when there is none or more than one, and when no type information is found.
[[nodiscard]] std::uintptr_t FindBase(std::uintptr_t subobject, const TypeName& name);

// The same where the layout is known.
[[nodiscard]] std::uintptr_t FindItaniumBase(std::uintptr_t subobject, std::uintptr_t table, std::string_view name);
[[nodiscard]] std::uintptr_t FindMicrosoftBase(std::uintptr_t subobject, std::uintptr_t table, std::string_view name);

}  // namespace Veyra::Orbis::Plugins::TypeLayout
