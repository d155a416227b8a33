#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>

#include "platform/Errors.h"

namespace orbis::platform::emulated {

// COM's apartments: which model each thread has chosen, and how often.
class Apartments {
public:
    // `alwaysSingle`: every thread is in a single-threaded apartment that somebody else has made and keeps.
    explicit Apartments(bool alwaysSingle) : m_AlwaysSingle(alwaysSingle) {}

    // CoInitializeEx.
    [[nodiscard]] Hresult Enter(std::uint32_t flags)
    {
        constexpr std::uint32_t kApartmentThreaded = 2;  // COINIT_APARTMENTTHREADED
        const bool single = (flags & kApartmentThreaded) != 0;
        const std::scoped_lock lock(m_Mutex);
        if (m_AlwaysSingle && !single) {
            return hresult::kRpcChangedMode;
        }
        Apartment& own = m_Threads.try_emplace(std::this_thread::get_id(), Apartment{single, 0}).first->second;
        if (own.single != single) {
            return hresult::kRpcChangedMode;
        }
        return own.count++ == 0 && !m_AlwaysSingle ? hresult::kOk : hresult::kFalse;
    }

    // CoUninitialize; one too many does nothing.
    void Leave() noexcept
    {
        const std::scoped_lock lock(m_Mutex);
        const auto own = m_Threads.find(std::this_thread::get_id());
        if (own != m_Threads.end() && --own->second.count == 0) {
            m_Threads.erase(own);
        }
    }

    // Whether the calling thread may make objects: in its own apartment, or in the multi-threaded one that some other thread has
    // made.
    [[nodiscard]] bool IsReady() const
    {
        const std::scoped_lock lock(m_Mutex);
        return m_AlwaysSingle || std::ranges::any_of(m_Threads, [](const auto& thread) {
                   return !thread.second.single || thread.first == std::this_thread::get_id();
               });
    }

private:
    struct Apartment {
        bool single = false;
        std::uint32_t count = 0;
    };

    const bool m_AlwaysSingle;
    mutable std::mutex m_Mutex;
    std::map<std::thread::id, Apartment> m_Threads;
};

}  // namespace orbis::platform::emulated
