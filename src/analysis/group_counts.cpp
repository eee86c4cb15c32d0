#include "analysis/group_counts.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "runtime/apart.h"
#include "runtime/scratch_vector.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

// Runs and overhanging pixels, of which a pixel counts less.
constexpr std::size_t workPerTask = std::size_t{1} << 15;
constexpr std::size_t pixelsPerUnitOfWork = 16;
// Every task counts all groups on its own; with many groups that costs more than it gains.
constexpr std::size_t mostCounters = std::size_t{1} << 18;
constexpr std::size_t groupsPerTask = std::size_t{1} << 12;
// With more runs in a row a sum along it is cheaper than a loop for each.
constexpr uint32_t pixelsPerRunWhenDense = 32;

// Blue bytes b below 255 with limit > b are those below the answer.
uint8_t countedBelow(float limit) {
  int b = 0;
  while (b < 255 && limit > static_cast<float>(b)) ++b;
  return static_cast<uint8_t>(b);
}

struct BlueLimits {
  uint8_t almostNotBlue = 0;
  uint8_t island = 0;
};

struct Counts {
  uint32_t pixels = 0;
  uint32_t unsupported = 0;
  uint32_t almostNotBlue = 0;
  uint32_t island = 0;
  uint16_t firstColumn = 0xFFFF;
  uint16_t lastColumn = 0;
  uint16_t firstRow = 0xFFFF;
  uint16_t lastRow = 0;

  void add(const Counts& other) {
    pixels += other.pixels;
    unsupported += other.unsupported;
    almostNotBlue += other.almostNotBlue;
    island += other.island;
    firstColumn = std::min(firstColumn, other.firstColumn);
    lastColumn = std::max(lastColumn, other.lastColumn);
    firstRow = std::min(firstRow, other.firstRow);
    lastRow = std::max(lastRow, other.lastRow);
  }
};

// At most 255 pixels, so that the counters are bytes and a vector holds as many of them as of
// pixels.
void countBlock(const uint8_t* blue, std::size_t n, BlueLimits limits, Counts& counts) {
  uint8_t almost = 0;
  uint8_t island = 0;
  for (std::size_t i = 0; i < n; ++i) {
    almost = static_cast<uint8_t>(almost + (blue[i] < limits.almostNotBlue));
    island = static_cast<uint8_t>(island + (blue[i] < limits.island));
  }
  counts.almostNotBlue += almost;
  counts.island += island;
}

STILTFORGE_APART void countPixels(const uint8_t* blue, std::size_t n, BlueLimits limits,
                                  Counts& counts) {
  constexpr std::size_t block = 255;
  for (std::size_t start = 0; start < n; start += block) {
    countBlock(blue + start, std::min(n - start, block), limits, counts);
  }
}

// Sums along the overhanging pixels of a row, so that a run costs two reads instead of a loop that
// ends at a random place.
class RowSums {
 public:
  STILTFORGE_APART RowSums(uint32_t width, BlueLimits limits) : sums_(std::size_t{width} + 1) {
    for (std::size_t b = 0; b < 256; ++b) {
      countsOf_[b] = uint64_t{b < limits.almostNotBlue} | uint64_t{b < limits.island} << shift;
    }
  }

  void sum(const uint8_t* blue, std::size_t n) {
    uint64_t sum = 0;
    for (std::size_t i = 0; i < n; ++i) {
      sums_[i] = sum;
      sum += countsOf_[blue[i]];
    }
    sums_[n] = sum;
  }
  void add(std::size_t begin, std::size_t end, Counts& counts) const {
    const uint64_t sum = sums_[end] - sums_[begin];
    counts.almostNotBlue += static_cast<uint32_t>(sum);
    counts.island += static_cast<uint32_t>(sum >> shift);
  }

 private:
  // Two sums in a word, each of at most 65,535 pixels.
  static constexpr int shift = 32;

  std::array<uint64_t, 256> countsOf_;
  ScratchVector<uint64_t> sums_;
};

// Counts the groups of rows [firstRow, endRow), one row after the other.
class RowCounter {
 public:
  RowCounter(const Layer& layer, BlueLimits limits, std::size_t firstPixel,
             ScratchVector<Counts>& counts)
      : layer_(layer),
        limits_(limits),
        readsBlue_(limits.almostNotBlue > 0 || limits.island > 0),
        blue_(layer.blue.data() + firstPixel),
        counts_(counts),
        sums_(readsBlue_ ? layer.width : 0, limits) {}

  void count(uint32_t firstRow, uint32_t endRow) {
    for (uint32_t y = firstRow; y < endRow; ++y) {
      if (layer_.material.rowStart(y) < layer_.material.rowStart(y + 1)) countRow(y);
    }
    counts_[group_].add(current_);
  }

