#include "runtime/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace stiltforge {

std::string numberText(double value) {
  if (std::isnan(value)) return "nan";
  constexpr double mostInFull = 1e15;
  char text[32];
  if (std::fabs(value) < mostInFull && value == std::trunc(value)) {
    return {text, std::to_chars(text, std::end(text), static_cast<int64_t>(value)).ptr};
  }
  return {text, std::to_chars(text, std::end(text), value, std::chars_format::general, 6).ptr};
}

}  // namespace stiltforge
