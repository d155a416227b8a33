#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace orbis::host {

// The content of a file. Throws std::invalid_argument that names the file and the reason.
[[nodiscard]] std::string ReadWholeFile(const std::filesystem::path& file);
// What WriteWholeFile throws; the command ends with kExitOutputLost.
class FileWriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
// Puts `content` in the place of `file` at once: it is written beside it and renamed, so that a reader finds the old content or the
// new; a device or a pipe is written to. Throws FileWriteError that names the file and the reason; nothing is left behind then.
void WriteWholeFile(const std::filesystem::path& file, const std::string& content);
// The name of a file for a message, in UTF-8.
[[nodiscard]] std::string FileName(const std::filesystem::path& file);

}  // namespace orbis::host
