#include "support/memory_estimate.h"

#include <algorithm>
#include <cmath>

#include "analysis/layer.h"
#include "support/candidate_sort.h"

namespace stiltforge {

namespace {

// A block of the allocator's own for each allocation, and vectors that double when they are full.
constexpr double allocation = 16;
constexpr double growth = 2;

// Rows that cross a region do so a few times; regions share a plate in rows and columns.
constexpr double crossingsPerRegion = 4;

// Coordinates and score of a sample, its entry among the candidates, its packed channels.
constexpr double bytesPerSample =
    2 * sizeof(uint16_t) + sizeof(float) + sizeof(Candidate) + growth * 2 * sizeof(uint8_t);
// Of a recorded pixel: its two channels, and its share of the headers and spans of short rows.
constexpr double bytesPerRecordedPixel = 3.5;

constexpr double bytesPerGhost = sizeof(void*);

constexpr double fixedBytes = 12 << 20;

// More than any machine has, and safe to add up.
constexpr double mostBytes = 0x1p60;

uint64_t bytes(double value) {
  return static_cast<uint64_t>(std::min(std::ceil(value), mostBytes));
}

}  // namespace

MemoryEstimate estimateMemory(const ModelSize& model) {
  const double pixels = static_cast<double>(model.width) * model.height;
  const double regions = model.regionsPerLayer;
  const auto supports = static_cast<double>(model.supports);
  MemoryEstimate estimate;

  double planes = sizeof(uint32_t) * std::max<double>(1, model.queuedSlices) + 2 * sizeof(uint8_t);
  if (model.needBuffer) {
    const double labels = sizeof(uint32_t);
    const double markers = sizeof(uint32_t);
    const double blue = sizeof(uint8_t);
    planes += markers + (labels + blue) + model.heldResults * (labels + markers + blue);
  }
  estimate.slices = bytes(pixels * planes);

  // Runs of two layers, and those of a layer in parts while they are put together.
  const double runsPerRow =
      std::min(model.width / 2.0 + 1, crossingsPerRegion * (std::sqrt(regions) + 1));
  const double runs = runsPerRow * model.height;
  const double perRegion = sizeof(Group) + 3 * sizeof(Layer::Overlap) + allocation;
  estimate.regions = bytes(runs * sizeof(SolidRun) * 2 * growth + 2 * growth * regions * perRegion);

  estimate.placement = bytes(pixels * model.unsupportedShare * bytesPerSample);

  // A sampled region keeps the ghosts that it was placed with. No more regions are sampled than
  // there are supports.
  const double ghosts = std::min<double>(model.ghostsPerRegion, supports / std::max(1.0, regions));
  const double perSampledRegion =
      sizeof(Placement) + sizeof(SampleRecord) + 4 * allocation + growth * ghosts * bytesPerGhost;
  const double perSupport = growth * sizeof(Voxel) + perSampledRegion +
                            bytesPerRecordedPixel * model.pixelsPerSupport +
                            2 * growth * bytesPerGhost;
  const double perLayer =
      growth * sizeof(Layer) + allocation + regions * (sizeof(ArchivedGroup) + allocation);
  estimate.history = bytes(model.layers * perLayer + supports * perSupport);

  const double side = std::ceil(2.0 * model.ghostRadius);
  estimate.fixed = bytes(fixedBytes + 2 * side * side * sizeof(float));
  return estimate;
}

}  // namespace stiltforge
