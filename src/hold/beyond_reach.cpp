#include "hold/beyond_reach.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace stiltforge::hold {

namespace {

// Distances that differ only by rounding from the reach lie within it.
constexpr double roundingSlack = 1e-9;

}  // namespace

BeyondReach::BeyondReach(double reach) {
  const double squared = reach * reach * (1 + roundingSlack);
  for (int rows = 0; static_cast<double>(rows) * rows <= squared; ++rows) {
    half_.push_back(static_cast<int>(std::sqrt(squared - static_cast<double>(rows) * rows)));
  }
}

// Drops from the rest what row y reaches, so many columns to each side.
void BeyondReach::keepBeyond(const RunRows& material, int y, int half) {
  const std::span<const Run> row = material.row(y);
  if (row.empty()) return;
  auto near = std::partition_point(row.begin(), row.end(), [&](const Run& run) {
    return run.end + half <= rest_.front().begin;
  });
  if (near == row.end() || near->begin - half >= rest_.back().end) return;
  next_.clear();
  for (const Run& run : rest_) {
    int32_t at = run.begin;
    const auto keep = [&](int32_t end) {
      if (at < end) next_.push_back({static_cast<uint16_t>(at), static_cast<uint16_t>(end)});
    };
    while (near != row.end() && near->end + half <= run.begin) ++near;
    for (auto reached = near; reached != row.end() && reached->begin - half < run.end; ++reached) {
      keep(std::min<int32_t>(reached->begin - half, run.end));
      at = std::max<int32_t>(at, reached->end + half);
    }
    keep(run.end);
  }
  std::swap(rest_, next_);
}

void BeyondReach::find(Run run, int y, const RunRows& material, RunRows& beyond) {
  // The nearest rows first: most runs are a rim.
  const int furthest =
      std::min(static_cast<int>(half_.size()) - 1, std::max(y, material.height() - 1 - y));
  rest_.assign(1, run);
  for (int i = 0; i <= 2 * furthest && !rest_.empty(); ++i) {
    const int rows = (i + 1) / 2;
    keepBeyond(material, i % 2 == 0 ? y + rows : y - rows, half_[static_cast<std::size_t>(rows)]);
  }
  for (const Run& rest : rest_) beyond.add(rest.begin, rest.end);
}

}  // namespace stiltforge::hold
