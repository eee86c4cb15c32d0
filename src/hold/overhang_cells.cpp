#include "hold/overhang_cells.h"

#include <cmath>

namespace stiltforge::hold {

OverhangCells::OverhangCells(const Scale& scale, double side)
    : cellsPerPixel_(scale.pixelSize / side), storeysPerLayer_(scale.layerHeight / side) {}

void OverhangCells::add(const RunRows& overhang, uint32_t layer) {
  const double storey = std::floor(layer * storeysPerLayer_);
  if (storey != storey_) finish();
  storey_ = storey;
  const RowRange rows = overhang.occupiedRows();
  for (int y = rows.begin; y < rows.end; ++y) {
    for (const Run& run : overhang.row(y)) add(run, y, layer);
  }
}

void OverhangCells::add(Run run, int y, uint32_t layer) {
  const uint64_t row = static_cast<uint32_t>(y * cellsPerPixel_);
  uint32_t end = run.begin;
  for (uint32_t begin = run.begin; begin < run.end; begin = end) {
    const auto column = static_cast<uint32_t>(begin * cellsPerPixel_);
    for (end = begin + 1; end < run.end && static_cast<uint32_t>(end * cellsPerPixel_) == column;) {
      ++end;
    }
    const auto [cell, isNew] = known_.try_emplace(row << 32 | column, sums_.size());
    if (isNew) sums_.emplace_back();
    Sum& sum = sums_[cell->second];
    const uint64_t pixels = end - begin;
    sum.pixels += pixels;
    sum.x += pixels * (begin + end - 1) / 2;
    sum.y += pixels * static_cast<uint64_t>(y);
    sum.layer += pixels * layer;
  }
}

void OverhangCells::finish() {
  for (const Sum& sum : sums_) {
    cells_.push_back(
        {static_cast<uint32_t>(sum.layer / sum.pixels), static_cast<uint16_t>(sum.x / sum.pixels),
         static_cast<uint16_t>(sum.y / sum.pixels), static_cast<uint32_t>(sum.pixels)});
  }
  sums_.clear();
  known_.clear();
}

}  // namespace stiltforge::hold
