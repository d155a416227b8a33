#pragma once

#include <cstdint>
#include <string_view>

// Run-time type information of 64-bit programs as data, in the two layouts that C++ compilers for Windows and Linux use. Every word
// is copied through platform::Memory before it is used, so an invalid address gives no result but causes no fault.
namespace Veyra::Orbis::Plugins::TypeLayout {

// The name of a class in both layouts: mangled as in the Itanium C++ ABI, and decorated as by the Microsoft compiler.
struct TypeName {
    std::string_view itanium;
    std::string_view microsoft;
};

// The address of the only public subobject (a base or the object itself) of class `name` in the complete object that `subobject`,
// which is of a polymorphic class, belongs to. 0 when there is none or more than one, and when no type information is found.
[[nodiscard]] std::uintptr_t FindBase(std::uintptr_t subobject, const TypeName& name);

// The same for a known layout.
[[nodiscard]] std::uintptr_t FindItaniumBase(std::uintptr_t subobject, std::uintptr_t table, std::string_view name);
[[nodiscard]] std::uintptr_t FindMicrosoftBase(std::uintptr_t subobject, std::uintptr_t table, std::string_view name);

}  // namespace Veyra::Orbis::Plugins::TypeLayout
