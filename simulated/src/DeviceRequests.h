#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <type_traits>

#include "DiskModel.h"
#include "emulated/Control.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/protocol/Ata.h"

namespace orbis::simulated {

// One DeviceIoControl request.
struct Request {
    std::uint32_t code = 0;
    ByteVector input;
    std::uint32_t outputSize = 0;
    double now = 0;  // seconds after the start

    // The input as a structure, or nothing when it is too short.
    template <typename T>
    [[nodiscard]] std::optional<T> As() const
    {
        static_assert(std::is_trivially_copyable_v<T>);
        if (input.size() < sizeof(T)) {
            return std::nullopt;
        }
        T value;
        std::memcpy(&value, input.data(), sizeof(T));
        return value;
    }
};

// Its answer.
struct Reply {
    std::uint32_t error = platform::win32::kSuccess;
    ByteVector output;                      // for the output buffer
    ByteVector data;                        // for the data buffer of a direct pass-through
    std::optional<std::uint32_t> returned;  // when it differs from what is put into the output buffer

    [[nodiscard]] static Reply Error(std::uint32_t error) { return {error, {}, {}, std::nullopt}; }
    [[nodiscard]] static Reply Output(ByteVector output)
    {
        return {platform::win32::kSuccess, std::move(output), {}, std::nullopt};
    }
    template <typename T>
    [[nodiscard]] static Reply Of(const T& value)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        ByteVector bytes(sizeof(T));
        std::memcpy(bytes.data(), &value, sizeof(T));
        return Output(std::move(bytes));
    }
};

// The object behind an open handle: a disk, a volume on a disk, a drive letter without a disk, or recorded exchanges only.
struct Target {
    const DiskModel* disk = nullptr;
    const VolumeModel* volume = nullptr;
    const description::LooseVolume* looseVolume = nullptr;
    const ExchangeList* exchanges = nullptr;
    std::uint32_t openError = platform::win32::kSuccess;  // that the file gives the device or volume
};

// Requests that the device itself answers: storage requests of disk and volume, protocol requests, pass-through.
[[nodiscard]] Reply AnswerRequest(const Target& target, const Request& request);

// Handlers of single requests; `target.disk` is not null.
[[nodiscard]] Reply QueryProtocolProperty(const Target& target, const Request& request);
[[nodiscard]] Reply ProtocolCommand(const Target& target, const Request& request);
[[nodiscard]] Reply AtaPassThrough(const Target& target, const Request& request);
[[nodiscard]] Reply ScsiPassThrough(const Target& target, const Request& request);

// Outcome of one ATA command.
struct AtaResult {
    std::uint8_t status = protocol::ata::kStatusReady;
    std::uint8_t error = 0;
    ByteVector data;
};
struct AtaCommand {
    std::uint8_t command = 0;
    std::uint8_t features = 0;
    std::uint8_t count = 0;
    std::uint8_t lbaLow = 0;
    std::uint8_t lbaMid = 0;
    std::uint8_t lbaHigh = 0;
};
// The command in a task file, and in an ATA PASS-THROUGH(16) command.
[[nodiscard]] AtaCommand RegistersOf(const std::array<std::uint8_t, 8>& taskFile);
[[nodiscard]] AtaCommand RegistersOf(const std::array<std::uint8_t, 16>& cdb);
[[nodiscard]] AtaResult ExecuteAta(const DiskModel& disk, const AtaCommand& command);

// The part of a pass-through request that exchanges compare.
struct PassThroughSummary {
    std::uint32_t dataTransferLength = 0;
    std::optional<AtaCommand> ata;             // however it travels
    std::optional<std::uint8_t> scsiOpcode;    // SCSI pass-through
    std::optional<std::uint32_t> nvmeLogPage;  // property query or protocol command
};
[[nodiscard]] PassThroughSummary Summarise(const Request& request);
// Whether a request carries a pointer to its data at offset 24 of its structure.
[[nodiscard]] bool IsDirect(std::uint32_t code);
inline constexpr std::size_t kDataPointerOffset = 24;

}  // namespace orbis::simulated
