#include "reference/ghost_spread.h"

#include <algorithm>
#include <cmath>

#include "reference/conversions.h"

namespace stiltforge::reference {

float GhostSpread::weight(uint32_t i, uint32_t j) const {
  const float position = static_cast<float>(j) + 2.0f * (static_cast<float>(i) * radius);
  // Above 2^24 entries the position may round up past the last corner, whose weight is 0.
  return weights[std::min<size_t>(toUint32(position), weights.size() - 1)];
}

GhostSpread createGhostSpread(float radius) {
  GhostSpread spread;
  spread.radius = radius;
  while (static_cast<float>(spread.side) < 2.0f * radius) spread.side += 1;
  const auto centre = static_cast<int64_t>(toInt32(radius));
  for (int64_t i = 0; i < spread.side; ++i) {
    for (int64_t j = 0; j < spread.side; ++j) {
      const auto dx = static_cast<float>(j - centre);
      const auto dy = static_cast<float>(i - centre);
      const float d = std::sqrt(dx * dx + dy * dy);
      spread.weights.push_back(d > radius ? 0.0f : (radius - d) / radius * 255.0f);
    }
  }
  return spread;
}

}  // namespace stiltforge::reference
