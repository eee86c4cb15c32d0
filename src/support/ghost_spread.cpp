#include "support/ghost_spread.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "runtime/float_conversion.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

uint32_t sideOf(float radius) {
  if (radius > GhostSpread::maxRadius) {
    throw std::length_error("ghostRadius " + std::to_string(radius) +
                            " is too large: at most 4096 pixels are supported");
  }
  const float diameter = 2.0f * radius;
  return diameter > 0 ? static_cast<uint32_t>(std::ceil(diameter)) : 0;
}

}  // namespace

GhostSpread::GhostSpread(float radius)
    : radius_(radius),
      side_(sideOf(radius)),
      steps_(std::size_t{side_} * side_),
      squares_(std::size_t{squaresAcross()} * squaresAcross()) {}

float GhostSpread::weight(std::size_t k) const {
  const int32_t centre = static_cast<int16_t>(toInt32(radius_));
  const auto dx = static_cast<float>(static_cast<int32_t>(k % side_) - centre);
  const auto dy = static_cast<float>(static_cast<int32_t>(k / side_) - centre);
  const float distance = std::sqrt(dx * dx + dy * dy);
  return distance > radius_ ? 0.0f : (radius_ - distance) / radius_ * 255.0f;
}

void GhostSpread::create() {
  if (created_) return;
  workers::parallelFor(side_, [this](std::size_t i) {
    uint8_t* const row = steps_.data() + i * side_;
    for (uint32_t j = 0; j < side_; ++j) {
      // The row length in this index is 2 * radius, whole or not. Above 2^24 entries it may round
      // up past the last corner, whose weight is 0.
      const float index = static_cast<float>(j) + 2.0f * (static_cast<float>(i) * radius_);
      const std::size_t entry = std::min<std::size_t>(toUint32(index), steps_.size() - 1);
      row[j] = static_cast<uint8_t>(toInt32(weight(entry)) & 0xFF);
    }
  });
  workers::parallelFor(squaresAcross(), [this](std::size_t i) {
    uint8_t* const squares = squares_.data() + i * squaresAcross();
    std::fill(squares, squares + squaresAcross(), uint8_t{0});
    const std::size_t end = std::min<std::size_t>(side_, (i + 1) * squareSide);
    for (std::size_t y = i * squareSide; y < end; ++y) {
      const uint8_t* const steps = steps_.data() + y * side_;
      for (uint32_t x = 0; x < side_; ++x) {
        squares[x / squareSide] = std::max(squares[x / squareSide], steps[x]);
      }
    }
  });
  created_ = true;
}

}  // namespace stiltforge
