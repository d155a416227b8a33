#include "HostSdk/Pdh.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/Pdh.h"
#include "platform/Text.h"

namespace Veyra::Orbis::Common::Utilities {
namespace {

namespace port = orbis::platform;

void ThrowUnlessOk(port::PdhStatus status, std::string_view call, std::string_view subject)
{
    if (status != port::pdh::kOk) {
        throw PdhException(fmt::format("{} failed for {}: PDH status 0x{:08X}", call, subject, status), status);
    }
}

// Owns an open query, with the port that opened it; shared by the query and its counters.
class QueryHandle {
public:
    QueryHandle(port::Pdh& pdh, port::PdhQueryObject* query) noexcept : m_Pdh(pdh), m_Query(query) {}
    QueryHandle(const QueryHandle&) = delete;
    QueryHandle& operator=(const QueryHandle&) = delete;
    ~QueryHandle() { m_Pdh.CloseQuery(m_Query); }

    [[nodiscard]] port::Pdh& Port() const noexcept { return m_Pdh; }
    [[nodiscard]] port::PdhQueryObject* Get() const noexcept { return m_Query; }

private:
    port::Pdh& m_Pdh;
    port::PdhQueryObject* m_Query;
};

class Counter final : public IPdhCounter {
public:
    Counter(std::shared_ptr<QueryHandle> query, port::PdhCounterObject* counter, std::string path)
        : m_Query(std::move(query)), m_Counter(counter), m_Path(std::move(path))
    {}

protected:
    [[nodiscard]] double ReadDouble() const override
    {
        port::PdhCounterValue value;
        port::PdhStatus status =
            m_Query->Port().FormattedValue(m_Counter, port::pdh::kFormatDouble | port::pdh::kFormatNoCap100, &value);
        // A call may succeed without a value, or fail only because there is none. The counter's own status is the reason.
        const bool isValid = value.status == port::pdh::kValidData || value.status == port::pdh::kNewData;
        if (!isValid && (status == port::pdh::kOk || status == port::pdh::kNotValidYet)) {
            status = value.status;
        }
        ThrowUnlessOk(status, "PdhGetFormattedCounterValue", m_Path);
        return value.value;
    }

private:
    std::shared_ptr<QueryHandle> m_Query;
    port::PdhCounterObject* m_Counter;  // removed with its query
    std::string m_Path;
};

// Objects whose instances are listed through a counter of every instance, and that counter. To enumerate them, PDH would load the
// counter libraries of every product on the machine and rebuild its list of objects; the library of one counter is loaded anyway.
struct Listed {
    std::string_view object;
    const char16_t* path;
};
constexpr Listed kListed[] = {{"PhysicalDisk", uR"(\PhysicalDisk(*)\% Idle Time)"}};

// A list of names, read again with a larger buffer until it fits, a few times at most, because instances may be added between two
// calls. Empty with a status other than kOk.
std::u16string Names(port::PdhStatus& status, const auto& list)
{
    constexpr int kRounds = 5;
    std::u16string buffer;
    std::uint32_t characters = 0;
    status = port::pdh::kMoreData;
    for (int round = 0; round < kRounds && status == port::pdh::kMoreData; ++round) {
        buffer.assign(characters, u'\0');
        status = list(buffer.empty() ? nullptr : buffer.data(), &characters);
    }
    return buffer;
}

// The instances of one object in a query of its own, so that listing them samples no other counters.
class InstanceQuery {
public:
    // Empty when PDH refuses it.
    [[nodiscard]] static std::unique_ptr<InstanceQuery> Open(port::Pdh& pdh, const char16_t* path)
    {
        port::PdhQueryObject* opened = nullptr;
        if (pdh.OpenQuery(nullptr, 0, &opened) != port::pdh::kOk) {
            return nullptr;
        }
        auto query = std::make_unique<InstanceQuery>(pdh, opened);
        return pdh.AddEnglishCounter(opened, path, 0, &query->m_Counter) == port::pdh::kOk ? std::move(query) : nullptr;
    }

    InstanceQuery(port::Pdh& pdh, port::PdhQueryObject* query) noexcept : m_Query(pdh, query) {}

