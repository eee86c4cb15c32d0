#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/run_rows.h"
#include "runtime/scratch_vector.h"
#include "slicing/distance_transform.h"
#include "slicing/row_search.h"

namespace stiltforge::slicing {

/// Channel bytes of pixels by their distance to the nearest pixel of a set: exact, Euclidean,
/// between pixel centres. Costs what the pixels and the contour of the set ask for, for pixels
/// close to the set and far away alike.
class ProximityValues {
 public:
  /// The byte by squared distance in pixels, see ChannelFalloff; kept by reference. Beyond its last
  /// entry the byte is 0.
  explicit ProximityValues(const std::vector<uint8_t>& falloff);

  /// The longest distance, in whole pixels, with an entry.
  int radius() const { return radius_; }

  /// Replaces `values` by the bytes of `pixels` in raster order. Both have the same rows. Those of
  /// the pixels that are in the set, too, must be on its contour.
  void find(const RunRows& pixels, const RunRows& set, ScratchVector<uint8_t>& values);
  /// The same for a set that is all contour.
  void findNearContour(const RunRows& pixels, const RunRows& contour,
                       ScratchVector<uint8_t>& values);

 private:
  void begin(const RunRows& set, bool isContour);
  void findAll(const RunRows& pixels, ScratchVector<uint8_t>& values);
  bool isWide(std::span<const Run> stretches) const;
  bool hasManyWideRows(const RunRows& pixels, std::size_t pixelCount) const;
  void searchRow(int y, std::span<const Run> stretches, uint8_t* values);
  void transformRow(int y, std::span<const Run> stretches, int reach, uint8_t* values);

  const std::vector<uint8_t>& falloff_;
  const int radius_;
  const RunRows* set_ = nullptr;
  bool isContour_ = false;
  RowSearch search_;
  DistanceTransform transform_;
  bool transforms_ = false;  // whether the transform has begun with the set
  RunRows contour_;
  std::vector<int32_t> squared_;     // of a stretch
  std::vector<Run> open_;            // what the search left of a row
  std::vector<uint8_t*> openStart_;  // where their values belong
  std::vector<uint8_t> openValues_;
};

}  // namespace stiltforge::slicing
