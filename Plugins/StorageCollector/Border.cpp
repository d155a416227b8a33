// The C border of the plug-in: its registration, and a thin adapter to StorageCollectorPlugin. No exception leaves this file.
#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "BorderResult.h"
#include "HostBorder/orbis_border.h"
#include "StorageCollectorPlugin.h"
#include "platform/Text.h"

// The plug-in object of a host.
struct OrbisPlugin {
    Veyra::Orbis::Plugins::StorageCollectorPlugin collector{nullptr};
};

namespace Veyra::Orbis::Plugins {

using Common::CancellationToken;
using Common::IZelLog;
using Common::Utilities::BaseClasses::LoggerFactoryScope;
using Sdk::Common::Identifiers::ItemId;

namespace {

constexpr OrbisText TextOf(std::string_view text) noexcept { return {text.data(), text.size()}; }

// Passes log lines to the host's function. A line is dropped when memory is exhausted or the host's function throws; the collection
// continues.
class BorderLog final : public IZelLog {
public:
    BorderLog(const OrbisHost& host, std::string_view logId) : m_Log(host.log), m_Context(host.logContext), m_LogId(logId) {}

    IZelLog& Error(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Write(ORBIS_LOG_ERROR, message, line, file, function);
    }
    IZelLog& Error(const Sdk::Exceptions::HostException& exception, std::int32_t line, std::string_view file,
                   std::string_view function) override
    {
        return Write(ORBIS_LOG_ERROR, exception.ToString(), line, file, function);
    }
    IZelLog& Warning(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Write(ORBIS_LOG_WARNING, message, line, file, function);
    }
    IZelLog& Debug(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Write(ORBIS_LOG_DEBUG, message, line, file, function);
    }
    IZelLog& Trace(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Write(ORBIS_LOG_TRACE, message, line, file, function);
    }

private:
    IZelLog& Write(std::int32_t level, std::string_view message, std::int32_t line, std::string_view file,
                   std::string_view function) noexcept
    {
        try {
            // Trace lines contain unchanged bytes of devices, but a host gets valid UTF-8.
            const std::string text = orbis::platform::ValidUtf8(message);
            const OrbisLogLine record{sizeof(OrbisLogLine), level, TextOf(m_LogId), TextOf(text), TextOf(file),
                                      TextOf(function),     line};
            m_Log(m_Context, &record);
        } catch (...) {
        }
        return *this;
    }

