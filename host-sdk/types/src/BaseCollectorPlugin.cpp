#include "HostSdk/BaseCollectorPlugin.h"

#include <utility>

namespace Veyra::Orbis::Common::Utilities::BaseClasses {
namespace {

thread_local const LoggerFactory* t_Factory = nullptr;

class NullLog final : public IZelLog {
public:
    IZelLog& Error(std::string_view, std::int32_t, std::string_view, std::string_view) override { return *this; }
    IZelLog& Error(const Sdk::Exceptions::HostException&, std::int32_t, std::string_view, std::string_view) override
    {
        return *this;
    }
    IZelLog& Warning(std::string_view, std::int32_t, std::string_view, std::string_view) override { return *this; }
    IZelLog& Debug(std::string_view, std::int32_t, std::string_view, std::string_view) override { return *this; }
    IZelLog& Trace(std::string_view, std::int32_t, std::string_view, std::string_view) override { return *this; }
};

std::shared_ptr<IZelLog> MakeLog(std::string_view logId)
{
    std::shared_ptr<IZelLog> log;
    if (t_Factory != nullptr && *t_Factory) {
        log = (*t_Factory)(logId);
    }
    return log != nullptr ? log : std::make_shared<NullLog>();
}

}  // namespace

LoggerFactoryScope::LoggerFactoryScope(LoggerFactory factory)
    : m_Factory(std::move(factory)), m_Before(std::exchange(t_Factory, &m_Factory))
{}

LoggerFactoryScope::~LoggerFactoryScope() { t_Factory = m_Before; }

BaseCollector::BaseCollector(std::string_view logId) : _log(MakeLog(logId)) {}

}  // namespace Veyra::Orbis::Common::Utilities::BaseClasses
