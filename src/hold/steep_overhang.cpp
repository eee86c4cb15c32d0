#include "hold/steep_overhang.h"

#include <algorithm>
#include <span>

namespace stiltforge::hold {

SteepOverhang::SteepOverhang(uint32_t layers, double reach)
    : layers_(std::max<uint32_t>(layers, 1)), beyond_(reach) {}

void SteepOverhang::add(const RunRows& material, const RunRows& below, RunRows& overhang) {
  overhang.clear();
  const bool isFirst = layer_ == 0;
  for (int y = 0; y < material.height(); ++y) {
    if (!isFirst) {
      std::span<const Run> known = below.row(y);
      for (const Run& run : material.row(y)) {
        forEachUncovered(run, known, [&](int32_t begin, int32_t end) {
          beyond_.find({static_cast<uint16_t>(begin), static_cast<uint16_t>(end)}, y, carrier_,
                       overhang);
        });
      }
    }
    overhang.endRow();
  }
  if (layer_++ % layers_ == 0) carrier_ = material;
}

}  // namespace stiltforge::hold
