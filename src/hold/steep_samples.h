#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "analysis/slice.h"
#include "hold/place.h"
#include "hold/steep_overhang.h"
#include "hold/surroundings.h"
#include "hold/survey_settings.h"

namespace stiltforge::hold {

/// Samples the steep overhang of a part in the cells of a grid, storey by storey, apart for each
/// region.
class SteepSamples {
 public:
  explicit SteepSamples(const SurveySettings& settings);

  /// Takes the next slice, bottom first; it is the layer last added to the surroundings.
  void add(const Slice& slice, Surroundings& layer);

  const std::vector<OverhangSample>& samples() const { return samples_; }

 private:
  // A cell of the open storey.
  struct Cell {
    int32_t x = 0;
    int32_t y = 0;
    uint32_t track = 0;
    bool operator==(const Cell&) const = default;
  };
  struct CellHash {
    std::size_t operator()(const Cell& cell) const;
  };

  void sample(Run run, int y, bool hasRoom, const Surroundings& layer);

  double storeysPerLayer_;
  double cellsPerPixel_;
  SteepOverhang steep_;
  RunRows steepRows_;  // of the last layer
  RunRows roomyRow_;
  std::vector<uint16_t> need_;  // of the columns of a row: low where a support is needed most
  int64_t storey_ = 0;
  std::unordered_map<Cell, std::size_t, CellHash> cells_;  // their samples
  std::vector<OverhangSample> samples_;
  std::vector<uint16_t> sampleNeed_;  // see need_, of the place of each
};

}  // namespace stiltforge::hold
