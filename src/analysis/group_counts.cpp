#include "analysis/group_counts.h"

#include <algorithm>
#include <array>
#include <vector>

#include "analysis/flood_fill.h"
#include "analysis/run_extraction.h"
#include "runtime/scratch_vector.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr uint32_t rowsPerTask = 64;
// Every task counts all groups on its own; with many groups that costs more than it gains.
constexpr std::size_t mostCounters = std::size_t{1} << 18;
constexpr std::size_t groupsPerTask = std::size_t{1} << 12;

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
  uint8_t unsupported = 0;
  uint8_t almost = 0;
  uint8_t island = 0;
  for (std::size_t i = 0; i < n; ++i) {
    unsupported = static_cast<uint8_t>(unsupported + (blue[i] != 255));
    almost = static_cast<uint8_t>(almost + (blue[i] < limits.almostNotBlue));
    island = static_cast<uint8_t>(island + (blue[i] < limits.island));
  }
  counts.unsupported += unsupported;
  counts.almostNotBlue += almost;
  counts.island += island;
}

void countRun(const uint8_t* blue, std::size_t n, BlueLimits limits, Counts& counts) {
  constexpr std::size_t block = 255;
  for (std::size_t start = 0; start < n; start += block) {
    countBlock(blue + start, std::min(n - start, block), limits, counts);
  }
}

// Sums along a row, so that a run costs two reads instead of a loop that ends at a random place.
class RowSums {
 public:
  RowSums(uint32_t width, BlueLimits limits) : sums_(std::size_t{width} + 1) {
    for (std::size_t b = 0; b < 256; ++b) {
      countsOf_[b] = uint64_t{b != 255} | uint64_t{b < limits.almostNotBlue} << almostShift |
                     uint64_t{b < limits.island} << islandShift;
    }
  }

  void sum(const uint8_t* blue) {
    uint64_t sum = 0;
    for (std::size_t x = 0; x + 1 < sums_.size(); ++x) {
      sums_[x] = sum;
      sum += countsOf_[blue[x]];
    }
    sums_.back() = sum;
  }
  void addRun(const SolidRun& run, Counts& counts) const {
    const uint64_t sum = sums_[run.end] - sums_[run.begin];
    counts.unsupported += static_cast<uint32_t>(sum & mask);
    counts.almostNotBlue += static_cast<uint32_t>((sum >> almostShift) & mask);
    counts.island += static_cast<uint32_t>(sum >> islandShift);
  }

 private:
  // Three sums in a word, each of at most 65,535 pixels.
  static constexpr int almostShift = 21;
  static constexpr int islandShift = 42;
  static constexpr uint64_t mask = (uint64_t{1} << 21) - 1;

  std::array<uint64_t, 256> countsOf_;
  std::vector<uint64_t> sums_;
};

void countRows(const Layer& layer, uint32_t firstRow, uint32_t endRow, BlueLimits limits,
               ScratchVector<Counts>& counts) {
  RowSums rowSums(layer.width, limits);
  // Of one group at a time: neighbouring runs mostly belong to the same.
  Counts current;
  uint32_t currentGroup = 0;
  for (uint32_t y = firstRow; y < endRow; ++y) {
    const auto row = static_cast<uint16_t>(y);
    const uint8_t* blue = layer.supportedPixels.data() + std::size_t{y} * layer.width;
    const bool isDense = isDenseRow(layer, y);
    if (isDense) rowSums.sum(blue);
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
      const SolidRun& run = layer.runs[r];
      if (run.group != currentGroup) {
        counts[currentGroup].add(current);
        current = {};
        currentGroup = run.group;
      }
      current.pixels += static_cast<uint32_t>(run.end - run.begin);
      current.firstColumn = std::min(current.firstColumn, run.begin);
      current.lastColumn = std::max(current.lastColumn, static_cast<uint16_t>(run.end - 1));
      current.firstRow = std::min(current.firstRow, row);
      current.lastRow = row;
      if (isDense) {
        rowSums.addRun(run, current);
      } else {
        countRun(blue + run.begin, run.end - run.begin, limits, current);
      }
    }
  }
  counts[currentGroup].add(current);
}

void store(const Counts& counts, Group& group) {
  group.numPixel = counts.pixels;
  group.unsupportedPixelCount = counts.unsupported;
  group.almostNotBlueCount = counts.almostNotBlue;
  group.islandBlueCount = counts.island;
  group.xMin = counts.firstColumn;
  group.yMin = counts.firstRow;
  group.xMax = static_cast<uint16_t>(counts.lastColumn + 1);
  group.yMax = static_cast<uint16_t>(counts.lastRow + 1);
  group.spanX = static_cast<uint16_t>(counts.lastColumn - counts.firstColumn);
  group.spanY = static_cast<uint16_t>(counts.lastRow - counts.firstRow);
}

}  // namespace

void countGroups(Layer& layer) {
  const std::size_t entries = std::size_t{layer.groupCount} + 1;
  layer.groups.resize(entries);
  const BlueLimits limits{countedBelow(FloodFill::almostNotBlueCounterLimit),
                          countedBelow(FloodFill::islandMinBlue)};
  const std::size_t byRows = layer.height / rowsPerTask + 1;
  const std::size_t byGroups = mostCounters / entries + 1;
  const std::size_t tasks = std::min(byRows, byGroups);
  std::vector<ScratchVector<Counts>> counts(tasks);
  workers::parallelFor(tasks, [&](std::size_t t) {
    counts[t].resize(entries);
    countRows(layer, static_cast<uint32_t>(layer.height * t / tasks),
              static_cast<uint32_t>(layer.height * (t + 1) / tasks), limits, counts[t]);
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
