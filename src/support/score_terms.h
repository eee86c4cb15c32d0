#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "analysis/settings.h"

namespace stiltforge {

/// The placement score of a sample in single precision: ghost coverage, support value and stroke
/// value, each relative to its normaliser and weighed by its part. Low scores come first.
class ScoreTerms {
 public:
  ScoreTerms(const Settings& settings, float ghostNorm)
      : ghostNorm_(ghostNorm),
        ghostPart_(settings.ghostPart),
        weights_(settings.ghostPart + settings.strokePart + settings.anglePart) {
    for (std::size_t byte = 0; byte < angle_.size(); ++byte) {
      const float share = static_cast<float>(byte) / 255.0f;
      angle_[byte] = share * settings.anglePart / weights_;
      stroke_[byte] = share * settings.strokePart / weights_;
    }
  }

  float score(float ghostSum, uint8_t blue, uint8_t green) const {
    return ghostSum / ghostNorm_ * ghostPart_ / weights_ + angle_[blue] + stroke_[green];
  }

 private:
  float ghostNorm_;
  float ghostPart_;
  float weights_;
  std::array<float, 256> angle_;
  std::array<float, 256> stroke_;
};

}  // namespace stiltforge
