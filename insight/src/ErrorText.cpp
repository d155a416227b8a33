#include "insight/ErrorText.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>

#include "platform/Errors.h"

namespace orbis::insight {

namespace {
constexpr std::uint32_t kNoMediaInDrive = 1112;  // ERROR_NO_MEDIA_IN_DRIVE
}

std::string ErrorText(std::uint32_t error)
{
    namespace win32 = platform::win32;
    struct Words {
        std::uint32_t error;
        const char* words;
    };
    static constexpr std::array<Words, 23> kWords{{
        {win32::kInvalidFunction, "the driver does not know the request"},
        {win32::kFileNotFound, "there is no such device"},
        {win32::kPathNotFound, "there is no such device"},
        {win32::kAccessDenied, "access denied"},
        {win32::kInvalidHandle, "the device is gone"},
        {win32::kNotEnoughMemory, "memory is short"},
        {win32::kInvalidData, "the answer is malformed"},
        {win32::kNotReady, "the device is not ready"},
        {win32::kCrc, "data error (checksum)"},
        {win32::kBadLength, "the driver does not take a request of this length"},
        {win32::kGenFailure, "the device does not work"},
        {win32::kSharingViolation, "another program uses the device"},
        {win32::kNotSupported, "the request is not supported"},
        {win32::kDevNotExist, "the device is gone"},
        {win32::kInvalidParameter, "the driver rejects the request"},
        {win32::kSemTimeout, "the device did not answer in time"},
        {win32::kInsufficientBuffer, "the answer does not fit"},
        {win32::kBusy, "the device is busy"},
        {win32::kMoreData, "the answer does not fit"},
        {kNoMediaInDrive, "there is no medium in the drive"},
        {win32::kIoDevice, "I/O error of the device"},
        {win32::kDeviceNotConnected, "the device is not connected"},
        {win32::kNoSuchDevice, "the device is gone"},
    }};
    const auto found = std::find_if(kWords.begin(), kWords.end(), [error](const Words& words) { return words.error == error; });
    return found == kWords.end() ? fmt::format("error {}", error) : fmt::format("{} (error {})", found->words, error);
}

bool MeansNoMedium(std::uint32_t error) noexcept { return error == platform::win32::kNotReady || error == kNoMediaInDrive; }

}  // namespace orbis::insight
