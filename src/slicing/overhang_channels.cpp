#include "slicing/overhang_channels.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "slicing/contour_pixels.h"

namespace stiltforge::slicing {

namespace {

constexpr uint8_t supported = 255;

bool isOverhanging(uint8_t blue) {
  return blue != supported;
}

}  // namespace

OverhangChannels::OverhangChannels(const ChannelFalloff& falloff)
    : selfSupported_(fullReachOf(falloff.support)),
      support_(falloff.support),
      stroke_(falloff.stroke) {}

// The pixels that nothing right below or close by in their row carries.
void OverhangChannels::findCandidates(const RunRows& material, const RunRows& carrying) {
  candidates_.clear();
  const RowRange rows = material.occupiedRows();
  candidates_.endRows(rows.begin);
  for (int y = rows.begin; y < rows.end; ++y) {
    std::span<const Run> carried = carrying.row(y);
    for (const Run& run : material.row(y)) {
      while (!carried.empty() && carried.front().end <= run.begin) carried = carried.subspan(1);
      // Most runs belong to walls, which is seen at a glance.
      if (!carried.empty() && carried.front().begin - selfSupported_ <= run.begin &&
          carried.front().end + selfSupported_ >= run.end) {
        continue;
      }
      forEachUncovered(run, carried, [&](int32_t begin, int32_t end) {
        candidates_.add(begin > run.begin ? begin + selfSupported_ : begin,
                        end < run.end ? end - selfSupported_ : end);
      });
    }
    candidates_.endRow();
  }
  candidates_.endRows(material.height() - rows.end);
}

// From the bytes of the candidates, which `blue` holds, to those of the pixels that overhang.
void OverhangChannels::keepOverhang(RunRows& overhang, ScratchVector<uint8_t>& blue) const {
  overhang.clear();
  const uint8_t* next = blue.data();
  uint8_t* kept = blue.data();
  const RowRange rows = candidates_.occupiedRows();
  overhang.endRows(rows.begin);
  for (int y = rows.begin; y < rows.end; ++y) {
    for (const Run& run : candidates_.row(y)) {
      const uint8_t* const end = next + run.length();
      while (next != end) {
        const uint8_t* const first = std::find_if(next, end, isOverhanging);
        const uint8_t* const last = std::find(first, end, supported);
        const std::ptrdiff_t column = run.end - (end - first);
        overhang.add(static_cast<int32_t>(column), static_cast<int32_t>(column + (last - first)));
        kept = std::copy(first, last, kept);
        next = last;
      }
    }
    overhang.endRow();
  }
  overhang.endRows(candidates_.height() - rows.end);
  blue.resize(static_cast<std::size_t>(kept - blue.data()));
}

void OverhangChannels::findOverhang(const RunRows& material, const RunRows* below,
                                    RunRows& overhang, ScratchVector<uint8_t>& blue) {
  if (below == nullptr) {
    overhang.clear();
    overhang.endRows(material.height());
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
  findContourPixels(slice.material, slice.overhang, stroke_.radius(), contours_);
  stroke_.findNearContour(slice.overhang, contours_, slice.green);
}

}  // namespace stiltforge::slicing
