#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "analysis/run_rows.h"
#include "hold/scale.h"

namespace stiltforge::hold {

/// Overhang in one cell of a grid: so many pixels around the middle of them.
struct OverhangCell {
  uint32_t layer = 0;
  uint16_t x = 0;
  uint16_t y = 0;
  uint32_t pixels = 0;
};

/// Gathers overhang in the cells of a grid, storey by storey.
class OverhangCells {
 public:
  /// side: of the cells, mm, and not less than a 32768th of a pixel.
  OverhangCells(const Scale& scale, double side);

  /// Takes the overhang of a layer, bottom first.
  void add(const RunRows& overhang, uint32_t layer);
  /// Nothing may be added afterwards.
  void finish();

  /// Of all storeys that are ended; of all after finish().
  const std::vector<OverhangCell>& cells() const { return cells_; }

 private:
  struct Sum {
    uint64_t pixels = 0;
    uint64_t x = 0;
    uint64_t y = 0;
    uint64_t layer = 0;
  };

  void add(Run run, int y, uint32_t layer);

  double cellsPerPixel_;
  double storeysPerLayer_;
  double storey_ = 0;
  std::vector<Sum> sums_;                            // of the open storey
  std::unordered_map<uint64_t, std::size_t> known_;  // the same, by row and column
  std::vector<OverhangCell> cells_;
};

}  // namespace stiltforge::hold
