#pragma once

#include <exception>
#include <string>

namespace Veyra::Orbis::Cpp::Common {

// Texts and types that describe native exceptions to a host. All texts are valid UTF-8.

// The exception's description. what() is narrow text in the system's default code page.
[[nodiscard]] std::string DescriptionOf(const std::exception& exception);

// The exception's type, spelled the same by every compiler: "std::runtime_error", and this system's own types as the host spells
// type names, "Veyra.Orbis.Cpp.Common.ResultException".
[[nodiscard]] std::string TypeNameOf(const std::exception& exception);

struct FailureText {
    std::string message;
    std::string fullText;  // type and message; of a host exception those of its inner exceptions too
};
// A description of the exception being handled, whether it is a host exception, a native one or anything else. For catch-all
// blocks.
[[nodiscard]] FailureText CurrentFailure();

}  // namespace Veyra::Orbis::Cpp::Common
