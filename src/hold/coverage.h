#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "hold/joined_regions.h"
#include "hold/point_grid.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// Tells which places belong to one body, see finish().
class Bodies {
 public:
  Bodies(const RegionTracks& tracks, uint32_t layersAbove)
      : regions_(tracks), layersAbove_(layersAbove) {}

  bool areOne(const Place& a, const Place& b) {
    return regions_.areJoined(a.track, b.track, std::min(a.layer, b.layer),
                              std::max(a.layer, b.layer) + layersAbove_);
  }

 private:
  JoinedRegions regions_;
  uint32_t layersAbove_;
};

/// The samples of a part's overhang, and which of them some points reach. Those in sealed voids are
/// left out.
class Coverage {
 public:
  /// All by reference. reach: mm.
  Coverage(const Survey& survey, const PointGrid& samples, Bodies& bodies, double reach);

  /// Pixels that a point there would reach and that no point does yet.
  uint64_t gainOf(const Place& place) const;
  void add(const Place& place);

  bool isReached(uint32_t sample) const { return reached_[sample] != 0; }
  /// Of all samples that count, and of those that a point reaches.
  uint64_t pixels() const { return pixels_; }
  uint64_t reachedPixels() const { return reachedPixels_; }

 private:
  template <class Fn>
  void forEachUnreached(const Place& place, Fn&& fn) const;

  const Survey& survey_;
  const PointGrid& samples_;
  Bodies& bodies_;
  Scale scale_;
  double reach_;
  std::vector<uint8_t> reached_;
  uint64_t pixels_ = 0;
  uint64_t reachedPixels_ = 0;
};

}  // namespace stiltforge::hold
