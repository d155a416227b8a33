#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HostBorder/orbis_border.h"
#include "HostSdk/CancellationToken.h"
#include "HostSdk/CollectionDatatypeItem.h"
#include "HostSdk/Exceptions.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/ItemId.h"

// Collector plug-ins for hosts in C++: the C border with types, and with the host's exceptions.
//
//     const orbis::border::PluginHost host = orbis::border::PluginHost::Load("StorageCollector.so");
//     orbis::border::PluginObject plugin = host.Create(log);
//     const auto items = plugin.Collect<SmartNvmeInfo>(ItemId::All());
//     for (const auto& item : items.value()) { ... }
namespace orbis::border {

namespace common = Veyra::Orbis::Common;
using Veyra::Orbis::Sdk::Common::Identifiers::ItemId;
using Veyra::Orbis::Sdk::Exceptions::HostException;

// A library that is not a plug-in, or cannot be loaded. The text names the library and the reason.
class PluginLoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A failure for which the host has no type of its own: kinds from ORBIS_FAILURE_NATIVE on, including kinds of later plug-ins.
class PluginFailure final : public HostException {
public:
    PluginFailure(std::int32_t kind, std::string typeName, std::string message,
                  std::shared_ptr<const HostException> inner = nullptr)
        : HostException(std::move(message), std::move(inner)), m_Kind(kind), m_TypeName(std::move(typeName))
    {}

    // One of ORBIS_FAILURE_.
    [[nodiscard]] std::int32_t Kind() const noexcept { return m_Kind; }
    [[nodiscard]] std::string_view TypeName() const noexcept override { return m_TypeName; }
    [[nodiscard]] std::shared_ptr<const HostException> Clone() const override { return std::make_shared<PluginFailure>(*this); }
    [[noreturn]] void Raise() const override { throw *this; }

private:
    std::int32_t m_Kind;
    std::string m_TypeName;
};

// One collection operation of a plug-in.
struct Operation {
    std::size_t index = 0;
    std::string name;      // for example "CollectSmartNvmeInfo"
    std::string datatype;  // full name of the message
    std::string description;
};

// One item as it crossed the border. No message and an empty message are different things.
struct SerializedItem {
    std::optional<std::string> message;
    ItemId itemId;
    common::CollectionTime collectionTime;
};

// A plug-in object. Different datatypes may be collected on several threads at the same time, but each datatype only once at a
// time.
class PluginObject {
public:
    PluginObject(PluginObject&& other) noexcept;
    PluginObject& operator=(PluginObject&& other) noexcept;
    ~PluginObject();

    // The items of datatype T, or no list (nullopt). Throws the plug-in's failure: ZelException and the other host exceptions, with
    // their inner exceptions; PluginFailure for other failures, and when the plug-in does not collect T.
    template <class T>
    [[nodiscard]] common::CollectionList<T> Collect(const ItemId& itemId,
                                                    const common::CancellationToken* cancellationToken = nullptr)
    {
        auto serialized = Collect(IndexOf(T().GetTypeName()), itemId, cancellationToken);
        if (!serialized) {
            return std::nullopt;
        }
        std::vector<common::CollectionDatatypeItem<T>> items;
        for (SerializedItem& item : *serialized) {
            std::shared_ptr<T> message;
            if (item.message) {
                message = std::make_shared<T>();
                if (!message->ParseFromString(*item.message)) {
                    ThrowMalformed(message->GetTypeName());
                }
            }
            items.emplace_back(std::move(message), std::move(item.itemId), item.collectionTime);
        }
        return items;
    }

    // The same without a type, for hosts that choose the datatype at run time. `operation` is Operation::index.
    [[nodiscard]] std::optional<std::vector<SerializedItem>> Collect(std::size_t operation, const ItemId& itemId,
                                                                     const common::CancellationToken* cancellationToken = nullptr);

private:
    friend class PluginHost;
    struct LogSink;
    PluginObject(const OrbisRegistration& registration, std::shared_ptr<common::IZelLog> log);

    [[nodiscard]] std::size_t IndexOf(std::string_view datatype) const;
    [[noreturn]] static void ThrowMalformed(const std::string& datatype);

    const OrbisRegistration* m_Registration;
    std::unique_ptr<LogSink> m_LogSink;
    OrbisPlugin* m_Plugin = nullptr;
};

// A plug-in's registration. The library stays loaded for the rest of the process.
class PluginHost {
public:
    // Loads a library by its path; one without a folder is looked for in the current one only. Throws PluginLoadError.
    [[nodiscard]] static PluginHost Load(const std::filesystem::path& library);
    // Uses a given table. Throws PluginLoadError when it has another version.
    explicit PluginHost(const OrbisRegistration& registration);

    [[nodiscard]] const std::string& Id() const noexcept { return m_Id; }
    [[nodiscard]] const std::string& Name() const noexcept { return m_Name; }
    [[nodiscard]] const std::string& Description() const noexcept { return m_Description; }
    [[nodiscard]] const std::string& LogId() const noexcept { return m_LogId; }
    [[nodiscard]] const std::vector<Operation>& Operations() const noexcept { return m_Operations; }

    // A new plug-in object that logs to `log` (null: nowhere), on the threads that create and collect. Throws as Collect does.
    [[nodiscard]] PluginObject Create(std::shared_ptr<common::IZelLog> log) const;

private:
    const OrbisRegistration* m_Registration;
    std::string m_Id;
    std::string m_Name;
    std::string m_Description;
    std::string m_LogId;
    std::vector<Operation> m_Operations;
};

}  // namespace orbis::border
