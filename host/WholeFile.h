#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace orbis::host {

// The content of a file. Throws std::invalid_argument that names the file and the reason.
[[nodiscard]] std::string ReadWholeFile(const std::filesystem::path& file);
// Thrown by WriteWholeFile; the command then ends with kExitOutputLost.
class FileWriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
// Replaces `file` in one step: the content is written to a file beside it, which is then renamed, so that a reader finds either the
// old content or the new. A device or a pipe is written directly. Throws FileWriteError that names the file and the reason, and
// leaves nothing behind.
void WriteWholeFile(const std::filesystem::path& file, const std::string& content);
// The name of a file for a message, in UTF-8.
[[nodiscard]] std::string FileName(const std::filesystem::path& file);

}  // namespace orbis::host
