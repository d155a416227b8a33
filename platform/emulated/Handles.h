#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace orbis::platform::emulated {

// Open objects by handle. A handle is never used again, so a second close is always an error. An object ends
// outside the lock, once the last call that uses it has returned.
template <typename T>
class HandleTable {
public:
    [[nodiscard]] std::intptr_t Add(std::shared_ptr<T> object)
    {
        const std::scoped_lock lock(m_Mutex);
        m_Next += 4;
        m_Objects.emplace(m_Next, std::move(object));
        return m_Next;
    }

    [[nodiscard]] std::shared_ptr<T> Find(std::intptr_t handle) const
    {
        const std::scoped_lock lock(m_Mutex);
        const auto found = m_Objects.find(handle);
        return found != m_Objects.end() ? found->second : nullptr;
    }

    // Closes the handle and returns its object; null when it was not open.
    std::shared_ptr<T> Remove(std::intptr_t handle) noexcept
    {
        const std::scoped_lock lock(m_Mutex);
        auto removed = m_Objects.extract(handle);
        return removed ? std::move(removed.mapped()) : nullptr;
    }

    template <typename Predicate>
    void RemoveIf(Predicate predicate) noexcept
    {
        const std::scoped_lock lock(m_Mutex);
        std::erase_if(m_Objects, [&](const auto& entry) { return predicate(*entry.second); });
    }

private:
    mutable std::mutex m_Mutex;
    std::map<std::intptr_t, std::shared_ptr<T>> m_Objects;
    std::intptr_t m_Next = 0x100;
};

}  // namespace orbis::platform::emulated
