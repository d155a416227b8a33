#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "HostSdk/Exceptions.h"

namespace Veyra::Orbis::Common {

// The host's logger. Every operation takes the message (UTF-8, may hold zero bytes, is printed as it is: never a format), the
// source line, the source file (path below the source root without extension) and the fully qualified function name, and returns
// the logger.
class IZelLog {
public:
    virtual ~IZelLog() = default;

    virtual IZelLog& Error(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) = 0;
    // Logs the exception's full text.
    virtual IZelLog& Error(const Sdk::Exceptions::HostException& exception, std::int32_t line, std::string_view file,
                           std::string_view function) = 0;
    virtual IZelLog& Warning(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) = 0;
    virtual IZelLog& Debug(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) = 0;
    virtual IZelLog& Trace(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) = 0;
};

}  // namespace Veyra::Orbis::Common
