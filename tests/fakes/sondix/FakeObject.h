#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "FakeSondix.h"

namespace orbis::fakes {

// An object that returns the values of the script. Classes derived from it, one for each interface, are written by
// WriteFakes.cmake, an accessor a line; __func__ is the accessor's name.
template <class Interface>
class FakeObject : public Interface {
public:
    // `interfaceName` stands before the names of the accessors.
    FakeObject(std::int32_t drive, std::string interfaceName) : m_Drive(drive), m_InterfaceName(std::move(interfaceName)) {}
    virtual ~FakeObject() = default;

    void Destroy() noexcept final { delete this; }

protected:
    [[nodiscard]] const FakeDrive& Drive() const { return FakeSondix::Current().Drive(m_Drive); }

    template <class T>
    [[nodiscard]] T Number(const char* accessor) const
    {
        const auto found = Drive().numbers.find(Enter(accessor));
        return static_cast<T>(found == Drive().numbers.end() ? 0 : found->second);
    }

    // The answer lives as long as the object.
    template <class Bytes>
    [[nodiscard]] const Bytes& Text(const char* accessor) const
    {
        auto& given = m_Given.emplace_back(std::make_unique<unsigned char[]>(sizeof(Bytes)));
        if (const auto found = Drive().bytes.find(Enter(accessor)); found != Drive().bytes.end()) {
            std::memcpy(given.get(), found->second.data(), std::min(sizeof(Bytes), found->second.size()));
        }
        return *reinterpret_cast<const Bytes*>(given.get());
    }

    // A new object named `name`, or null; with an argument, accessor and object have it in their names.
    template <class Nested>
    [[nodiscard]] Nested* New(const std::string& accessor, const std::string& name) const
    {
        const std::string call = Enter(accessor);
        if (Drive().nulls.contains(call)) {
            return nullptr;
        }
        auto* nested = new Nested(m_Drive, name);
        FakeSondix::Current().Created(nested, static_cast<const Interface*>(this), name);
        return nested;
    }
    template <class Nested>
    [[nodiscard]] Nested* New(const char* accessor, const std::string& name, std::uint32_t index) const
    {
        const std::string argument = "(" + std::to_string(index) + ")";
        return New<Nested>(accessor + argument, name + argument);
    }

private:
    [[nodiscard]] std::string Enter(const std::string& accessor) const
    {
        std::string call = m_InterfaceName + "::" + accessor;
        FakeSondix::Current().Call(call);
        return call;
    }

    std::int32_t m_Drive;
    std::string m_InterfaceName;
    mutable std::vector<std::unique_ptr<unsigned char[]>> m_Given;
};

}  // namespace orbis::fakes
