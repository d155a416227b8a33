#include "ScriptedRetrievers.h"

#include <map>
#include <new>
#include <stdexcept>
#include <string>

#include "HostSdk/Exceptions.h"
#include "RetrieverFactories.h"

namespace orbis::border::scripted {

int g_Asked = 0;

}  // namespace orbis::border::scripted

namespace Veyra::Orbis::Plugins {
namespace {

using namespace std::string_literals;
using namespace Sdk::Exceptions;
using Common::CollectionDatatypeItem;
using Common::CollectionList;
using Common::IZelLog;
using Sdk::Common::Identifiers::ItemId;

[[noreturn]] void Throw(const std::string& what)
{
    if (what == "native") {
        throw std::runtime_error("a native failure");
    }
    if (what == "zel") {
        throw ZelException("outer", std::make_shared<ArgumentException>("middle", std::make_shared<HostException>("inner \xFF"s)));
    }
    if (what == "not supported") {
        throw NotSupportedException("no such feature");
    }
    if (what == "int") {
        throw 42;
    }
    if (what == "no memory") {
        throw std::bad_alloc();
    }
    throw ArgumentOutOfRangeException("cannot find data with specific ID: " + what);
}

void LogEverything(IZelLog& log)
{
    log.Error("error \0 {0}"s, 1, "File", "Function");
    log.Error(ArgumentException("whole", std::make_shared<HostException>("inner")), 2, "File", "Function");
    log.Warning("warning", 3, "File", "Function");
    log.Debug("", 4, "File", "Function");
    log.Trace("bytes \xC3\x28", 5, "File", "Function");
}

datatypes::SmartNvmeInfo Message()
{
    datatypes::SmartNvmeInfo message;
    message.mutable_health_info()->mutable_available_spare()->set_value(97);
    return message;
}

class ScriptedSmartNvmeInfoRetriever final : public IStorageRetriever<datatypes::SmartNvmeInfo> {
public:
    explicit ScriptedSmartNvmeInfoRetriever(std::shared_ptr<IZelLog> log) : m_Log(std::move(log)) {}

    CollectionList<datatypes::SmartNvmeInfo> CollectData(const ItemId& itemId) override
    {
        ++orbis::border::scripted::g_Asked;
        if (itemId.IsAll()) {
            return {{Item("first", std::make_shared<datatypes::SmartNvmeInfo>(Message())),
                     Item("empty message", std::make_shared<datatypes::SmartNvmeInfo>()), Item("no message", nullptr)}};
        }
        const std::string& what = itemId.ToString();
        if (what == "no list") {
            return std::nullopt;
        }
        if (what == "empty list") {
            return CollectionList<datatypes::SmartNvmeInfo>(std::in_place);
        }
        if (what == "log") {
            LogEverything(*m_Log);
            return std::nullopt;
        }
        if (what.starts_with("echo")) {
            return {{Item(what, nullptr)}};
        }
        Throw(what);
    }

private:
    static CollectionDatatypeItem<datatypes::SmartNvmeInfo> Item(std::string id,
                                                                 std::shared_ptr<const datatypes::SmartNvmeInfo> message)
    {
        return {std::move(message), ItemId(std::move(id)), orbis::border::scripted::kTime};
    }

    std::shared_ptr<IZelLog> m_Log;
};

}  // namespace

RetrieverFactories RetrieverFactories::Default()
{
    RetrieverFactories own;
    own.physicalDiskDynamicInfo = [](const auto&) -> std::unique_ptr<IStorageRetriever<datatypes::PhysicalDiskDynamicInfo>> {
        throw NotSupportedException("no counters");
    };
    own.smartNvmeInfo = [](const auto& log) { return std::make_unique<ScriptedSmartNvmeInfoRetriever>(log); };
    return own;
}

}  // namespace Veyra::Orbis::Plugins
