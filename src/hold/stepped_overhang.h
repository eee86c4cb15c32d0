#pragma once

#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"
#include "hold/overhang_cells.h"
#include "hold/steep_overhang.h"
#include "hold/survey_settings.h"

namespace stiltforge::hold {

/// Gathers all overhang of a part in cells, in steps as nearly as may be of one height, so that it
/// follows layers and pixels less than the overhang of single layers.
class SteppedOverhang {
 public:
  explicit SteppedOverhang(const SurveySettings& settings);

  /// Takes the next layer, bottom first: its material, that of the one below, and overhangBeyond()
  /// of the two.
  void add(const RunRows& material, const RunRows& below, const RunRows& beyond, uint32_t layer);
  /// Nothing may be added afterwards.
  void finish() { cells_.finish(); }

  const std::vector<OverhangCell>& cells() const { return cells_.cells(); }

 private:
  uint32_t layers_;  // of a step
  SteepOverhang steps_;
  RunRows rows_;  // of the layer last added
  OverhangCells cells_;
};

}  // namespace stiltforge::hold
