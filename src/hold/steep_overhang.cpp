#include "hold/steep_overhang.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace stiltforge::hold {

namespace {

// Distances that differ only by rounding from the reach lie within it.
constexpr double roundingSlack = 1e-9;

// Adds the runs of both rows to the row of `all` that is not yet ended.
void addUnion(std::span<const Run> a, std::span<const Run> b, RunRows& all) {
  while (!a.empty() || !b.empty()) {
    std::span<const Run>& next =
        b.empty() || (!a.empty() && a.front().begin <= b.front().begin) ? a : b;
    all.add(next.front().begin, next.front().end);
    next = next.subspan(1);
  }
}

}  // namespace

SteepOverhang::SteepOverhang(uint32_t layers, double reach)
    : layers_(std::max<uint32_t>(layers, 1)),
      squaredReach_(reach * reach * (1 + roundingSlack)),
      reach_(static_cast<int>(std::sqrt(squaredReach_))) {}

// The columns of the run within reach of the carrier, sorted by where they begin.
void SteepOverhang::findCarried(Run run, int y) {
  carried_.clear();
  for (int dy = -reach_; dy <= reach_; ++dy) {
    const auto half = static_cast<int>(std::sqrt(squaredReach_ - dy * dy));
    const std::span<const Run> row = carrier_.row(y + dy);
    auto near = std::partition_point(row.begin(), row.end(),
                                     [&](const Run& r) { return r.end + half <= run.begin; });
    for (; near != row.end() && near->begin - half < run.end; ++near) {
      carried_.push_back({static_cast<uint16_t>(std::max<int>(near->begin - half, run.begin)),
                          static_cast<uint16_t>(std::min<int>(near->end + half, run.end))});
    }
  }
  std::sort(carried_.begin(), carried_.end(),
            [](const Run& a, const Run& b) { return a.begin < b.begin; });
}

void SteepOverhang::add(const RunRows& material, RunRows& overhang) {
  overhang.clear();
  const bool isFirst = layer_ == 0;
  RunRows seen;
  for (int y = 0; y < material.height(); ++y) {
    if (!isFirst) {
      std::span<const Run> known = seen_.row(y);
      for (const Run& run : material.row(y)) {
        forEachUncovered(run, known, [&](int32_t begin, int32_t end) {
          findCarried({static_cast<uint16_t>(begin), static_cast<uint16_t>(end)}, y);
          int32_t at = begin;
          for (const Run& carried : carried_) {
            overhang.add(at, carried.begin);
            at = std::max<int32_t>(at, carried.end);
          }
          overhang.add(at, end);
        });
      }
    }
    overhang.endRow();
    addUnion(seen_.row(y), material.row(y), seen);
    seen.endRow();
  }
  if (layer_++ % layers_ == 0) {
    carrier_ = material;
    seen_ = material;
  } else {
    seen_ = std::move(seen);
  }
}

}  // namespace stiltforge::hold
