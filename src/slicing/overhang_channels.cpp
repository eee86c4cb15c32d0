#include "slicing/overhang_channels.h"

#include <cstddef>
#include <span>

#include "slicing/contour_pixels.h"

namespace stiltforge::slicing {

OverhangChannels::OverhangChannels(const ChannelFalloff& falloff)
    : selfSupported_(fullReachOf(falloff.support)),
      support_(falloff.support),
      stroke_(falloff.stroke) {}

// The pixels that nothing right below or close by in their row carries.
void OverhangChannels::findCandidates(const RunRows& material, const RunRows& carrying) {
  candidates_.clear();
  for (int y = 0; y < material.height(); ++y) {
    std::span<const Run> carried = carrying.row(y);
    for (const Run& run : material.row(y)) {
      forEachUncovered(run, carried, [&](int32_t begin, int32_t end) {
        candidates_.add(begin > run.begin ? begin + selfSupported_ : begin,
                        end < run.end ? end - selfSupported_ : end);
      });
    }
    candidates_.endRow();
  }
}

// From the bytes of the candidates, which `blue` holds, to those of the pixels that overhang.
void OverhangChannels::keepOverhang(RunRows& overhang, ScratchVector<uint8_t>& blue) const {
  overhang.clear();
  std::size_t next = 0;
  std::size_t kept = 0;
  for (int y = 0; y < candidates_.height(); ++y) {
    for (const Run& run : candidates_.row(y)) {
      for (int32_t x = run.begin; x < run.end; ++x) {
        const uint8_t value = blue[next++];
        if (value == 255) continue;
        blue[kept++] = value;
        overhang.add(x, x + 1);
      }
    }
    overhang.endRow();
  }
  blue.resize(kept);
}

void OverhangChannels::findOverhang(const RunRows& material, const RunRows* below,
                                    RunRows& overhang, ScratchVector<uint8_t>& blue) {
  if (below == nullptr) {
    overhang.clear();
    for (int y = 0; y < material.height(); ++y) overhang.endRow();
    blue.clear();
    return;
  }
  const RunRows& carrying = carrying_.of(*below);
  findCandidates(material, carrying);
  support_.find(candidates_, carrying, blue);
  keepOverhang(overhang, blue);
}

void OverhangChannels::fill(const RunRows* below, Slice& slice) {
  findOverhang(slice.material, below, slice.overhang, slice.blue);
  slice.green.clear();
  if (slice.overhang.empty()) return;
  findContourPixels(slice.material, contours_);
  stroke_.find(slice.overhang, contours_, slice.green);
}

}  // namespace stiltforge::slicing
