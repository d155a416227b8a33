#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <google/protobuf/message_lite.h>

// How a collecting process and its supervisor separate their messages, and the commands of one byte that follow the assignment.
namespace orbis::host {

inline constexpr std::size_t kFrameHead = 4;
inline constexpr char kGo = 'g';       // write; four bytes follow, the number of passes that were shown
inline constexpr char kDiscard = 'd';  // write nothing of this pass, and begin it anew; the same four bytes
inline constexpr char kWake = 'w';     // a delay is over

[[nodiscard]] inline std::string Frame(const google::protobuf::MessageLite& message)
{
    std::string bytes(kFrameHead, '\0');
    message.AppendToString(&bytes);
    const std::size_t size = bytes.size() - kFrameHead;
    for (std::size_t i = 0; i < kFrameHead; ++i) {
        bytes[i] = static_cast<char>(size >> (8 * i) & 0xFF);
    }
    return bytes;
}

[[nodiscard]] inline std::size_t FrameSize(std::span<const char, kFrameHead> head)
{
    std::size_t size = 0;
    for (std::size_t i = kFrameHead; i-- > 0;) {
        size = size << 8 | static_cast<unsigned char>(head[i]);
    }
    return size;
}

}  // namespace orbis::host