    decltype(OrbisHost::log) m_Log;
    void* m_Context;
    std::string m_LogId;
};

// ---- Operations ----

using RunFunction = std::unique_ptr<BorderResult> (*)(StorageCollectorPlugin&, const ItemId&, const CancellationToken*);

template <auto operation>
std::unique_ptr<BorderResult> Run(StorageCollectorPlugin& collector, const ItemId& itemId, const CancellationToken* token)
{
    return BorderResult::Of((collector.*operation)(itemId, token));
}

struct OperationRow {
    std::string_view name;
    std::string_view datatype;
    std::string_view description;
    RunFunction run;
};

constexpr std::array<OperationRow, 6> kRows{{
    {"CollectPhysicalDiskDynamicInfo", "veyra.orbis.datatypes.PhysicalDiskDynamicInfo",
     "Activity of each disk from performance counters: idle, read and write time, throughput, latency, volume",
     Run<&StorageCollectorPlugin::CollectPhysicalDiskDynamicInfo>},
    {"CollectPhysicalDiskStaticInfo", "veyra.orbis.datatypes.PhysicalDiskStaticInfo",
     "Identity, size, media and partitions of each disk", Run<&StorageCollectorPlugin::CollectPhysicalDiskStaticInfo>},
    {"CollectSmartDynamicInfo", "veyra.orbis.datatypes.SmartDynamicInfo", "ATA SMART attributes of each disk",
     Run<&StorageCollectorPlugin::CollectSmartDynamicInfo>},
    {"CollectSmartNvmeInfo", "veyra.orbis.datatypes.SmartNvmeInfo",
     "NVMe SMART / Health Information and the maker's health log of each drive",
     Run<&StorageCollectorPlugin::CollectSmartNvmeInfo>},
    {"CollectSmartStaticInfo", "veyra.orbis.datatypes.SmartStaticInfo", "Identity of each disk that reports ATA SMART",
     Run<&StorageCollectorPlugin::CollectSmartStaticInfo>},
    {"CollectNvmeIdentifyControllerData", "veyra.orbis.datatypes.NvmeIdentifyControllerData",
     "NVMe Identify Controller data structure of each drive", Run<&StorageCollectorPlugin::CollectNvmeIdentifyControllerData>},
}};

constexpr std::array<OrbisOperation, kRows.size()> kOperations = [] {
    std::array<OrbisOperation, kRows.size()> operations{};
    std::ranges::transform(kRows, operations.begin(), [](const OperationRow& row) {
        return OrbisOperation{TextOf(row.name), TextOf(row.datatype), TextOf(row.description)};
    });
    return operations;
}();

// ---- Checks of the host's arguments ----

// Sizes of the structures in the border's first version. Later hosts may pass longer ones.
constexpr std::size_t kHostSize = offsetof(OrbisHost, logContext) + sizeof(OrbisHost::logContext);
constexpr std::size_t kCancellationSize = offsetof(OrbisCancellation, context) + sizeof(OrbisCancellation::context);

void Require(bool condition, const char* message)
{
    if (!condition) {
        throw InvalidCallException(message);
    }
}

ItemId ItemIdOf(const OrbisText* itemId)
{
    if (itemId == nullptr) {
        return ItemId::All();
    }
    Require(itemId->data != nullptr || itemId->length == 0, "The item id has a length but no text.");
    std::string text = itemId->length != 0 ? std::string(itemId->data, itemId->length) : std::string();
    Require(orbis::platform::ValidUtf8(text) == text, "The item id is not valid UTF-8.");
    return ItemId(std::move(text));
}

std::optional<CancellationToken> TokenOf(const OrbisCancellation* cancellation)
{
    if (cancellation == nullptr) {
        return std::nullopt;
    }
    Require(cancellation->structSize >= kCancellationSize, "OrbisCancellation is too short: set structSize to its size.");
    Require(cancellation->isCancellationRequested != nullptr, "OrbisCancellation has no function.");
    return CancellationToken(
        [ask = cancellation->isCancellationRequested, context = cancellation->context] { return ask(context) != 0; });
}

// ---- The functions of the table ----

const OrbisResult* ORBIS_CALL Create(const OrbisHost* host, OrbisPlugin** plugin) noexcept
{
    try {
        Require(plugin != nullptr, "There is no place for the plug-in object.");
        *plugin = nullptr;
        Require(host == nullptr || host->structSize >= kHostSize, "OrbisHost is too short: set structSize to its size.");
        auto result = std::make_unique<BorderResult>();
        const LoggerFactoryScope scope([host](std::string_view logId) -> std::shared_ptr<IZelLog> {
            return host != nullptr && host->log != nullptr ? std::make_shared<BorderLog>(*host, logId) : nullptr;
        });
        *plugin = std::make_unique<OrbisPlugin>().release();
        return result.release();
    } catch (...) {
        return BorderResult::OfCurrentException();
    }
}

const OrbisResult* ORBIS_CALL Collect(OrbisPlugin* plugin, std::size_t operation, const OrbisText* itemId,
                                      const OrbisCancellation* cancellation) noexcept
{
    try {
        Require(plugin != nullptr, "There is no plug-in object.");
        Require(operation < kRows.size(), "There is no operation with this index.");
        const ItemId id = ItemIdOf(itemId);
        const std::optional<CancellationToken> token = TokenOf(cancellation);
        return kRows[operation].run(plugin->collector, id, token ? &*token : nullptr).release();
    } catch (...) {
        return BorderResult::OfCurrentException();
    }
}

void ORBIS_CALL Free(const OrbisResult* result) noexcept { BorderResult::Free(result); }

void ORBIS_CALL Destroy(OrbisPlugin* plugin) noexcept { delete plugin; }

constexpr OrbisRegistration kRegistration{
    .structSize = sizeof(OrbisRegistration),
    .version = ORBIS_BORDER_VERSION,
    .id = TextOf(StorageCollectorPlugin::Id),
    .name = TextOf(StorageCollectorPlugin::Name),
    .description = TextOf(StorageCollectorPlugin::Description),
    .logId = TextOf(StorageCollectorPlugin::LogId),
    .operations = kOperations.data(),
    .operationCount = kOperations.size(),
    .operationSize = sizeof(OrbisOperation),
    .create = &Create,
    .collect = &Collect,
    .free = &Free,
    .destroy = &Destroy,
};

}  // namespace
}  // namespace Veyra::Orbis::Plugins

const OrbisRegistration* ORBIS_CALL OrbisPluginRegistration(void) { return &Veyra::Orbis::Plugins::kRegistration; }
