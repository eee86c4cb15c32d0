#include "check/reach.h"

#include <algorithm>
#include <cmath>

namespace stiltforge::check {

namespace {

// Pixels that lie outside by rounding only lie within.
constexpr double roundingSlack = 1e-9;

}  // namespace

Reach::Reach(double columns, double rows) {
  const auto reached = static_cast<int>(rows + roundingSlack);
  for (int row = 0; row <= reached; ++row) {
    const double share = row == 0 ? 0 : std::min(row / rows, 1.0);
    columnsAt_.push_back(static_cast<int>(columns * std::sqrt(1 - share * share) + roundingSlack));
  }
}

void Unreached::takePixels(std::span<const Run> runs) {
  next_.clear();
  for (const Run& stretch : rest_) {
    // Neither a begin nor an end comes before that of the run before.
    while (!runs.empty() && runs.front().end <= stretch.begin) runs = runs.subspan(1);
    int32_t at = stretch.begin;
    for (const Run& run : runs) {
      if (run.begin >= stretch.end) break;
      if (run.begin > at) next_.push_back({static_cast<uint16_t>(at), run.begin});
      at = std::max<int32_t>(at, run.end);
    }
    if (at < stretch.end) next_.push_back({static_cast<uint16_t>(at), stretch.end});
  }
  rest_.swap(next_);
}

std::span<const Run> Unreached::nearTo(std::span<const Run> runs, int columns) const {
  const int left = rest_.front().begin;
  const int right = rest_.back().end;
  const auto first = std::partition_point(
      runs.begin(), runs.end(), [&](const Run& run) { return run.end + columns <= left; });
  const auto last = std::partition_point(
      first, runs.end(), [&](const Run& run) { return run.begin - columns < right; });
  return {first, last};
}

}  // namespace stiltforge::check
