#include "hold/steep_overhang.h"

#include <algorithm>
#include <span>

namespace stiltforge::hold {

SteepOverhang::SteepOverhang(uint32_t layers, double reach)
    : layers_(std::max<uint32_t>(layers, 1)), beyond_(reach) {}

void SteepOverhang::add(const RunRows& material, const RunRows& below, RunRows& overhang) {
  overhang.clear();
  const RowRange rows = layer_ == 0 ? RowRange() : material.occupiedRows();
  overhang.endRows(rows.begin);
  for (int y = rows.begin; y < rows.end; ++y) {
    std::span<const Run> known = below.row(y);
    std::span<const Run> carrying = carrier_.row(y);
    for (const Run& run : material.row(y)) {
      if (beyond_.isWithinRow(run, carrying)) continue;
      forEachUncovered(run, known, [&](int32_t begin, int32_t end) {
        beyond_.find({static_cast<uint16_t>(begin), static_cast<uint16_t>(end)}, y, carrier_,
                     overhang);
      });
    }
    overhang.endRow();
  }
  overhang.endRows(material.height() - rows.end);
  if (layer_++ % layers_ == 0) carrier_ = material;
}

}  // namespace stiltforge::hold
