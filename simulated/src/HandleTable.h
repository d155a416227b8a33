#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace orbis::simulated {

// Open objects by handle. Handles are never used again, so that a second close is seen as what it is.
template <typename T>
class HandleTable {
public:
    [[nodiscard]] std::intptr_t Add(std::shared_ptr<T> object)
    {
        const std::lock_guard lock(m_Mutex);
        m_Next += 4;
        m_Objects.emplace(m_Next, std::move(object));
        return m_Next;
    }

    [[nodiscard]] std::shared_ptr<T> Find(std::intptr_t handle) const
    {
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Objects.find(handle);
        return found != m_Objects.end() ? found->second : nullptr;
    }

    // Whether the handle was open.
    bool Remove(std::intptr_t handle)
    {
        const std::lock_guard lock(m_Mutex);
        return m_Objects.erase(handle) != 0;
    }

    // How many objects the visitor says yes to.
    template <typename Visitor>
    std::size_t ForEach(Visitor visit)
    {
        const std::lock_guard lock(m_Mutex);
        std::size_t count = 0;
        for (const auto& [handle, object] : m_Objects) {
            count += visit(*object) ? 1 : 0;
        }
        return count;
    }

    template <typename Predicate>
    std::size_t RemoveIf(Predicate predicate)
    {
        const std::lock_guard lock(m_Mutex);
        return std::erase_if(m_Objects, [&](const auto& entry) { return predicate(*entry.second); });
    }

private:
    mutable std::mutex m_Mutex;
    std::map<std::intptr_t, std::shared_ptr<T>> m_Objects;
    std::intptr_t m_Next = 0x100;
};

}  // namespace orbis::simulated
