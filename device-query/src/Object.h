#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

#include "Page.h"

namespace veyra::sondix {

// Slot 0 of every object: `Derived` implements `Interface` and frees itself.
template <class Derived, class Interface>
class Destroyable : public Interface {
public:
    Destroyable(const Destroyable&) = delete;
    Destroyable& operator=(const Destroyable&) = delete;

    void Destroy() noexcept final { delete static_cast<Derived*>(this); }

protected:
    Destroyable() = default;
    ~Destroyable() = default;
};

// An object over `Size` bytes at byte `First` of an NVMe structure. It has a copy of its bytes, so it does not depend on the object
// that returned it.
template <class Derived, class Interface, std::size_t First, std::size_t Size>
class Object : public Destroyable<Derived, Interface>, protected Page<Size, First> {
public:
    explicit Object(std::span<const std::uint8_t, Size> bytes) noexcept : Page<Size, First>(bytes) {}
    template <std::size_t WholeSize, std::size_t WholeFirst>
    explicit Object(const Page<WholeSize, WholeFirst>& whole) noexcept : Page<Size, First>(whole)
    {}

protected:
    ~Object() = default;

    // The bytes, for objects made from this one.
    [[nodiscard]] const Page<Size, First>& Whole() const noexcept { return *this; }
};

// A new object for the caller; null when memory is exhausted.
template <class T, class... Source>
[[nodiscard]] T* New(const Source&... source) noexcept
{
    return new (std::nothrow) T(source...);
}

}  // namespace veyra::sondix
