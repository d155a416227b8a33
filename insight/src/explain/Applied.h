#pragma once

#include <string>

#include "explain/Raw.h"

namespace orbis::insight {

// What the rules of a row did to this value, for people: a rule that changed nothing is left out.
[[nodiscard]] std::string AppliedRules(const FieldSource& source, const RawContent& raw, const FieldExplanation& field,
                                       const Scope& scope);

// Why the field has no value although its source answered.
[[nodiscard]] std::string WhyMissing(const FieldSource& source, FieldExplanation::State state, const Scope& scope);

// Whether the row is a choice of which one place decides, and whether this place with this content is the one.
[[nodiscard]] bool IsChoice(const FieldSource& source);
[[nodiscard]] bool Decides(const Place& place, const RawContent& raw);

// Whether the row's bytes are read as a number.
[[nodiscard]] bool IsNumber(const FieldSource& source);

}  // namespace orbis::insight
