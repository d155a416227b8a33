#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "platform/Platform.h"

namespace orbis::tests {

// Facilities that an operating system always has and a substitute may lack.
enum class Service {
    VolumeRequests,  // every drive letter opens and answers
    WmiSchema,       // WMI tells an unknown class from one without rows, and lists the drives that open
    DiskCounters,    // the object PhysicalDisk
};

// A platform under the contract, with the means to move its clock without waiting where it has them.
class ContractSubject {
public:
    virtual ~ContractSubject() = default;
    [[nodiscard]] virtual platform::Platform& Ports() = 0;
    [[nodiscard]] virtual bool Has(Service /*service*/) const { return true; }
    virtual void ExpectMisuses() {}  // of a test that misuses the ports
    virtual void Advance(std::chrono::milliseconds time) { Ports().TimePort().Sleep(static_cast<std::uint32_t>(time.count())); }
};

struct ContractFactory {
    std::string name;
    std::function<std::unique_ptr<ContractSubject>()> make;
};
inline std::ostream& operator<<(std::ostream& out, const ContractFactory& factory) { return out << factory.name; }

// Tests of the promises in the port headers, for every implementation and any machine: a test that needs a disk or a volume
// says nothing about a machine that has none. Instantiate with INSTANTIATE_TEST_SUITE_P(Name, PlatformContract,
// testing::Values(factory)).
class PlatformContract : public testing::TestWithParam<ContractFactory> {
protected:
    PlatformContract() : subject(GetParam().make()), ports(subject->Ports()) {}

    std::unique_ptr<ContractSubject> subject;
    platform::Platform& ports;
};

}  // namespace orbis::tests
