#include "model/memory_estimate.h"

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

// Support and stroke value.
constexpr double bytesPerOverhangPixel = 2 * sizeof(uint8_t);
// Provisional labels, links between them and the groups that they become.
constexpr double bytesPerLabelledRun = 5 * sizeof(uint32_t);
// Coordinates, channels and score of a sample, its entry among the candidates, its record.
constexpr double bytesPerSample = 2 * sizeof(uint16_t) + 2 * sizeof(uint8_t) + sizeof(float) +
                                  sizeof(Candidate) + growth * 2 * sizeof(uint8_t);
// Of a recorded pixel: its two channels, and its share of the headers and spans of short rows.
constexpr double bytesPerRecordedPixel = 3.5;

constexpr double bytesPerGhost = sizeof(void*);

constexpr double fixedBytes = 9 << 20;

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

  // Runs and overhang of a slice, found in bands and joined, for each slice in hand.
  const double runsPerRow =
      std::min(model.width / 2.0 + 1, crossingsPerRegion * (std::sqrt(regions) + 1));
  const double runs = runsPerRow * model.height;
  const double overhang = pixels * model.unsupportedShare;
  const double slicesInHand = std::max<double>(1, model.queuedSlices) + 1;
  double slices = slicesInHand * (growth * runs * (sizeof(Run) + sizeof(uint32_t)) +
                                  growth * overhang * bytesPerOverhangPixel);
  if (model.needBuffer) {
    const double picture = sizeof(uint32_t);
    const double markers = sizeof(uint32_t);
    const double result = 2 * sizeof(uint32_t) + sizeof(uint8_t);
    slices += pixels * (markers + slicesInHand * picture + (model.heldResults + 1.0) * result);
  }
  estimate.slices = bytes(slices);

  // Of two layers, and what labels them.
  const double perRun = 2 * sizeof(uint32_t) + bytesPerLabelledRun;
  const double perRegion = sizeof(Group) + 3 * sizeof(Layer::Overlap) + allocation;
  estimate.regions = bytes(growth * (runs * perRun + 2 * regions * perRegion));

  estimate.placement = bytes(overhang * bytesPerSample);

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
  estimate.fixed = bytes(fixedBytes + side * side);
  return estimate;
}

}  // namespace stiltforge
