#include "BorderResult.h"

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include "CommonCLI/NativeException.h"
#include "platform/Text.h"

namespace Veyra::Orbis::Plugins {

using namespace Sdk::Exceptions;

namespace {

constexpr OrbisText TextOf(std::string_view text) noexcept { return {text.data(), text.size()}; }

constexpr std::array<std::pair<std::string_view, std::int32_t>, 7> kKinds{{
    {ZelException::kTypeName, ORBIS_FAILURE_ZEL},
    {NotSupportedException::kTypeName, ORBIS_FAILURE_NOT_SUPPORTED},
    {OperationCanceledException::kTypeName, ORBIS_FAILURE_CANCELED},
    {NullReferenceException::kTypeName, ORBIS_FAILURE_NULL_REFERENCE},
    {ArgumentException::kTypeName, ORBIS_FAILURE_ARGUMENT},
    {ArgumentOutOfRangeException::kTypeName, ORBIS_FAILURE_ARGUMENT_OUT_OF_RANGE},
    {InvalidCallException::kTypeName, ORBIS_FAILURE_INVALID_CALL},
}};

std::int32_t KindOf(std::string_view typeName) noexcept
{
    const auto kind = std::ranges::find(kKinds, typeName, &std::pair<std::string_view, std::int32_t>::first);
    return kind != kKinds.end() ? kind->second : ORBIS_FAILURE_OTHER;
}

constexpr OrbisFailure kOutOfMemoryFailure{sizeof(OrbisFailure), ORBIS_FAILURE_OUT_OF_MEMORY, TextOf("System.OutOfMemoryException"),
                                           TextOf("The plug-in has not enough memory to answer."), nullptr};
constexpr OrbisResult kOutOfMemory{sizeof(OrbisResult), 0, &kOutOfMemoryFailure, nullptr, 0, sizeof(OrbisItem)};

}  // namespace

BorderResult::BorderResult() noexcept : OrbisResult{sizeof(OrbisResult), 0, nullptr, nullptr, 0, sizeof(OrbisItem)} {}

void BorderResult::SetCount(std::size_t count)
{
    hasList = 1;
    m_StoredItems.reserve(count);
    m_Items.reserve(count);
}

void BorderResult::Append(StoredItem item, bool hasMessage, Common::CollectionTime time)
{
    using std::chrono::nanoseconds;
    const StoredItem& stored = m_StoredItems.emplace_back(std::move(item));
    m_Items.push_back({hasMessage ? 1 : 0, TextOf(stored.itemId),
                       std::chrono::duration_cast<nanoseconds>(time.time_since_epoch()).count(), TextOf(stored.message)});
    items = m_Items.data();
    itemCount = m_Items.size();
}

void BorderResult::AppendFailure(std::int32_t kind, std::string typeName, std::string message)
{
    StoredFailure& stored = m_Failures.emplace_back(StoredFailure{std::move(typeName), std::move(message), {}});
    stored.record = {sizeof(OrbisFailure), kind, TextOf(stored.typeName), TextOf(stored.message), nullptr};
    if (m_Failures.size() == 1) {
        failure = &stored.record;
    } else {
        std::prev(m_Failures.end(), 2)->record.inner = &stored.record;
    }
}

std::unique_ptr<BorderResult> BorderResult::OfFailure(std::int32_t kind, std::string typeName, std::string message)
{
    auto result = std::make_unique<BorderResult>();
    result->AppendFailure(kind, std::move(typeName), std::move(message));
    return result;
}

std::unique_ptr<BorderResult> BorderResult::OfFailure(const HostException& exception)
{
    auto result = std::make_unique<BorderResult>();
    for (const HostException* link = &exception; link != nullptr; link = link->InnerException().get()) {
        result->AppendFailure(KindOf(link->TypeName()), std::string(link->TypeName()), orbis::platform::ValidUtf8(link->Message()));
    }
    return result;
}

const OrbisResult* BorderResult::OfCurrentException() noexcept
{
    try {
        try {
            throw;
        } catch (const HostException& exception) {
            return OfFailure(exception).release();
        } catch (const std::bad_alloc&) {
            return &kOutOfMemory;
        } catch (const std::exception& exception) {
            return OfFailure(ORBIS_FAILURE_NATIVE, Cpp::Common::TypeNameOf(exception), Cpp::Common::DescriptionOf(exception))
                .release();
        } catch (...) {
            return OfFailure(ORBIS_FAILURE_UNKNOWN, "unknown", "Unknown exception").release();
        }
    } catch (...) {
        return &kOutOfMemory;
    }
}

void BorderResult::Free(const OrbisResult* result) noexcept
{
    if (result != &kOutOfMemory) {
        delete static_cast<const BorderResult*>(result);
    }
}

}  // namespace Veyra::Orbis::Plugins
