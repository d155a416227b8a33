#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "HostSdk/IZelLog.h"

namespace Veyra::Orbis::Common::Utilities::BaseClasses {

// Makes the logger of one log id.
using LoggerFactory = std::function<std::shared_ptr<IZelLog>(std::string_view logId)>;

// Installs the factory that plug-ins constructed on this thread use, for as long as it lives; scopes nest. A host's create function
// holds one around the construction of a plug-in object, which captures the logger it gets.
class LoggerFactoryScope {
public:
    explicit LoggerFactoryScope(LoggerFactory factory);
    LoggerFactoryScope(const LoggerFactoryScope&) = delete;
    LoggerFactoryScope& operator=(const LoggerFactoryScope&) = delete;
    ~LoggerFactoryScope();

private:
    LoggerFactory m_Factory;
    const LoggerFactory* m_Before;
};

class BaseCollector {
public:
    virtual ~BaseCollector() = default;

protected:
    // Creates the logger under the log id with the factory in force; without one, log lines are dropped.
    explicit BaseCollector(std::string_view logId);

    // Never null; shared with the objects that log on the plug-in's behalf.
    std::shared_ptr<IZelLog> _log;
};

// Base class of every collector plug-in.
class BaseCollectorPlugin : public BaseCollector {
protected:
    explicit BaseCollectorPlugin(std::string_view logId) : BaseCollector(logId) {}
};

}  // namespace Veyra::Orbis::Common::Utilities::BaseClasses
