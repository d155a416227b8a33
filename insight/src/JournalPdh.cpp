#include <algorithm>
#include <map>

#include "Store.h"

namespace orbis::insight {
namespace {

using platform::PdhCounterObject;
using platform::PdhQueryObject;
using platform::PdhStatus;

class PdhJournal final : public platform::ForwardingPdh {
public:
    PdhJournal(platform::Pdh& inner, Store& store) : ForwardingPdh(inner), m_Store(store) {}

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) override
    {
        const auto start = Clock::now();
        const PdhStatus status = ForwardingPdh::OpenQuery(dataSource, userData, query);
        m_Store.Keep(start, [&]() -> Call {
            const Serial serial = status == platform::pdh::kOk ? m_Store.NewSerial() : 0;
            if (serial != 0) {
                m_Queries[*query] = serial;
            }
            return call::OpenQuery{TextOf(dataSource), serial, status};
        });
        return status;
    }

    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        const std::uint32_t before = *characters;
        const auto start = Clock::now();
        const PdhStatus status = ForwardingPdh::EnumInstances(object, buffer, characters);
        m_Store.Keep(start, [&]() -> Call {
            return call::EnumInstances{TextOf(object), before, *characters,
                                       buffer != nullptr ? std::u16string(buffer, before) : std::u16string{}, status};
        });
        return status;
    }

    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        const std::uint32_t before = *characters;
        const auto start = Clock::now();
        const PdhStatus status = ForwardingPdh::CounterInstances(counter, buffer, characters);
        m_Store.Keep(start, [&]() -> Call {
            const Counter known = Known(counter);
            return call::CounterInstances{known.serial,
                                          known.path,
                                          before,
                                          *characters,
                                          buffer != nullptr ? std::u16string(buffer, before) : std::u16string{},
                                          status};
        });
        return status;
    }

    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                PdhCounterObject** counter) override
    {
        const auto start = Clock::now();
        const PdhStatus status = ForwardingPdh::AddEnglishCounter(query, path, userData, counter);
        m_Store.Keep(start, [&]() -> Call {
            const Serial owner = SerialOf(query);
            auto name = std::make_shared<const std::u16string>(TextOf(path));
            const Serial serial = status == platform::pdh::kOk ? m_Store.NewSerial() : 0;
            if (serial != 0) {
                m_Counters[*counter] = {serial, query, name};
            }
            return call::AddEnglishCounter{owner, std::move(name), serial, status};
        });
        return status;
    }

    PdhStatus CollectQueryData(PdhQueryObject* query) override
    {
        const auto start = Clock::now();
        const PdhStatus status = ForwardingPdh::CollectQueryData(query);
        m_Store.Keep(start, [&]() -> Call { return call::CollectQueryData{SerialOf(query), status}; });
        return status;
    }

    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, platform::PdhCounterValue* value) override
    {
        const auto start = Clock::now();
        const PdhStatus status = ForwardingPdh::FormattedValue(counter, format, value);
        m_Store.Keep(start, [&]() -> Call {
            const Counter known = Known(counter);
            return call::FormattedValue{known.serial, known.path, format, *value, status};
        });
        return status;
    }

    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override
    {
        const Serial serial = m_Store.Locked([&] {
            std::erase_if(m_Counters, [&](const auto& counter) { return counter.second.query == query; });
            const Serial known = SerialOf(query);
            m_Queries.erase(query);
            return known;
        });
        const auto start = Clock::now();
        const PdhStatus status = ForwardingPdh::CloseQuery(query);
        m_Store.Keep(start, [&]() -> Call { return call::CloseQuery{serial, status}; });
        return status;
    }

private:
    struct Counter {
        Serial serial = 0;
        const PdhQueryObject* query = nullptr;
        SharedText path;
    };

    [[nodiscard]] Serial SerialOf(PdhQueryObject* query) const
    {
        const auto found = m_Queries.find(query);
        return found != m_Queries.end() ? found->second : 0;
    }

    [[nodiscard]] Counter Known(PdhCounterObject* counter) const
    {
        const auto found = m_Counters.find(counter);
        return found != m_Counters.end() ? found->second : Counter{};
    }

    Store& m_Store;
    std::map<PdhQueryObject*, Serial> m_Queries;
    std::map<PdhCounterObject*, Counter> m_Counters;
};

class TimeJournal final : public platform::ForwardingTime {
public:
    TimeJournal(platform::Time& inner, Store& store) : ForwardingTime(inner), m_Store(store) {}

    std::chrono::system_clock::time_point UtcNow() override
    {
        const auto start = Clock::now();
        const auto now = ForwardingTime::UtcNow();
        m_Store.Keep(start, [&]() -> Call { return call::UtcNow{now}; });
        return now;
    }
    void Sleep(std::uint32_t milliseconds) override
    {
        const auto start = Clock::now();
        ForwardingTime::Sleep(milliseconds);
        m_Store.Keep(start, [&]() -> Call { return call::Sleep{milliseconds}; });
    }

private:
    Store& m_Store;
};

// A text of `length` characters, zero-terminated for -1; empty for any other negative length.
template <class Unit>
std::basic_string<Unit> Counted(const Unit* text, std::int32_t length)
{
    if (text == nullptr || length < -1) {
        return {};
    }
    return length == -1 ? std::basic_string<Unit>(text) : std::basic_string<Unit>(text, static_cast<std::size_t>(length));
}
// The output of a conversion; empty when it only computed the size, or failed.
template <class Unit>
std::basic_string<Unit> Written(const Unit* out, std::int32_t room, std::int32_t result)
{
    return Counted(out, std::clamp(result, 0, std::max(room, 0)));
}

class TextJournal final : public platform::ForwardingText {
public:
    TextJournal(platform::Text& inner, Store& store) : ForwardingText(inner), m_Store(store) {}

    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override
    {
        const auto start = Clock::now();
        const std::int32_t result = ForwardingText::WideToUtf8(text, characters, out, outBytes);
        m_Store.Keep(start, [&]() -> Call {
            return call::WideToUtf8{Counted(text, characters), characters, outBytes, Written(out, outBytes, result), result};
        });
        return result;
    }
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override
    {
        const auto start = Clock::now();
        const std::int32_t result = ForwardingText::DefaultToWide(text, bytes, out, outCharacters);
        m_Store.Keep(start, [&]() -> Call {
            return call::DefaultToWide{Counted(text, bytes), outCharacters, Written(out, outCharacters, result), result};
        });
        return result;
    }

private:
    Store& m_Store;
};

}  // namespace

std::unique_ptr<platform::Pdh> JournalPdh(platform::Pdh& inner, Store& store) { return std::make_unique<PdhJournal>(inner, store); }
std::unique_ptr<platform::Time> JournalTime(platform::Time& inner, Store& store)
{
    return std::make_unique<TimeJournal>(inner, store);
}
std::unique_ptr<platform::Text> JournalText(platform::Text& inner, Store& store)
{
    return std::make_unique<TextJournal>(inner, store);
}

}  // namespace orbis::insight
