#pragma once

#include <string>
#include <string_view>

namespace orbis::host {

// One line on standard error, "orbis-host: " and the text. Whatever would drive a terminal is shown instead, line feeds excepted.
void Say(std::string_view text);
// The same without the program's name, for what begins with the place that it is about ("file.txtpb:3:1: ...").
void SayPlace(std::string_view text);
// Text as it is on standard error; a supervised process holds it back until it may write.
void WriteError(const std::string& text);

}  // namespace orbis::host