 private:
  void countRow(uint32_t y) {
    const std::span<const Run> runs = layer_.material.row(static_cast<int>(y));
    const std::span<const Run> spans = layer_.overhang.row(static_cast<int>(y));
    const uint32_t* group = layer_.groupOfRun.data() + layer_.material.rowStart(y);
    const bool isDense = readsBlue_ && runs.size() > layer_.width / pixelsPerRunWhenDense;
    std::size_t rowPixels = 0;
    if (isDense) {
      for (const Run& span : spans) rowPixels += span.length();
      sums_.sum(blue_, rowPixels);
    }
    const auto row = static_cast<uint16_t>(y);
    auto span = spans.begin();
    std::size_t pixel = 0;  // of the row
    for (const Run& run : runs) {
      if (*group != group_) {
        counts_[group_].add(current_);
        current_ = {};
        group_ = *group;
      }
      ++group;
      current_.pixels += run.length();
      current_.firstColumn = std::min(current_.firstColumn, run.begin);
      current_.lastColumn = std::max(current_.lastColumn, static_cast<uint16_t>(run.end - 1));
      current_.firstRow = std::min(current_.firstRow, row);
      current_.lastRow = row;
      if (span == spans.end()) continue;
      const std::size_t first = pixel;
      for (; span != spans.end() && span->begin < run.end; ++span) pixel += span->length();
      current_.unsupported += static_cast<uint32_t>(pixel - first);
      if (isDense) {
        sums_.add(first, pixel, current_);
      } else if (readsBlue_) {
        countPixels(blue_ + first, pixel - first, limits_, current_);
      }
    }
    blue_ += pixel;
  }

  const Layer& layer_;
  const BlueLimits limits_;
  const bool readsBlue_;
  const uint8_t* blue_;  // of the next row
  ScratchVector<Counts>& counts_;
  RowSums sums_;
  // Of one group at a time: neighbouring runs mostly belong to the same.
  Counts current_;
  uint32_t group_ = 0;
};

// Rows [row(t), row(t + 1)) for each of some tasks, and the first overhanging pixel of each.
class RowShares {
 public:
  RowShares(const Layer& layer, std::size_t tasks)
      : height_(layer.height), tasks_(tasks), firstPixel_(tasks + 1, 0) {
    workers::parallelFor(tasks, [&](std::size_t t) {
      const uint32_t end = layer.overhang.rowStart(row(t + 1));
      std::size_t pixels = 0;
      for (uint32_t s = layer.overhang.rowStart(row(t)); s < end; ++s) {
        pixels += layer.overhang[s].length();
      }
      firstPixel_[t + 1] = pixels;
    });
    for (std::size_t t = 0; t < tasks; ++t) firstPixel_[t + 1] += firstPixel_[t];
  }
  uint32_t row(std::size_t task) const { return static_cast<uint32_t>(height_ * task / tasks_); }
  std::size_t firstPixel(std::size_t task) const { return firstPixel_[task]; }

 private:
  const std::size_t height_;
  const std::size_t tasks_;
  std::vector<std::size_t> firstPixel_;
};

void store(const Counts& counts, Group& group) {
  group.numPixel = counts.pixels;
  group.unsupportedPixelCount = counts.unsupported;
  group.almostNotBlueCount = counts.almostNotBlue;
  group.islandBlueCount = counts.island;
  group.xMin = counts.firstColumn;
  group.yMin = counts.firstRow;
  group.xMax = static_cast<uint16_t>(counts.lastColumn + 1);
  group.yMax = static_cast<uint16_t>(counts.lastRow + 1);
}

}  // namespace

void countGroups(Layer& layer, const Settings& settings) {
  const std::size_t entries = std::size_t{layer.groupCount} + 1;
  layer.groups.resize(entries);
  const BlueLimits limits{countedBelow(settings.almostNotBlueCounterLimit),
                          countedBelow(settings.islandMinBlue)};
  const std::size_t work = layer.material.runCount() + layer.blue.size() / pixelsPerUnitOfWork;
  const std::size_t tasks = std::clamp<std::size_t>(
      std::min(work / workPerTask, mostCounters / entries) + 1, 1, std::max<int>(1, layer.height));
  const RowShares shares(layer, tasks);
  std::vector<ScratchVector<Counts>> counts(tasks);
  workers::parallelFor(tasks, [&](std::size_t t) {
    counts[t].resize(entries);
    RowCounter(layer, limits, shares.firstPixel(t), counts[t])
        .count(shares.row(t), shares.row(t + 1));
  });
  workers::parallelFor(entries / groupsPerTask + 1, [&](std::size_t chunk) {
    const std::size_t end = std::min(entries, (chunk + 1) * groupsPerTask);
    for (std::size_t id = std::max<std::size_t>(1, chunk * groupsPerTask); id < end; ++id) {
      for (std::size_t t = 1; t < tasks; ++t) counts[0][id].add(counts[t][id]);
      layer.groups[id].id = static_cast<uint32_t>(id);
      store(counts[0][id], layer.groups[id]);
    }
  });
  for (const Group& group : layer.groups) layer.pixelCount += group.numPixel;
}

}  // namespace stiltforge
