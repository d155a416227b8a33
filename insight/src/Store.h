#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <utility>

#include "insight/Journal.h"

namespace orbis::insight {

using Clock = std::chrono::steady_clock;

// The records of a journal, and the lock that also guards the open objects of its ports.
class Store {
public:
    explicit Store(std::size_t capacity) : m_Capacity(capacity) {}

    // Records a call that began at `start` and has just returned; `make` builds the record, under the lock. The call itself has
    // succeeded, so recording must not fail: without memory the call counts as lost.
    template <class Make>
    void Keep(Clock::time_point start, Make&& make) noexcept
    {
        const auto duration = Clock::now() - start;
        const std::lock_guard lock(m_Mutex);
        try {
            Add({ThisThread(), start, std::chrono::duration_cast<std::chrono::nanoseconds>(duration), make()});
        } catch (...) {
            ++m_Lost;
        }
    }

    // Runs `use` under the lock and returns its result; `use` does not throw.
    template <class Use>
    auto Locked(Use&& use) noexcept
    {
        const std::lock_guard lock(m_Mutex);
        return use();
    }

    // The content of a buffer; empty for null, and when there is no memory for it (then the call counts as lost).
    [[nodiscard]] Bytes CopyOf(const void* data, std::size_t size) noexcept;

    // Under the lock:
    [[nodiscard]] Serial NewSerial() noexcept { return ++m_LastSerial; }
    // The last record if it is the calling thread's, else null.
    [[nodiscard]] Record* LastOfThisThread() noexcept;
    // Counts bytes that are added to that record. Returns whether there is room for them.
    [[nodiscard]] bool Grow(std::size_t bytes) noexcept;

    [[nodiscard]] Extract Take();

private:
    static std::uint32_t ThisThread() noexcept;
    void Add(Record record);

    std::mutex m_Mutex;
    std::size_t m_Capacity;
    std::size_t m_Used = 0;
    Serial m_LastSerial = 0;
    std::uint64_t m_Lost = 0;
    std::vector<Record> m_Records;
};

// A zero-terminated text; null is empty.
[[nodiscard]] inline std::u16string TextOf(const char16_t* text) { return text != nullptr ? text : std::u16string{}; }

[[nodiscard]] std::unique_ptr<platform::DeviceIo> JournalDeviceIo(platform::DeviceIo& inner, Store& store);
[[nodiscard]] std::unique_ptr<platform::Setup> JournalSetup(platform::Setup& inner, Store& store);
[[nodiscard]] std::unique_ptr<platform::Wmi> JournalWmi(platform::Wmi& inner, Store& store);
[[nodiscard]] std::unique_ptr<platform::Firmware> JournalFirmware(platform::Firmware& inner, Store& store);
[[nodiscard]] std::unique_ptr<platform::Pdh> JournalPdh(platform::Pdh& inner, Store& store);
[[nodiscard]] std::unique_ptr<platform::Time> JournalTime(platform::Time& inner, Store& store);
[[nodiscard]] std::unique_ptr<platform::Text> JournalText(platform::Text& inner, Store& store);

}  // namespace orbis::insight
