#pragma once

#include <array>
#include <cstdint>

#include "support/poisson.h"

namespace stiltforge {

/// The placement score of a sample in single precision: ghost coverage, support value and stroke
/// value, each relative to its normaliser and weighed by its part. Low scores come first.
class ScoreTerms {
 public:
  explicit ScoreTerms(float ghostNorm)
      : ghostNorm_(ghostNorm),
        weights_(Poisson::ghostPart + Poisson::strokePart + Poisson::anglePart) {
    for (std::size_t byte = 0; byte < angle_.size(); ++byte) {
      const float share = static_cast<float>(byte) / 255.0f;
      angle_[byte] = share * Poisson::anglePart / weights_;
      stroke_[byte] = share * Poisson::strokePart / weights_;
    }
  }

  float score(float ghostSum, uint8_t blue, uint8_t green) const {
    return ghostSum / ghostNorm_ * Poisson::ghostPart / weights_ + angle_[blue] + stroke_[green];
  }

 private:
  float ghostNorm_;
  float weights_;
  std::array<float, 256> angle_;
  std::array<float, 256> stroke_;
};

}  // namespace stiltforge
