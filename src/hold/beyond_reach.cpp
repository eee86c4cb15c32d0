#include "hold/beyond_reach.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace stiltforge::hold {

namespace {

// Distances that differ only by rounding from the reach lie within it.
constexpr double roundingSlack = 1e-9;

// In rows of fewer runs the first one near is soon found by looking at each.
constexpr std::size_t searchedRuns = 8;

}  // namespace

BeyondReach::BeyondReach(double reach) {
  const double squared = reach * reach * (1 + roundingSlack);
  for (int rows = 0; static_cast<double>(rows) * rows <= squared; ++rows) {
    half_.push_back(static_cast<int>(std::sqrt(squared - static_cast<double>(rows) * rows)));
  }
}

// Drops from the rest what a row reaches, so many columns to each side.
void BeyondReach::keepBeyond(std::span<const Run> row, int half) {
  const auto isLeftOf = [&](const Run& run, const Run& rest) {
    return run.end + half <= rest.begin;
  };
  auto near = row.begin();
  if (row.size() > searchedRuns) {
    near = std::partition_point(row.begin(), row.end(),
                                [&](const Run& run) { return isLeftOf(run, rest_.front()); });
  }
  next_.clear();
  for (const Run& run : rest_) {
    int32_t at = run.begin;
    const auto keep = [&](int32_t end) {
      if (at < end) next_.push_back({static_cast<uint16_t>(at), static_cast<uint16_t>(end)});
    };
    while (near != row.end() && isLeftOf(*near, run)) ++near;
    for (auto reached = near; reached != row.end() && reached->begin - half < run.end; ++reached) {
      keep(std::min<int32_t>(reached->begin - half, run.end));
      at = std::max<int32_t>(at, reached->end + half);
    }
    keep(run.end);
  }
  std::swap(rest_, next_);
}

void BeyondReach::find(Run run, int y, const RunRows& material, RunRows& beyond) {
  const int furthest =
      std::min(static_cast<int>(half_.size()) - 1, std::max(y, material.height() - 1 - y));
  rest_.assign(1, run);
  const auto dropReachedBy = [&](int other, int half) {
    const std::span<const Run> row = material.row(other);
    const bool reaches = !row.empty() && row.front().begin - half < rest_.back().end &&
                         row.back().end + half > rest_.front().begin;
    if (reaches) keepBeyond(row, half);
    return rest_.empty();
  };
  // The nearest rows first: most runs are a rim.
  if (dropReachedBy(y, half_[0])) return;
  for (int rows = 1; rows <= furthest; ++rows) {
    const int half = half_[static_cast<std::size_t>(rows)];
    if (dropReachedBy(y - rows, half) || dropReachedBy(y + rows, half)) return;
  }
  for (const Run& rest : rest_) beyond.add(rest.begin, rest.end);
}

}  // namespace stiltforge::hold
