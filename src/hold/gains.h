#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "hold/bodies.h"
#include "hold/coverage.h"
#include "hold/place.h"
#include "hold/point_grid.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// What points at some places would gain of a coverage, kept up to date while it changes: to look
/// again at what each of them reaches whenever one is taken would cost several times as much.
class Gains {
 public:
  /// All by reference; `places` has any cells. isWanted(place): whether a point may come there, its
  /// gain is 0 otherwise.
  Gains(const Survey& survey, const PointGrid& places, const Coverage& coverage, Bodies& bodies,
        const std::function<bool(std::size_t)>& isWanted);

  uint64_t of(std::size_t place) const { return pixels_[place]; }
  /// Takes what Coverage::add() returned.
  void take(std::span<const uint32_t> reachedSamples);
  /// Takes what Coverage::remove() returned.
  void giveBack(std::span<const uint32_t> freedSamples);

 private:
  // Calls fn(pixels of the place, pixels of the sample) for every place that is wanted, and each of
  // the samples that a point there would reach.
  template <class Fn>
  void forEachReaching(std::span<const uint32_t> samples, Fn&& fn);

  const Survey& survey_;
  const PointGrid& places_;
  Bodies& bodies_;
  double reach_;
  std::vector<uint8_t> isWanted_;  // by place
  std::vector<uint64_t> pixels_;   // the same
};

}  // namespace stiltforge::hold
