#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

#include "HostSdk/Exceptions.h"

namespace Veyra::Orbis::Common {

// A dictionary that keeps insertion order and refuses a key twice, as the host's does. Keys have ToString, hash and equality.
template <class Key, class Value>
class Dictionary {
public:
    using Entry = std::pair<Key, Value>;

    // Throws ArgumentException when the key is present; the dictionary is then unchanged.
    void Add(Key key, Value value)
    {
        if (m_Index.contains(key)) {
            throw Sdk::Exceptions::ArgumentException("An item with the same key has already been added. Key: " + key.ToString());
        }
        m_Entries.emplace_back(std::move(key), std::move(value));
        m_Index.emplace(m_Entries.back().first, m_Entries.size() - 1);
    }

    // The value of the key, or null when it is absent. Valid until the next Add.
    [[nodiscard]] const Value* Find(const Key& key) const
    {
        const auto found = m_Index.find(key);
        return found == m_Index.end() ? nullptr : &m_Entries[found->second].second;
    }

    [[nodiscard]] std::size_t Count() const noexcept { return m_Entries.size(); }
    [[nodiscard]] bool IsEmpty() const noexcept { return m_Entries.empty(); }
    [[nodiscard]] auto begin() const noexcept { return m_Entries.begin(); }
    [[nodiscard]] auto end() const noexcept { return m_Entries.end(); }

private:
    std::vector<Entry> m_Entries;
    std::unordered_map<Key, std::size_t> m_Index;
};

}  // namespace Veyra::Orbis::Common
