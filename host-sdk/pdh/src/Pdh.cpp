#include "HostSdk/Pdh.h"

#include <fmt/format.h>

#include <algorithm>
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

// Owns an open query and the knowledge of the port that opened it; shared by the query and its counters.
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
        // A call that succeeds may bring no value, and one that fails may say no more than that there is none; why, the counter's
        // own status tells.
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

class Query final : public IPdhQuery {
public:
    explicit Query(std::shared_ptr<QueryHandle> query) : m_Query(std::move(query)) {}

    [[nodiscard]] std::vector<std::string> GetInstanceNames(const std::string& objectName) const override
    {
        const std::u16string object = port::Utf8ToUtf16(objectName);
        std::u16string buffer;
        // Instances may come between the two calls; a few rounds are enough on any machine that is not falling apart.
        constexpr int kRounds = 5;
        std::uint32_t characters = 0;
        port::PdhStatus status = port::pdh::kMoreData;
        for (int round = 0; round < kRounds && status == port::pdh::kMoreData; ++round) {
            buffer.assign(characters, u'\0');
            status = m_Query->Port().EnumInstances(object.c_str(), buffer.empty() ? nullptr : buffer.data(), &characters);
        }
        ThrowUnlessOk(status, "PdhEnumObjectItems", objectName);

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
    std::shared_ptr<QueryHandle> m_Query;
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
