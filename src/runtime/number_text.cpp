#include "runtime/number_text.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace stiltforge {

std::string numberText(double value) {
  if (std::isnan(value)) return "nan";
  constexpr double mostInFull = 1e15;
  char text[32];
  if (std::fabs(value) < mostInFull && value == std::trunc(value)) {
    return {text, std::to_chars(text, std::end(text), static_cast<int64_t>(value)).ptr};
  }
#ifdef __EMSCRIPTEN__
  // Its library lacks the other way, and no program of it has a locale.
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%.6g", value))};
#else
  return {text, std::to_chars(text, std::end(text), value, std::chars_format::general, 6).ptr};
#endif
}

}  // namespace stiltforge
