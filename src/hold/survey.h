#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/slice.h"
#include "hold/beyond_reach.h"
#include "hold/overhang_cells.h"
#include "hold/place.h"
#include "hold/point_grid.h"
#include "hold/region_tracks.h"
#include "hold/scale.h"
#include "hold/steep_samples.h"
#include "hold/stepped_overhang.h"
#include "hold/surroundings.h"
#include "hold/survey_settings.h"
#include "runtime/scratch_vector.h"

namespace stiltforge::hold {

/// Overhanging pixels of one layer side by side: columns [begin, end) of row y.
struct OverhangRun {
  uint32_t space = 0;  ///< see Place
  uint16_t y = 0;
  uint16_t begin = 0;
  uint16_t end = 0;
  bool hasRoom = false;  ///< see Place

  uint32_t length() const { return static_cast<uint32_t>(end - begin); }
};

/// What has to be known of a part to judge whether points hold it: collected slice by slice, in
/// memory that follows its contours and overhangs.
///
/// Overhang is material with a support value below 255 that lies further than overhangReach() of a
/// layer from the material of the layer below. The first layer lies on the plate and has none.
class Survey {
 public:
  /// Throws std::invalid_argument unless pixel and layer are above 0 and the lengths not negative.
  explicit Survey(const SurveySettings& settings);

  /// Takes the next slice, bottom first. Throws std::invalid_argument when its size is not that of
  /// the first.
  void add(const Slice& slice);
  /// Takes points of the layer last added, which must not have changed since. Those beyond the
  /// slice touch nothing.
  void addPoints(const Slice& slice, std::span<const SupportPoint> points);
  /// Ends the part. Nothing may be added afterwards, and isSealed() needs it.
  void finish();

  const SurveySettings& settings() const { return settings_; }
  Scale scale() const { return settings_.scale(); }
  /// For places of the part. cellSize: mm, about the distance that is searched.
  PointGrid emptyGrid(double cellSize) const { return {scale(), cellSize, width_, height_}; }
  uint32_t layerCount() const { return static_cast<uint32_t>(firstRun_.size()) - 1; }
  uint16_t width() const { return width_; }
  uint16_t height() const { return height_; }
  /// Layers of empty space that a support needs below its point.
  uint32_t roomLayersOnPlate() const { return settings_.roomLayersOnPlate(); }

  const std::vector<Island>& islands() const { return islands_; }
  std::span<const OverhangRun> overhang(uint32_t layer) const {
    return {overhang_.data() + firstRun_[layer], firstRun_[layer + 1] - firstRun_[layer]};
  }
  /// Steep overhang, measured so that it hardly depends on layers and pixels.
  const std::vector<OverhangSample>& samples() const { return samples_.samples(); }
  /// All overhang, measured in steps as nearly as may be of one height, so that it follows layers
  /// and pixels less than the runs of overhang().
  const std::vector<OverhangCell>& overhangCells() const { return steppedOverhang_.cells(); }
  const RegionTracks& tracks() const { return surroundings_.tracks(); }
  bool isSealed(uint32_t space) const { return surroundings_.isSealed(space); }
  /// Whether a support fits below the place, and could be taken out afterwards.
  bool isSupportable(const Place& place) const { return place.hasRoom && !isSealed(place.space); }
  /// In the order in which they were added.
  const std::vector<Site>& points() const { return points_; }

 private:
  void addOverhang(const RunRows& beyond);
  Site::Touches touchedAt(const Slice& slice, int x, int y) const;

  SurveySettings settings_;
  uint16_t width_ = 0;
  uint16_t height_ = 0;
  Surroundings surroundings_;
  std::vector<Island> islands_;
  ScratchVector<OverhangRun> overhang_;
  std::vector<std::size_t> firstRun_{0};  // in overhang_, by layer
  RunRows roomyRow_;
  BeyondReach overhangReach_;
  SteppedOverhang steppedOverhang_;
  SteepSamples samples_;
  std::vector<Site> points_;
};

}  // namespace stiltforge::hold
