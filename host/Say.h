#pragma once

#include <string>
#include <string_view>

namespace orbis::host {

// Writes one line to standard error: "orbis-host: " and the text. Control characters other than line feeds are shown, not sent.
void Say(std::string_view text);
// The same without the program's name, for texts that begin with a place in a file ("file.txtpb:3:1: ...").
void SayPlace(std::string_view text);
// Writes text unchanged to standard error; a supervised process holds it back until it may write.
void WriteError(const std::string& text);

}  // namespace orbis::host