    [[nodiscard]] std::optional<std::u16string> List()
    {
        port::PdhStatus status = m_Query.Port().CollectQueryData(m_Query.Get());
        if (status != port::pdh::kOk) {
            return std::nullopt;
        }
        std::u16string names = Names(status, [&](char16_t* buffer, std::uint32_t* characters) {
            return m_Query.Port().CounterInstances(m_Counter, buffer, characters);
        });
        return status == port::pdh::kOk ? std::optional(std::move(names)) : std::nullopt;
    }

private:
    QueryHandle m_Query;
    port::PdhCounterObject* m_Counter = nullptr;
};

class Query final : public IPdhQuery {
public:
    explicit Query(std::shared_ptr<QueryHandle> query) : m_Query(std::move(query)) {}

    [[nodiscard]] std::vector<std::string> GetInstanceNames(const std::string& objectName) const override
    {
        std::optional<std::u16string> listed = InstancesOfCounter(objectName);
        const std::u16string buffer = listed ? std::move(*listed) : EnumeratedInstances(objectName);
        std::vector<std::string> names;
        for (std::size_t at = 0; at < buffer.size() && buffer[at] != u'\0';) {
            const std::size_t end = std::min(buffer.find(u'\0', at), buffer.size());
            names.push_back(port::Utf16ToUtf8(std::u16string_view(buffer).substr(at, end - at)));
            at = end + 1;
        }
        return names;
    }

    [[nodiscard]] std::shared_ptr<IPdhCounter> CreateCounter(const std::string& objectName, const std::string& counterName,
                                                             const std::string& instanceName) override
    {
        std::string path = fmt::format(R"(\{}({})\{})", objectName, instanceName, counterName);
        port::PdhCounterObject* counter = nullptr;
        ThrowUnlessOk(m_Query->Port().AddEnglishCounter(m_Query->Get(), port::Utf8ToUtf16(path).c_str(), 0, &counter),
                      "PdhAddEnglishCounter", path);
        return std::make_shared<Counter>(m_Query, counter, std::move(path));
    }

    void CollectData() override
    {
        ThrowUnlessOk(m_Query->Port().CollectQueryData(m_Query->Get()), "PdhCollectQueryData", "the query");
    }

private:
    // Empty when the object is not listed in this way, or PDH fails.
    [[nodiscard]] std::optional<std::u16string> InstancesOfCounter(const std::string& objectName) const
    {
        const auto* listed = std::ranges::find(kListed, objectName, &Listed::object);
        if (listed == std::end(kListed)) {
            return std::nullopt;
        }
        if (m_Instances == nullptr) {
            m_Instances = InstanceQuery::Open(m_Query->Port(), listed->path);
        }
        std::optional<std::u16string> names = m_Instances != nullptr ? m_Instances->List() : std::nullopt;
        if (!names) {
            m_Instances.reset();
        }
        return names;
    }

    [[nodiscard]] std::u16string EnumeratedInstances(const std::string& objectName) const
    {
        const std::u16string object = port::Utf8ToUtf16(objectName);
        port::PdhStatus status = port::pdh::kOk;
        std::u16string names = Names(status, [&](char16_t* buffer, std::uint32_t* characters) {
            return m_Query->Port().EnumInstances(object.c_str(), buffer, characters);
        });
        ThrowUnlessOk(status, "PdhEnumObjectItems", objectName);
        return names;
    }

    std::shared_ptr<QueryHandle> m_Query;
    mutable std::unique_ptr<InstanceQuery> m_Instances;  // of the only object in kListed
};

}  // namespace

std::shared_ptr<IPdhQuery> PdhQuery::OpenQuery(const std::optional<std::string>& dataSource, std::uintptr_t userData)
{
    port::Pdh& pdh = port::Pdh::Current();
    const std::u16string source = port::Utf8ToUtf16(dataSource.value_or(""));
    port::PdhQueryObject* query = nullptr;
    ThrowUnlessOk(pdh.OpenQuery(dataSource ? source.c_str() : nullptr, userData, &query), "PdhOpenQuery",
                  dataSource.value_or("live counters"));
    return std::make_shared<Query>(std::make_shared<QueryHandle>(pdh, query));
}

}  // namespace Veyra::Orbis::Common::Utilities
