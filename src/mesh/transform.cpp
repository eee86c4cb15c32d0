#include "mesh/transform.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "mesh/number.h"

namespace stiltforge::mesh {

namespace {

constexpr std::string_view blanks = " \t\r\n";

}  // namespace

std::optional<Transform> Transform::parse(std::string_view text, double millimetres) {
  Transform transform;
  std::size_t begin = text.find_first_not_of(blanks);
  for (std::size_t i = 0; i < transform.rows.size(); ++i) {
    if (begin == std::string_view::npos) return std::nullopt;
    const std::size_t end = std::min(text.find_first_of(blanks, begin), text.size());
    const auto number = toDouble(text.substr(begin, end - begin));
    if (!number || !std::isfinite(*number)) return std::nullopt;
    transform.rows[i] = i < 9 ? *number : *number * millimetres;
    begin = text.find_first_not_of(blanks, end);
  }
  if (begin != std::string_view::npos) return std::nullopt;
  return transform;
}

double Transform::determinant() const {
  const auto& m = rows;
  return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
         m[2] * (m[3] * m[7] - m[4] * m[6]);
}

Transform Transform::then(const Transform& next) const {
  Transform both;
  for (std::size_t row = 0; row < 4; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      double sum = row == 3 ? next.rows[9 + column] : 0;
      for (std::size_t k = 0; k < 3; ++k) sum += rows[3 * row + k] * next.rows[3 * k + column];
      both.rows[3 * row + column] = sum;
    }
  }
  return both;
}

Corner Transform::apply(const Corner& corner) const {
  std::array<float, 3> moved{};
  for (std::size_t column = 0; column < 3; ++column) {
    moved[column] = static_cast<float>(corner.x * rows[column] + corner.y * rows[3 + column] +
                                       corner.z * rows[6 + column] + rows[9 + column]);
  }
  return {moved[0], moved[1], moved[2]};
}

}  // namespace stiltforge::mesh
