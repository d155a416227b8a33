#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sondix/sondix.h"

// A scripted device-query library for behaviour that no drive has: null accessors, a missing descriptor, an exception. It
// decodes nothing. Scripts name calls as the call log prints them:
//
//   an export                   "SXNvmNewHealthInfo"
//   an accessor                 "IVersion::Major", "IIdentifyControllerData::SN", "ICustomizedControllerData::EPPID"
//   a power state descriptor    "IIdentifyControllerData::PSD(2)", and its accessors "IPowerStateDesc(2)::MaxPower"
//   a release                   "SXDelete(IVersion)"; the vendor object is "SXDelete(IVendorSpecificInfo)"
namespace orbis::fakes {

// One drive. What is not scripted reads as zero, false, zero bytes, or a new object.
struct FakeDrive {
    veyra::sondix::StorageBusType busType = veyra::sondix::StorageBusType::BusTypeNvme;
    bool makerLayout = true;                       // the vendor object is an ICustomizedControllerData too
    std::map<std::string, std::uint64_t> numbers;  // integers and booleans by accessor; negative ones converted
    std::map<std::string, std::string> bytes;      // byte arrays by accessor, filled up with zeros
    std::set<std::string> nulls;                   // exports and accessors that answer null
};

// The library as the process sees it while the object lives; one at a time. For one thread.
class FakeSondix {
public:
    FakeSondix();
    ~FakeSondix();
    FakeSondix(const FakeSondix&) = delete;
    FakeSondix& operator=(const FakeSondix&) = delete;

    std::map<std::int32_t, FakeDrive> drives;  // by drive number

    // Calls `raise` where the n-th call of all is made (0 is the first), before anything else is done there; releases are not
    // counted. For sweeps: run once, then n = 0 .. CallCount() - 1.
    void ThrowAtCall(std::size_t n, std::function<void()> raise);
    [[nodiscard]] std::size_t CallCount() const { return m_CallCount; }

    std::vector<std::string> calls;  // every call in order, releases too
    // Objects given out and not yet released, by name.
    [[nodiscard]] std::vector<std::string> Live() const;
    [[nodiscard]] std::size_t Created() const { return m_Created; }
    [[nodiscard]] std::size_t Released() const { return m_Released; }
    // Errors of the caller: "released twice or never given out", "IVersion outlived IIdentifyControllerData".
    std::vector<std::string> faults;

    // For the fake objects.
    static FakeSondix& Current();
    void Call(const std::string& name);
    [[nodiscard]] const FakeDrive& Drive(std::int32_t number) const;
    void Created(void* object, const void* parent, std::string name);
    void Release(void* object);

private:
    struct LiveObject {
        const void* parent;
        std::string name;
    };
    std::map<void*, LiveObject> m_Live;
    std::optional<std::size_t> m_ThrowAtCall;
    std::function<void()> m_RaiseAtCall;
    std::size_t m_CallCount = 0;
    std::size_t m_Created = 0;
    std::size_t m_Released = 0;
};

}  // namespace orbis::fakes
