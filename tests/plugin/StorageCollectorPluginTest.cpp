// Construction of the plug-in and the way from its six operations to their retrievers.
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "HostSdk/BaseCollectorPlugin.h"
#include "MachineInForce.h"
#include "RecordingLog.h"
#include "StorageCollectorPlugin.h"

namespace Veyra::Orbis::Plugins {
namespace {

using namespace Sdk::Exceptions;
using Common::CancellationToken;
using Common::CollectionList;
using Common::IZelLog;
using Common::Utilities::BaseClasses::LoggerFactoryScope;
using orbis::fakes::LogLine;
using orbis::fakes::RecordingLog;
using Sdk::Common::Identifiers::ItemId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Answers nothing: no list.
template <class T>
class Retriever final : public IStorageRetriever<T> {
public:
    explicit Retriever(std::vector<std::string>& asked) : m_Asked(asked) {}
    CollectionList<T> CollectData(const ItemId& itemId) override
    {
        m_Asked.push_back(T().GetTypeName().substr(std::string("veyra.orbis.datatypes.").size()) + " " + itemId.ToString());
        return std::nullopt;
    }

private:
    std::vector<std::string>& m_Asked;
};

class StorageCollectorPluginTest : public ::testing::Test {
protected:
    StorageCollectorPluginTest()
    {
        Make(m_Factories.physicalDiskDynamicInfo, "dynamic");
        Make(m_Factories.physicalDiskStaticInfo, "static");
        Make(m_Factories.smartDynamicInfo, "SMART dynamic");
        Make(m_Factories.smartNvmeInfo, "NVMe");
        Make(m_Factories.smartStaticInfo, "SMART static");
        Make(m_Factories.nvmeIdentifyControllerData, "Identify");
    }

    std::unique_ptr<StorageCollectorPlugin> Construct()
    {
        const LoggerFactoryScope scope([this](std::string_view logId) {
            m_LogIds.emplace_back(logId);
            return m_Log;
        });
        return std::make_unique<StorageCollectorPlugin>(nullptr, m_Factories);
    }

    orbis::fakes::MachineInForce m_Machine{""};  // for its code page
    std::shared_ptr<RecordingLog> m_Log = std::make_shared<RecordingLog>();
    RetrieverFactories m_Factories;
    std::vector<std::string> m_LogIds;
    std::vector<std::string> m_Made;   // retrievers, in the order of their making
    std::vector<std::string> m_Asked;  // datatype and id of each collection

private:
    template <class T>
    void Make(RetrieverFactories::Factory<T>& factory, const char* name)
    {
        factory = [this, name](const std::shared_ptr<IZelLog>& log) {
            EXPECT_EQ(log, m_Log);
            m_Made.emplace_back(name);
            return std::make_unique<Retriever<T>>(m_Asked);
        };
    }
};

LogLine Line(std::string message)
{
    return {"Error", std::move(message), R"(Plugins\StorageCollector\StorageCollectorPlugin)",
            "Veyra::Orbis::Plugins::StorageCollectorPlugin::StorageCollectorPlugin"};
}

TEST_F(StorageCollectorPluginTest, MakesItsLoggerAndThenItsRetrieversInOrder)
{
    const auto plugin = Construct();
    EXPECT_THAT(m_LogIds, ElementsAre("StrgColl"));
    EXPECT_THAT(m_Made, ElementsAre("dynamic", "static", "SMART dynamic", "NVMe", "SMART static", "Identify"));
    EXPECT_THAT(m_Log->lines, IsEmpty());
}

TEST_F(StorageCollectorPluginTest, OneFailingConstructorLeavesTheOthersWorking)
{
    m_Factories.physicalDiskDynamicInfo =
        [](const auto&) -> std::unique_ptr<IStorageRetriever<datatypes::PhysicalDiskDynamicInfo>> {
        throw ArgumentException("no counters", std::make_shared<NotSupportedException>("disabled"));
    };
    const auto plugin = Construct();
    EXPECT_THAT(m_Log->lines,
                ElementsAre(Line("System.ArgumentException: no counters ---> System.NotSupportedException: disabled")));
    EXPECT_THAT(m_Made, ElementsAre("static", "SMART dynamic", "NVMe", "SMART static", "Identify"));

    m_Log->lines.clear();
    plugin->CollectPhysicalDiskStaticInfo(ItemId::All());
    plugin->CollectSmartDynamicInfo(ItemId::All());
    plugin->CollectSmartNvmeInfo(ItemId::All());
    plugin->CollectSmartStaticInfo(ItemId::All());
    plugin->CollectNvmeIdentifyControllerData(ItemId::All());
    EXPECT_EQ(m_Asked.size(), 5U);
    EXPECT_THROW(plugin->CollectPhysicalDiskDynamicInfo(ItemId::All()), NullReferenceException);
    EXPECT_THAT(m_Log->lines, IsEmpty());
}

TEST_F(StorageCollectorPluginTest, WhateverAConstructorThrowsIsLoggedWhole)
{
    m_Factories.smartNvmeInfo = [](const auto&) -> std::unique_ptr<IStorageRetriever<datatypes::SmartNvmeInfo>> {
        throw std::runtime_error("drive \xFF");
    };
    m_Factories.smartStaticInfo = [](const auto&) -> std::unique_ptr<IStorageRetriever<datatypes::SmartStaticInfo>> { throw 42; };
    Construct();
    EXPECT_THAT(m_Log->lines, ElementsAre(Line("std::runtime_error: drive \uFFFD"), Line("Unknown exception")));
}

TEST_F(StorageCollectorPluginTest, AnEmptyFieldFailsRawBeforeCancellationIsLookedAt)
{
    m_Factories.smartNvmeInfo = nullptr;
    const auto plugin = Construct();
    const CancellationToken cancelled([] { return true; });
    EXPECT_THROW(plugin->CollectSmartNvmeInfo(ItemId::All(), &cancelled), NullReferenceException);
    EXPECT_THROW(plugin->CollectSmartStaticInfo(ItemId::All(), &cancelled), OperationCanceledException);
    EXPECT_THAT(m_Asked, IsEmpty());
    EXPECT_THAT(m_Log->lines, IsEmpty());
}

TEST_F(StorageCollectorPluginTest, NotSupportedIsWrappedForEveryDatatype)
{
    class Refusing final : public IStorageRetriever<datatypes::SmartDynamicInfo> {
        CollectionList<datatypes::SmartDynamicInfo> CollectData(const ItemId&) override { throw NotSupportedException("no SMART"); }
    };
    m_Factories.smartDynamicInfo = [](const auto&) { return std::make_unique<Refusing>(); };
    const auto plugin = Construct();
    EXPECT_THROW(plugin->CollectSmartDynamicInfo(ItemId::All()), ZelException);
    ASSERT_EQ(m_Log->lines.size(), 1U);
    EXPECT_EQ(m_Log->lines[0].level, "Trace");
}

TEST_F(StorageCollectorPluginTest, IsConstructedWithoutALogToo)
{
    m_Log = nullptr;
    m_Factories = {};
    m_Factories.smartNvmeInfo = [](const auto& log) -> std::unique_ptr<IStorageRetriever<datatypes::SmartNvmeInfo>> {
        EXPECT_NE(log, nullptr);
        throw 42;
    };
    EXPECT_THROW(Construct()->CollectSmartNvmeInfo(ItemId::All()), NullReferenceException);
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
