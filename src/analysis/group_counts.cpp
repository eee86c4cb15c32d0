#include "analysis/group_counts.h"

#include <algorithm>
#include <vector>

#include "analysis/flood_fill.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr uint32_t rowsPerTask = 64;
// Every task counts all groups on its own; with many groups that costs more than it gains.
constexpr std::size_t mostCounters = std::size_t{1} << 20;
constexpr std::size_t shortRun = 16;

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
  if (n < shortRun) {
    for (std::size_t i = 0; i < n; ++i) {
      counts.unsupported += blue[i] != 255;
      counts.almostNotBlue += blue[i] < limits.almostNotBlue;
      counts.island += blue[i] < limits.island;
    }
    return;
  }
  for (std::size_t start = 0; start < n; start += block) {
    countBlock(blue + start, std::min(n - start, block), limits, counts);
  }
}

void countRows(const Layer& layer, uint32_t firstRow, uint32_t endRow, BlueLimits limits,
               std::vector<Counts>& counts) {
  for (uint32_t y = firstRow; y < endRow; ++y) {
    const auto row = static_cast<uint16_t>(y);
    const uint8_t* blue = layer.supportedPixels.data() + std::size_t{y} * layer.width;
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
      const SolidRun& run = layer.runs[r];
      Counts& group = counts[run.group];
      group.pixels += static_cast<uint32_t>(run.end - run.begin);
      group.firstColumn = std::min(group.firstColumn, run.begin);
      group.lastColumn = std::max(group.lastColumn, static_cast<uint16_t>(run.end - 1));
      group.firstRow = std::min(group.firstRow, row);
      group.lastRow = row;
      countRun(blue + run.begin, run.end - run.begin, limits, group);
    }
  }
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
  std::vector<std::vector<Counts>> counts(tasks);
  workers::parallelFor(tasks, [&](std::size_t t) {
    counts[t].resize(entries);
    countRows(layer, static_cast<uint32_t>(layer.height * t / tasks),
              static_cast<uint32_t>(layer.height * (t + 1) / tasks), limits, counts[t]);
  });
  for (uint32_t id = 1; id < entries; ++id) {
    for (std::size_t t = 1; t < tasks; ++t) counts[0][id].add(counts[t][id]);
    Group& group = layer.groups[id];
    group.id = id;
    store(counts[0][id], group);
    layer.pixelCount += group.numPixel;
  }
}

}  // namespace stiltforge
