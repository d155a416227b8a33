#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "FakeSondix.h"

namespace orbis::fakes {

// Gives a fake object its scripted values. `Derived` implements `Interface`, one line an accessor; __func__ is the accessor's name.
template <class Derived, class Interface>
class FakeObject : public Interface {
public:
    // `interfaceName` stands before the names of the accessors.
    FakeObject(std::int32_t drive, std::string interfaceName) : m_Drive(drive), m_InterfaceName(std::move(interfaceName)) {}

    void Destroy() noexcept final { delete static_cast<Derived*>(this); }

protected:
    ~FakeObject() = default;

    [[nodiscard]] const FakeDrive& Drive() const { return FakeSondix::Current().Drive(m_Drive); }

    template <class T>
    [[nodiscard]] T Number(const char* accessor) const
    {
        const auto name = Enter(accessor);
        const auto& numbers = Drive().numbers;
        const auto found = numbers.find(name);
        const std::uint64_t value = found == numbers.end() ? 0 : found->second;
        if constexpr (std::is_same_v<T, bool>) {
            return value != 0;
        } else {
            return static_cast<T>(value);
        }
    }
    [[nodiscard]] bool Flag(const char* accessor) const { return Number<bool>(accessor); }

    // The answer lives as long as the object.
    template <class Bytes>
    [[nodiscard]] const Bytes& Text(const char* accessor) const
    {
        const auto name = Enter(accessor);
        const auto& bytes = Drive().bytes;
        auto& given = m_Given.emplace_back(std::make_unique<unsigned char[]>(sizeof(Bytes)));
        if (const auto found = bytes.find(name); found != bytes.end()) {
            std::memcpy(given.get(), found->second.data(), std::min(sizeof(Bytes), found->second.size()));
        }
        return *reinterpret_cast<const Bytes*>(given.get());
    }

    // A new object named `name`, or null.
    template <class Nested>
    [[nodiscard]] Nested* New(const char* accessor, const std::string& name) const
    {
        return Make<Nested>(Enter(accessor), name);
    }
    // The same for an accessor with an argument; both names get it.
    template <class Nested>
    [[nodiscard]] Nested* New(const char* accessor, std::uint32_t index, const std::string& name) const
    {
        const auto argument = "(" + std::to_string(index) + ")";
        return Make<Nested>(Enter(accessor + argument), name + argument);
    }

private:
    std::string Enter(const std::string& accessor) const
    {
        auto name = m_InterfaceName + "::" + accessor;
        FakeSondix::Current().Call(name);
        return name;
    }

    template <class Nested>
    Nested* Make(const std::string& call, const std::string& name) const
    {
        if (Drive().nulls.contains(call)) {
            return nullptr;
        }
        auto* nested = new Nested(m_Drive, name);
        FakeSondix::Current().Created(nested, const_cast<Derived*>(static_cast<const Derived*>(this)), name);
        return nested;
    }

    std::int32_t m_Drive;
    std::string m_InterfaceName;
    mutable std::vector<std::unique_ptr<unsigned char[]>> m_Given;
};

// Makers of the top-level objects.
veyra::sondix::nvme::IIdentifyControllerData* NewFakeIdentifyControllerData(std::int32_t drive);
veyra::sondix::nvme::IHealthInfo* NewFakeHealthInfo(std::int32_t drive);
veyra::sondix::nvme::ICustomizedHealthInfo* NewFakeCustomizedHealthInfo(std::int32_t drive);

}  // namespace orbis::fakes
