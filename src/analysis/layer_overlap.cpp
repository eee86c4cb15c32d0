#include "analysis/layer_overlap.h"

#include <algorithm>
#include <vector>

#include "runtime/apart.h"
#include "runtime/scratch_vector.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

struct SharedPixels {
  uint32_t group = 0;
  uint32_t lower = 0;
  uint32_t count = 0;
};

constexpr std::size_t runsPerTask = std::size_t{1} << 15;

// A position in a layer's runs that knows its row.
class RunCursor {
 public:
  RunCursor(const Layer& layer, uint32_t row)
      : runs_(layer.material.data()),
        runCount_(static_cast<uint32_t>(layer.material.runCount())),
        rows_(layer.material),
        width_(layer.width),
        height_(layer.height),
        run_(layer.material.rowStart(row)),
        row_(row) {
    settle();
  }

  uint32_t run() const { return run_; }
  bool atEnd() const { return run_ >= runCount_; }
  /// Index of its first pixel in the layer, row by row, and that behind its last one.
  uint64_t first() const { return first_; }
  uint64_t end() const { return end_; }
  void advance() {
    ++run_;
    settle();
  }

 private:
  void settle() {
    while (row_ < height_ && run_ >= rows_.rowStart(row_ + 1)) ++row_;
    if (atEnd()) return;
    const uint64_t rowFirst = uint64_t{row_} * width_;
    first_ = rowFirst + runs_[run_].begin;
    end_ = rowFirst + runs_[run_].end;
  }

  const Run* runs_;
  uint32_t runCount_;
  const RunRows& rows_;
  uint32_t width_;
  uint32_t height_;
  uint32_t run_;
  uint32_t row_;
  uint64_t first_ = 0;
  uint64_t end_ = 0;
};

// The first run of the layer that ends beyond the pixel index.
RunCursor seek(const Layer& layer, uint64_t index) {
  const uint64_t row = layer.width == 0 ? 0 : index / layer.width;
  RunCursor cursor(layer, static_cast<uint32_t>(std::min<uint64_t>(row, layer.height)));
  while (!cursor.atEnd() && cursor.end() <= index) cursor.advance();
  return cursor;
}

void intersectRows(const Layer& layer, const Layer& below, uint32_t firstRow, uint32_t endRow,
                   ScratchVector<SharedPixels>& shared) {
  RunCursor upper(layer, firstRow);
  const uint32_t lastRun = layer.material.rowStart(endRow);
  if (upper.run() >= lastRun) return;
  RunCursor lower = seek(below, upper.first());
  SharedPixels current;
  while (upper.run() < lastRun && !lower.atEnd()) {
    const uint64_t from = std::max(upper.first(), lower.first());
    const uint64_t upperEnd = upper.end();
    const uint64_t lowerEnd = lower.end();
    const uint64_t to = std::min(upperEnd, lowerEnd);
    if (from < to) {
      const uint32_t group = layer.groupOfRun[upper.run()];
      const uint32_t label = below.groupOfRun[lower.run()];
      if (group != current.group || label != current.lower) {
        if (current.count != 0) shared.push_back(current);
        current = {group, label, 0};
      }
      current.count += static_cast<uint32_t>(to - from);
    }
    if (upperEnd <= lowerEnd) upper.advance();
    if (lowerEnd <= upperEnd) lower.advance();
  }
  if (current.count != 0) shared.push_back(current);
}

// Stable counting sort by one of the two labels.
template <typename Key>
STILTFORGE_APART void sortByLabel(ScratchVector<SharedPixels>& shared, std::size_t labels,
                                  Key key) {
  const auto isBefore = [&](const SharedPixels& a, const SharedPixels& b) {
    return key(a) < key(b);
  };
  if (std::is_sorted(shared.begin(), shared.end(), isBefore)) return;
  ScratchVector<uint32_t> next(labels + 1, 0);
  for (const SharedPixels& s : shared) ++next[key(s) + 1];
  for (std::size_t i = 0; i < labels; ++i) next[i + 1] += next[i];
  ScratchVector<SharedPixels> sorted(shared.size());
  for (const SharedPixels& s : shared) sorted[next[key(s)]++] = s;
  shared = std::move(sorted);
}

STILTFORGE_APART ScratchVector<SharedPixels> sharedPixels(const Layer& layer, const Layer& below) {
  const std::size_t tasks = std::clamp<std::size_t>(layer.material.runCount() / runsPerTask + 1, 1,
                                                    std::max<std::size_t>(layer.height, 1));
  std::vector<ScratchVector<SharedPixels>> parts(tasks);
  workers::parallelFor(tasks, [&](std::size_t t) {
    intersectRows(layer, below, static_cast<uint32_t>(layer.height * t / tasks),
                  static_cast<uint32_t>(layer.height * (t + 1) / tasks), parts[t]);
  });
  std::size_t size = 0;
  for (const ScratchVector<SharedPixels>& part : parts) size += part.size();
  ScratchVector<SharedPixels> shared = std::move(parts[0]);
  shared.reserve(size);
  for (std::size_t t = 1; t < tasks; ++t) {
    shared.insert(shared.end(), parts[t].begin(), parts[t].end());
  }
  return shared;
}

}  // namespace

void relateToLayerBelow(Layer& layer, const Layer& below) {
  ScratchVector<SharedPixels> shared = sharedPixels(layer, below);
  sortByLabel(shared, below.groups.size(), [](const SharedPixels& s) { return s.lower; });
  sortByLabel(shared, layer.groups.size(), [](const SharedPixels& s) { return s.group; });

  layer.overlaps.reserve(shared.size());
  for (std::size_t i = 0; i < shared.size();) {
    Group& group = layer.groups[shared[i].group];
    group.firstOverlap = static_cast<uint32_t>(layer.overlaps.size());
    while (i < shared.size() && shared[i].group == group.id) {
      Layer::Overlap overlap{shared[i].lower, 0};
      for (; i < shared.size() && shared[i].group == group.id && shared[i].lower == overlap.lower;
           ++i) {
        overlap.count += shared[i].count;
      }
      layer.overlaps.push_back(overlap);
      ++group.overlapEntries;
      group.supportedPixel += overlap.count;
      group.islandDistance =
          std::max(group.islandDistance, below.groups[overlap.lower].islandDistance + 1);
    }
  }
}

}  // namespace stiltforge
