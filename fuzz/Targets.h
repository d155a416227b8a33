#pragma once

#include <array>
#include <string_view>

#include <google/protobuf/message_lite.h>

#include "Input.h"

namespace orbis::fuzz {

// Each feeds one input to what it is named for and ends the process (Require) when something is wrong with the outcome. Run by
// libFuzzer (LibFuzzer.cpp), and on every kept input by ReplayTest.cpp.
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
// What a host gets can be read again; texts that are no UTF-8 could not.
void RequireReadable(const google::protobuf::MessageLite* message);

}  // namespace orbis::fuzz
