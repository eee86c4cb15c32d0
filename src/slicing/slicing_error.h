#pragma once

#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace stiltforge::slicing {

/// What the caller gave cannot be sliced. what() is a sentence for the person who gave it.
class SlicingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A number for such a sentence: six digits at most, no trailing zeros.
inline std::string numberText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

/// Throws SlicingError unless the value, `what` in millimetres, is positive and finite.
inline void requirePositive(double value, const char* what) {
  if (std::isfinite(value) && value > 0) return;
  throw SlicingError(std::string("The ") + what + " is " + numberText(value) +
                     "; it must be a positive number of millimetres.");
}

}  // namespace stiltforge::slicing
