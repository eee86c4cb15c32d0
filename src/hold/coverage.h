#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "hold/bodies.h"
#include "hold/cancelled.h"
#include "hold/point_grid.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// The samples of a part's overhang, and which of them some points reach. What no support could
/// reach counts neither way: samples in sealed voids, and those without room that have none with
/// room within reach. Nor do specks.
class Coverage {
 public:
  /// All by reference. isSpeck: of each track, see specksOf(). reach: mm. Throws Cancelled soon
  /// after the flag was raised.
  Coverage(const Survey& survey, const PointGrid& samples, Bodies& bodies,
           const std::vector<uint8_t>& isSpeck, double reach,
           const std::atomic<bool>* cancelled = nullptr);

  /// Pixels that a point there would reach and that no point does yet.
  uint64_t gainOf(const Place& place) const;
  /// Returns the samples that no point has reached yet and this one does.
  std::vector<uint32_t> add(const Place& place);
  /// Pixels that no point but the one there reaches; it was added.
  uint64_t lossOf(const Place& place) const;
  /// The samples that these are.
  std::vector<uint32_t> reachedAloneFrom(const Place& place) const;
  /// Pixels of those of the samples that a point there would reach.
  uint64_t pixelsWithin(const Place& place, std::span<const uint32_t> samples) const;
  /// Returns the samples that no other point reaches.
  std::vector<uint32_t> remove(const Place& place);

  double reach() const { return reach_; }
  /// Whether the sample counts, and whether no point reaches it yet.
  bool counts(std::size_t sample) const { return points_[sample] != ignored; }
  bool isOpen(std::size_t sample) const { return points_[sample] == 0; }
  /// Of all samples that count, and of those that a point reaches.
  uint64_t pixels() const { return pixels_; }
  uint64_t reachedPixels() const { return reachedPixels_; }

 private:
  static constexpr uint32_t ignored = std::numeric_limits<uint32_t>::max();

  // Calls fn(sample) for those of the same body within reach that `wanted` accepts.
  template <class Wanted, class Fn>
  void forEachHeld(const Place& place, Wanted&& wanted, Fn&& fn) const;
  bool canBeReached(const Place& place) const;
  bool isAlone(uint32_t sample) const { return points_[sample] == 1; }

  const Survey& survey_;
  const PointGrid& samples_;
  Bodies& bodies_;
  double reach_;
  std::vector<uint32_t> points_;  // that reach each sample
  uint64_t pixels_ = 0;
  uint64_t reachedPixels_ = 0;
};

}  // namespace stiltforge::hold
