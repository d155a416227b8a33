#include "CommonCLI/NativeException.h"

#include <cstdlib>
#include <memory>
#include <string_view>
#include <typeinfo>

#if __has_include(<cxxabi.h>)  // not with the Microsoft compiler, whose type names are not mangled
#include <cxxabi.h>
#endif

#include "HostSdk/Exceptions.h"
#include "platform/Text.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

std::string Demangled(const char* name)
{
#if __has_include(<cxxabi.h>)
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return text != nullptr ? text.get() : name;
#else
    return name;
#endif
}

// Whether a part of a type's name is a library's inline namespace ("__1", "__cxx11") or an unnamed one.
bool IsSilent(std::string_view part) { return part.starts_with("__") || part.find("anonymous") != std::string_view::npos; }

}  // namespace

std::string DescriptionOf(const std::exception& exception) { return orbis::platform::DefaultToUtf8(exception.what()); }

std::string TypeNameOf(const std::exception& exception)
{
    const std::string spelled = Demangled(typeid(exception).name());
    std::string_view rest = spelled;
    for (const std::string_view keyword : {"class ", "struct "}) {
        rest.remove_prefix(rest.starts_with(keyword) ? keyword.size() : 0);
    }
    const std::string_view separator = rest.starts_with("Veyra::") ? "." : "::";
    std::string name;
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, rest.find("::"));
        rest.remove_prefix(part.size() < rest.size() ? part.size() + 2 : rest.size());
        if (!IsSilent(part)) {
            name.append(name.empty() ? "" : separator).append(part.substr(0, part.find("[abi:")));
        }
    }
    return name;
}

FailureText CurrentFailure()
{
    try {
        throw;
    } catch (const Sdk::Exceptions::HostException& exception) {
        return {exception.Message(), exception.ToString()};
    } catch (const std::exception& exception) {
        const std::string description = DescriptionOf(exception);
        return {description, TypeNameOf(exception) + ": " + description};
    } catch (...) {
        return {"Unknown exception", "Unknown exception"};
    }
}

}  // namespace Veyra::Orbis::Cpp::Common
