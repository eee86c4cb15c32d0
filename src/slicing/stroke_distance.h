#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::slicing {

/// Squared distances of material pixels to the nearest contour pixel, as far as a radius reaches.
///
/// Distances are exact and Euclidean, between pixel centres; see findContourPixels for the contour.
///
/// Two passes after Meijster, Roerdink and Hesselink, "A general algorithm for computing distance
/// transforms in linear time" (2000): distances along the columns first, their minimum along each
/// row then. Both stay within the material, since a nearest contour pixel never lies across a gap,
/// and the second looks no further than the radius.
class StrokeDistance {
 public:
  /// radius in pixels, at least 0.
  StrokeDistance(int width, int radius);

  /// A layer's material; kept by reference until the last row is asked for.
  void begin(const RunRows& material);

  /// A stretch of material pixels of a row, each within the radius of the contour or between such.
  struct Band {
    int32_t begin;
    int32_t end;
    std::size_t offset;  ///< of its first distance in distances()
  };
  /// The bands of row y; rows must be asked for in ascending order from 0. Material outside the
  /// bands is radius + 1 pixels or more from the contour. Valid until the next call.
  const std::vector<Band>& bandsOfRow(int y);
  /// Squared distances of the pixels of the bands; (radius + 1) squared stands for that and more.
  const std::vector<int32_t>& distances() const { return squared_; }

 private:
  void measureDownwards(int firstRow);
  void measureRun(Run run);
  template <class Squared>
  void measureAlongRow(std::vector<Squared>& work, int32_t begin, int32_t end);

  const int width_;
  const int radius_;
  const uint16_t beyond_;  // any distance along a column above the radius
  const RunRows* material_ = nullptr;

  RunRows contours_;

  // Distance to the next contour pixel down the column, for a strip of rows at a time: computed
  // from below, needed from above.
  std::vector<uint16_t> below_;
  std::vector<uint16_t> strip_;
  int stripStart_ = 0;
  std::vector<uint16_t> above_;  // up the column, for the row last asked for

  std::vector<uint16_t> nearest_;  // up or down the column, whichever is nearer
  std::vector<int16_t> narrowWork_;
  std::vector<int32_t> wideWork_;
  std::vector<Band> bands_;
  std::vector<int32_t> squared_;
};

}  // namespace stiltforge::slicing
