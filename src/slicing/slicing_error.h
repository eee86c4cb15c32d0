#pragma once

#include <cmath>
#include <stdexcept>
#include <string>

#include "runtime/number_text.h"

namespace stiltforge::slicing {

/// What the caller gave cannot be sliced. what() is a sentence for the person who gave it.
class SlicingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws SlicingError unless the value, `what` in millimetres, is positive and finite.
inline void requirePositive(double value, const char* what) {
  if (std::isfinite(value) && value > 0) return;
  throw SlicingError(std::string("The ") + what + " is " + numberText(value) +
                     "; it must be a positive number of millimetres.");
}

}  // namespace stiltforge::slicing
