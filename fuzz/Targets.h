#pragma once

#include <array>
#include <string_view>

#include <google/protobuf/message_lite.h>

#include "Input.h"

namespace orbis::fuzz {

// Each feeds one input to the code that it is named after and ends the process (Require) when the outcome is wrong. libFuzzer runs
// them (LibFuzzer.cpp), and ReplayTest.cpp on every kept input.
void SmBios(Bytes input);
void Smart(Bytes input);
void Text(Bytes input);
void Wmi(Bytes input);
void Machine(Bytes input);
void Nvme(Bytes input);
void Device(Bytes input);

struct Target {
    std::string_view name;
    void (*run)(Bytes);
};
inline constexpr std::array kTargets{Target{"smbios", SmBios}, Target{"smart", Smart},     Target{"text", Text},
                                     Target{"wmi", Wmi},       Target{"machine", Machine}, Target{"nvme", Nvme},
                                     Target{"device", Device}};

// Prints `rule` and aborts when it is broken.
void Require(bool holds, const char* rule);
// Checks that a host can parse the message again; it could not with texts that are not UTF-8.
void RequireReadable(const google::protobuf::MessageLite* message);

}  // namespace orbis::fuzz
