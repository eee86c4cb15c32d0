#include "mesh/number.h"

#include <fast_float/fast_float.h>

#include <charconv>
#include <system_error>

namespace stiltforge::mesh {

namespace {

std::string_view withoutPlus(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  return text;
}

template <typename Float>
std::optional<Float> parse(std::string_view text) {
  text = withoutPlus(text);
  Float value = 0;
  const auto [end, error] = fast_float::from_chars(text.data(), text.data() + text.size(), value);
  // Out of range it has set infinity or zero.
  const bool isNumber = error == std::errc() || error == std::errc::result_out_of_range;
  if (!isNumber || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

std::optional<float> toFloat(std::string_view text) {
  return parse<float>(text);
}

std::optional<double> toDouble(std::string_view text) {
  return parse<double>(text);
}

std::optional<std::int64_t> toInteger(std::string_view text) {
  text = withoutPlus(text);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace stiltforge::mesh
