#include "analysis/run_extraction.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "analysis/solid_mask.h"
#include "runtime/scratch_vector.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

// A band of a 4K slice fits the second-level cache, so the channels are read from there.
constexpr std::size_t pixelsPerBand = std::size_t{1} << 16;
constexpr uint32_t pixelsPerRunWhenDense = 32;

bool isDense(std::size_t runs, uint32_t width) {
  return runs > width / pixelsPerRunWhenDense;
}

struct Band {
  uint32_t firstRow = 0;
  uint32_t endRow = 0;
  ScratchVector<SolidRun> runs;
};

// The columns at which material begins and ends, in turn; returns how many. Writes no more than the
// width plus one.
std::size_t findEdges(const uint64_t* masks, uint32_t width, uint16_t* edges) {
  std::size_t count = 0;
  uint64_t carry = 0;
  for (uint32_t word = 0; word * 64 < width; ++word) {
    const uint64_t mask = masks[word];
    uint64_t changes = mask ^ ((mask << 1) | carry);
    carry = mask >> 63;
    for (; changes != 0; changes &= changes - 1) {
      edges[count++] =
          static_cast<uint16_t>(word * 64 + static_cast<uint32_t>(std::countr_zero(changes)));
    }
  }
  if (carry) edges[count++] = static_cast<uint16_t>(width);
  return count;
}

void splitChannels(const uint32_t* pixels, std::size_t n, uint8_t* blue, uint8_t* green) {
  for (std::size_t i = 0; i < n; ++i) {
    green[i] = static_cast<uint8_t>(pixels[i] >> 8);
    blue[i] = static_cast<uint8_t>(pixels[i] >> 16);
  }
}

// The same over background too, which becomes 0.
void splitSolidChannels(const uint32_t* pixels, std::size_t n, uint8_t* blue, uint8_t* green) {
  for (std::size_t i = 0; i < n; ++i) {
    const uint32_t pixel = (pixels[i] & 0xFF) != 0 ? pixels[i] : 0;
    green[i] = static_cast<uint8_t>(pixel >> 8);
    blue[i] = static_cast<uint8_t>(pixel >> 16);
  }
}

void extractBand(Layer& layer, Band& band, bool clearBackground) {
  const uint32_t width = layer.width;
  const SolidMaskFunction solidMasks = solidMaskFunction();
  std::vector<uint64_t> masks((width + 63) / 64);
  std::vector<uint16_t> edges(std::size_t{width} + 1);
  for (uint32_t y = band.firstRow; y < band.endRow; ++y) {
    const std::size_t base = static_cast<std::size_t>(y) * width;
    const uint32_t* pixels = layer.pixelBuffer.data() + base;
    uint8_t* blue = layer.supportedPixels.data() + base;
    uint8_t* green = layer.strokePixels.data() + base;
    solidMasks(pixels, width, masks.data());
    const std::size_t runCount = findEdges(masks.data(), width, edges.data()) / 2;
    layer.rowRuns[y + 1] = static_cast<uint32_t>(runCount);
    const bool dense = isDense(runCount, width);
    if (dense) splitSolidChannels(pixels, width, blue, green);
    uint32_t cleared = 0;
    for (std::size_t r = 0; r < runCount; ++r) {
      const SolidRun run{edges[2 * r], edges[2 * r + 1], 0};
      band.runs.push_back(run);
      if (dense) continue;
      if (clearBackground) std::memset(blue + cleared, 0, run.begin - cleared);
      splitChannels(pixels + run.begin, run.end - run.begin, blue + run.begin, green + run.begin);
      cleared = run.end;
    }
    if (clearBackground && !dense) std::memset(blue + cleared, 0, width - cleared);
  }
}

}  // namespace

bool isDenseRow(const Layer& layer, uint32_t y) {
  return isDense(layer.rowRuns[y + 1] - layer.rowRuns[y], layer.width);
}

void extractRuns(Layer& layer, bool clearBackground) {
  const uint32_t height = layer.width == 0 ? 0 : layer.height;
  layer.runs.clear();
  layer.rowRuns.assign(std::size_t{layer.height} + 1, 0);
  if (height == 0) return;

  const uint32_t rowsPerBand =
      static_cast<uint32_t>(std::max<std::size_t>(1, pixelsPerBand / layer.width));
  std::vector<Band> bands((height + rowsPerBand - 1) / rowsPerBand);
  for (std::size_t b = 0; b < bands.size(); ++b) {
    bands[b].firstRow = static_cast<uint32_t>(b) * rowsPerBand;
    bands[b].endRow = std::min(height, bands[b].firstRow + rowsPerBand);
  }
  workers::parallelFor(bands.size(),
                       [&](std::size_t b) { extractBand(layer, bands[b], clearBackground); });

  for (uint32_t y = 0; y < height; ++y) layer.rowRuns[y + 1] += layer.rowRuns[y];
  layer.runs.reserve(layer.rowRuns[height]);
  for (const Band& band : bands) {
    layer.runs.insert(layer.runs.end(), band.runs.begin(), band.runs.end());
  }
}

}  // namespace stiltforge
