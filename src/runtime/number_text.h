#pragma once

#include <string>

namespace stiltforge {

/// A number as a sentence for people has it, in any locale: whole numbers below 10^15 with all
/// their digits, others with six at most, no trailing zeros.
std::string numberText(double value);

}  // namespace stiltforge
