#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace stiltforge::mesh {

/// The nearest float to a decimal number, with or without sign, point and exponent; whatever the
/// locale is, and the same on every platform. Infinite or not a number where the text says so or is
/// beyond a float. Nothing when the whole text is no number.
std::optional<float> toFloat(std::string_view text);
std::optional<double> toDouble(std::string_view text);

/// A whole decimal number. Nothing when the whole text is none, or one of more than 63 bits.
std::optional<std::int64_t> toInteger(std::string_view text);

}  // namespace stiltforge::mesh
