#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace orbis::platform {

using PdhStatus = std::uint32_t;
struct PdhQueryObject;    // PDH_HQUERY
struct PdhCounterObject;  // PDH_HCOUNTER

// Status codes of pdhmsg.h.
namespace pdh {
inline constexpr PdhStatus kOk = 0;
inline constexpr PdhStatus kValidData = 0x00000000;         // PDH_CSTATUS_VALID_DATA
inline constexpr PdhStatus kNewData = 0x00000001;           // PDH_CSTATUS_NEW_DATA
inline constexpr PdhStatus kNoInstance = 0x800007D1;        // PDH_CSTATUS_NO_INSTANCE: the instance is gone
inline constexpr PdhStatus kMoreData = 0x800007D2;          // PDH_MORE_DATA
inline constexpr PdhStatus kNoData = 0x800007D5;            // PDH_NO_DATA
inline constexpr PdhStatus kNoObject = 0xC0000BB8;          // PDH_CSTATUS_NO_OBJECT
inline constexpr PdhStatus kNoCounter = 0xC0000BB9;         // PDH_CSTATUS_NO_COUNTER
inline constexpr PdhStatus kInvalidData = 0xC0000BBA;       // PDH_CSTATUS_INVALID_DATA
inline constexpr PdhStatus kInvalidHandle = 0xC0000BBC;     // PDH_INVALID_HANDLE
inline constexpr PdhStatus kInvalidArgument = 0xC0000BBD;   // PDH_INVALID_ARGUMENT
inline constexpr PdhStatus kBadCounterName = 0xC0000BC0;    // PDH_CSTATUS_BAD_COUNTERNAME
inline constexpr PdhStatus kMemoryAllocation = 0xC0000BBB;  // PDH_MEMORY_ALLOCATION_FAILURE
inline constexpr PdhStatus kNotValidYet = 0xC0000BC6;       // PDH_INVALID_DATA: a rate before its second sample

inline constexpr std::uint32_t kFormatDouble = 0x00000200;    // PDH_FMT_DOUBLE
inline constexpr std::uint32_t kFormatNoCap100 = 0x00008000;  // PDH_FMT_NOCAP100
}  // namespace pdh

// PDH_FMT_COUNTERVALUE of a double.
struct PdhCounterValue {
    PdhStatus status = pdh::kNoData;  // CStatus of the counter, valid when kValidData or kNewData
    double value = 0;
};

// Performance counters by their English names, in every system language. A query is confined to one thread at a time.
class Pdh {
public:
    virtual ~Pdh() = default;

    // PdhOpenQueryW. No data source (null) means live counters. Close with CloseQuery, which also removes its counters.
    [[nodiscard]] virtual PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) = 0;
    // Instance names of an object by its English name, as PdhEnumObjectItemsW gives them: zero-terminated names, then one more
    // zero. `characters` is in and out; kMoreData with the number needed when the buffer (null with 0 asks) is too small.
    // Duplicates stay.
    [[nodiscard]] virtual PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) = 0;
    // PdhAddEnglishCounterW with a full path "\Object(instance)\Counter".
    [[nodiscard]] virtual PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                                      PdhCounterObject** counter) = 0;
    // Instance names of the last sample of a counter that was added with the instance "*", as PdhGetRawCounterArrayW gives them;
    // the list and `characters` are those of EnumInstances. Instances that came or went since the sample before are seen without
    // enumerating anew. kInvalidData before the first sample, kInvalidHandle for no such counter; a counter of one instance is not
    // asked for.
    [[nodiscard]] virtual PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) = 0;
    // PdhCollectQueryData: samples every counter. A counter that fails keeps its own status and does not fail the call; with no
    // counter at all: kNoData.
    [[nodiscard]] virtual PdhStatus CollectQueryData(PdhQueryObject* query) = 0;
    // PdhGetFormattedCounterValue(counter, format). A rate counter needs two samples: kNotValidYet before.
    [[nodiscard]] virtual PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value) = 0;
    // PdhCloseQuery.
    virtual PdhStatus CloseQuery(PdhQueryObject* query) noexcept = 0;

    // The port that is in force now (see Platform::Current).
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Pdh& Current() noexcept;
};

}  // namespace orbis::platform
