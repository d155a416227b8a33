#include <chrono>
#include <utility>

#include "HostBorder/PluginHost.h"
#include "TextOf.h"

namespace orbis::border {

using namespace Veyra::Orbis::Sdk::Exceptions;

// The receiver of one plug-in object's log lines; its address is the context of the border's log function.
struct PluginObject::LogSink {
    std::shared_ptr<common::IZelLog> log;

    static void ORBIS_CALL Write(void* context, const OrbisLogLine* line) noexcept
    {
        try {
            common::IZelLog& log = *static_cast<LogSink*>(context)->log;
            const auto message = TextOf(line->message);
            const auto file = TextOf(line->file);
            const auto function = TextOf(line->function);
            switch (line->level) {
                case ORBIS_LOG_ERROR:
                    log.Error(message, line->line, file, function);
                    break;
                case ORBIS_LOG_WARNING:
                    log.Warning(message, line->line, file, function);
                    break;
                case ORBIS_LOG_DEBUG:
                    log.Debug(message, line->line, file, function);
                    break;
                default:
                    log.Trace(message, line->line, file, function);
                    break;
            }
        } catch (...) {
            // A line that cannot be written is lost; nothing may be thrown into the plug-in.
        }
    }
};

namespace {

std::int32_t ORBIS_CALL IsCancellationRequested(void* context) noexcept
{
    try {
        return static_cast<const common::CancellationToken*>(context)->IsCancellationRequested() ? 1 : 0;
    } catch (...) {
        return 0;  // A token that throws counts as not cancelled: no exception may enter the plug-in.
    }
}

// Frees a plug-in's answer.
struct FreeResult {
    const OrbisRegistration* registration;
    void operator()(const OrbisResult* result) const noexcept { registration->free(result); }
};
using Result = std::unique_ptr<const OrbisResult, FreeResult>;

std::shared_ptr<const HostException> ExceptionOf(const OrbisFailure* failure)
{
    if (failure == nullptr) {
        return nullptr;
    }
    auto inner = ExceptionOf(failure->inner);
    std::string message(TextOf(failure->message));
    switch (failure->kind) {
        case ORBIS_FAILURE_ZEL:
            return std::make_shared<ZelException>(std::move(message), std::move(inner));
        case ORBIS_FAILURE_NOT_SUPPORTED:
            return std::make_shared<NotSupportedException>(std::move(message), std::move(inner));
        case ORBIS_FAILURE_CANCELED:
            return std::make_shared<OperationCanceledException>(std::move(message), std::move(inner));
        case ORBIS_FAILURE_NULL_REFERENCE:
            return std::make_shared<NullReferenceException>(std::move(message), std::move(inner));
        case ORBIS_FAILURE_ARGUMENT:
            return std::make_shared<ArgumentException>(std::move(message), std::move(inner));
        case ORBIS_FAILURE_ARGUMENT_OUT_OF_RANGE:
            return std::make_shared<ArgumentOutOfRangeException>(std::move(message), std::move(inner));
        default:
            return std::make_shared<PluginFailure>(failure->kind, std::string(TextOf(failure->typeName)), std::move(message),
                                                   std::move(inner));
    }
}

// Throws the exception that the failure describes.
void ThrowIfFailed(const OrbisResult& result)
{
    if (const auto exception = ExceptionOf(result.failure)) {
        exception->Raise();
    }
}

SerializedItem ItemOf(const OrbisItem& item)
{
    const auto time = std::chrono::duration_cast<common::CollectionTime::duration>(std::chrono::nanoseconds(item.collectionTime));
    SerializedItem result{std::nullopt, ItemId(std::string(TextOf(item.itemId))), common::CollectionTime(time)};
    if (item.hasMessage != 0) {
        result.message = TextOf(item.message);
    }
    return result;
}

}  // namespace

PluginObject::PluginObject(const OrbisRegistration& registration, std::shared_ptr<common::IZelLog> log)
    : m_Registration(&registration)
{
    OrbisHost host{sizeof(OrbisHost), nullptr, nullptr};
    if (log != nullptr) {
        m_LogSink = std::make_unique<LogSink>(LogSink{std::move(log)});
        host.log = &LogSink::Write;
        host.logContext = m_LogSink.get();
    }
    const Result result(registration.create(&host, &m_Plugin), FreeResult{m_Registration});
    ThrowIfFailed(*result);
}

PluginObject::PluginObject(PluginObject&& other) noexcept
    : m_Registration(other.m_Registration), m_LogSink(std::move(other.m_LogSink)), m_Plugin(std::exchange(other.m_Plugin, nullptr))
{}

PluginObject& PluginObject::operator=(PluginObject&& other) noexcept
{
    std::swap(m_Registration, other.m_Registration);
    std::swap(m_LogSink, other.m_LogSink);
    std::swap(m_Plugin, other.m_Plugin);
    return *this;
}

PluginObject::~PluginObject() { m_Registration->destroy(m_Plugin); }

std::optional<std::vector<SerializedItem>> PluginObject::Collect(std::size_t operation, const ItemId& itemId,
                                                                 const common::CancellationToken* cancellationToken)
{
    const OrbisText id{itemId.ToString().data(), itemId.ToString().size()};
    // The border passes the context back unchanged; nothing is written through it.
    const OrbisCancellation cancellation{sizeof(OrbisCancellation), &IsCancellationRequested,
                                         const_cast<common::CancellationToken*>(cancellationToken)};
    const Result result(m_Registration->collect(m_Plugin, operation, itemId.IsAll() ? nullptr : &id,
                                                cancellationToken != nullptr ? &cancellation : nullptr),
                        FreeResult{m_Registration});
    ThrowIfFailed(*result);
    if (result->hasList == 0) {
        return std::nullopt;
    }
    std::vector<SerializedItem> items;
    items.reserve(result->itemCount);
    for (std::size_t index = 0; index < result->itemCount; ++index) {
        items.push_back(ItemOf(ElementOf(result->items, result->itemSize, index)));
    }
    return items;
}

std::size_t PluginObject::IndexOf(std::string_view datatype) const
{
    for (std::size_t index = 0; index < m_Registration->operationCount; ++index) {
        if (TextOf(ElementOf(m_Registration->operations, m_Registration->operationSize, index).datatype) == datatype) {
            return index;
        }
    }
    throw PluginFailure(ORBIS_FAILURE_INVALID_CALL, "System.ArgumentException",
                        "the plug-in does not collect " + std::string(datatype));
}

void PluginObject::ThrowMalformed(const std::string& datatype)
{
    throw PluginFailure(ORBIS_FAILURE_OTHER, "System.Exception", "the plug-in returned a malformed " + datatype);
}

}  // namespace orbis::border
