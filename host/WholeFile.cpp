#include "WholeFile.h"

#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "Supervised.h"

namespace orbis::host {
namespace {

std::string LastReason() { return errno == 0 ? "the file cannot be used" : std::generic_category().message(errno); }

}  // namespace

std::string FileName(const std::filesystem::path& file)
{
    const std::u8string name = file.u8string();
    return {name.begin(), name.end()};
}

std::string ReadWholeFile(const std::filesystem::path& file)
{
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream.is_open() || stream.bad()) {
        throw std::invalid_argument(fmt::format("{}: {}", FileName(file), LastReason()));
    }
    return content;
}

void WriteWholeFile(const std::filesystem::path& file, const std::string& content)
{
    if (Supervised* const supervised = Supervised::Get(); supervised != nullptr && !supervised->MayWrite()) {
        return;
    }
    std::error_code error;
    // A device or a pipe is written directly; it must not be replaced by a file.
    const bool isReplaced = !std::filesystem::exists(file, error) || std::filesystem::is_regular_file(file, error);
    std::filesystem::path beside = file;
    beside += isReplaced ? ".new" : "";
    errno = 0;
    std::ofstream stream(beside, std::ios::binary | std::ios::trunc);
    stream << content;
    stream.close();
    if (!stream) {
        const std::string reason = LastReason();
        if (isReplaced) {
            std::filesystem::remove(beside, error);
        }
        throw FileWriteError(fmt::format("{} could not be written: {}", FileName(file), reason));
    }
    if (!isReplaced) {
        return;
    }
    std::filesystem::rename(beside, file, error);
    if (error) {
        std::error_code ignored;
        std::filesystem::remove(beside, ignored);
        throw FileWriteError(fmt::format("{} could not be written: {}", FileName(file), error.message()));
    }
}

}  // namespace orbis::host
