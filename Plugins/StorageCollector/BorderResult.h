#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "HostBorder/orbis_border.h"
#include "HostSdk/CollectionDatatypeItem.h"
#include "HostSdk/Exceptions.h"

namespace Veyra::Orbis::Plugins {

// Raised for arguments that the border does not allow.
class InvalidCallException final : public Sdk::Exceptions::Detail::HostExceptionOf<InvalidCallException> {
public:
    static constexpr std::string_view kTypeName = "System.InvalidOperationException";
    using HostExceptionOf::HostExceptionOf;
};

// A result of the plug-in at the C border, with the memory that the C structures point to.
class BorderResult final : public OrbisResult {
public:
    // Success without a list.
    BorderResult() noexcept;

    // A collection's items, serialised. Throws HostException when a message is too large for that.
    template <class T>
    [[nodiscard]] static std::unique_ptr<BorderResult> Of(const Common::CollectionList<T>& list)
    {
        auto result = std::make_unique<BorderResult>();
        if (list) {
            result->SetCount(list->size());
            for (const auto& item : *list) {
                result->Add(item.Value().get(), item.ItemId().ToString(), item.Time());
            }
        }
        return result;
    }

    // The exception in flight as a failure. Never null: when memory is short it is a constant record.
    [[nodiscard]] static const OrbisResult* OfCurrentException() noexcept;

    // Frees a result of Of or OfCurrentException; null is ignored.
    static void Free(const OrbisResult* result) noexcept;

private:
    struct StoredItem {
        std::string itemId;
        std::string message;
    };
    struct StoredFailure {
        std::string typeName;
        std::string message;
        OrbisFailure record{};
    };

    void SetCount(std::size_t count);
    // The next item; `message` may be null.
    template <class T>
    void Add(const T* message, const std::string& itemId, Common::CollectionTime time)
    {
        std::string bytes;
        if (message != nullptr && !message->SerializeToString(&bytes)) {
            throw Sdk::Exceptions::HostException("a message of " + message->GetTypeName() + " is too large to leave the plug-in");
        }
        Append({itemId, std::move(bytes)}, message != nullptr, time);
    }
    void Append(StoredItem item, bool hasMessage, Common::CollectionTime time);

    [[nodiscard]] static std::unique_ptr<BorderResult> OfFailure(std::int32_t kind, std::string typeName, std::string message);
    [[nodiscard]] static std::unique_ptr<BorderResult> OfFailure(const Sdk::Exceptions::HostException& exception);
    // Appends a failure to the chain.
    void AppendFailure(std::int32_t kind, std::string typeName, std::string message);

    // The C structures point into these, whose elements never move.
    std::vector<StoredItem> m_StoredItems;
    std::vector<OrbisItem> m_Items;
    std::list<StoredFailure> m_Failures;
};

}  // namespace Veyra::Orbis::Plugins
