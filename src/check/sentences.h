#pragma once

#include <string>

#include "check/finding.h"

namespace stiltforge::check {

/// What a person reads of a finding. Lengths in mm, layers counted from 0.
struct Sentences {
  std::string what;    ///< what is wrong: "an island of 0.8 mm2 begins in layer 120, ..."
  std::string remedy;  ///< what to do: "Put a support under it."
};

Sentences describe(const Finding& finding);

/// As machines call them: "floatingPart", "fails".
const char* nameOf(Kind kind);
const char* nameOf(Severity severity);

}  // namespace stiltforge::check
