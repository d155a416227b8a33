#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace Veyra::Orbis::Sdk::Common::Identifiers {

// Names one collected item, or all of them. Compared by value; the text is compared exactly.
class ItemId {
public:
    // One item by its text (UTF-8), for example "Disk_" followed by a PnP device id.
    explicit ItemId(std::string text) : m_Text(std::move(text)) {}
    // Every item.
    [[nodiscard]] static ItemId All()
    {
        ItemId all{"*"};
        all.m_IsAll = true;
        return all;
    }

    [[nodiscard]] bool IsAll() const noexcept { return m_IsAll; }
    // The text as given; "*" for all.
    [[nodiscard]] const std::string& ToString() const noexcept { return m_Text; }

    friend bool operator==(const ItemId&, const ItemId&) = default;

private:
    std::string m_Text;
    bool m_IsAll = false;
};

}  // namespace Veyra::Orbis::Sdk::Common::Identifiers

template <>
struct std::hash<Veyra::Orbis::Sdk::Common::Identifiers::ItemId> {
    std::size_t operator()(const Veyra::Orbis::Sdk::Common::Identifiers::ItemId& id) const noexcept
    {
        return std::hash<std::string>{}(id.ToString()) ^ static_cast<std::size_t>(id.IsAll());
    }
};
