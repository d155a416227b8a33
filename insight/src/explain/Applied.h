#pragma once

#include <string>

#include "explain/Raw.h"

namespace orbis::insight {

// How the rules of a row converted this value, for people. A rule that changed nothing is left out.
[[nodiscard]] std::string AppliedRules(const FieldSource& source, const RawContent& raw, const FieldExplanation& field,
                                       const Scope& scope);

// Why the field has no value although its source answered.
[[nodiscard]] std::string WhyMissing(const FieldSource& source, FieldExplanation::State state, const Scope& scope);

// Whether the row is a choice that is made by one of its places, and this place with this content makes it.
[[nodiscard]] bool IsChoice(const FieldSource& source);
[[nodiscard]] bool Decides(const Place& place, const RawContent& raw);

// Whether the bytes of the row are a number.
[[nodiscard]] bool IsNumber(const FieldSource& source);

}  // namespace orbis::insight
