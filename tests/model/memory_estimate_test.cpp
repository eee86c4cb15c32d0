#include "model/memory_estimate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

namespace stiltforge {
namespace {

struct Drawing {
  int width;
  int height;
  int layers;
  int regions;
  bool needBuffer;
  int supportStrength;
};

std::string nameOf(const Drawing& d) {
  return std::to_string(d.width) + "x" + std::to_string(d.height) + "_" + std::to_string(d.layers) +
         "_layers_of_" + std::to_string(d.regions) + (d.needBuffer ? "_with_buffers" : "") +
         "_strength_" + std::to_string(d.supportStrength);
}
void PrintTo(const Drawing& drawing, std::ostream* out) {
  *out << nameOf(drawing);
}

struct Measured {
  uint64_t peak = 0;
  uint64_t supports = 0;
  uint64_t unsupportedPixels = 0;
};

constexpr int ghostRadius = 60;

// In a process of its own, whose peak is that of one analysis.
Measured measure(const Drawing& d) {
  std::ostringstream command;
  command << STILTFORGE_MEMORY_PROBE << ' ' << d.width << ' ' << d.height << ' ' << d.layers << ' '
          << d.regions << ' ' << d.needBuffer << ' ' << d.supportStrength << ' ' << ghostRadius;
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.str().c_str(), "r"), pclose);
  unsigned long long peak = 0;
  unsigned long long supports = 0;
  unsigned long long unsupported = 0;
  if (!pipe || std::fscanf(pipe.get(), "%llu %llu %llu", &peak, &supports, &unsupported) != 3) {
    throw std::runtime_error(command.str() + " failed");
  }
  return {peak, supports, unsupported};
}

bool processMemoryIsTheAnalysis() {
#ifdef STILTFORGE_SANITIZED
  return false;
#else
  return std::filesystem::exists("/proc/self/status");
#endif
}

class MemoryEstimateOfARun : public testing::TestWithParam<Drawing> {};

TEST_P(MemoryEstimateOfARun, BoundsThePeakAndIsNotFarAboveIt) {
  if (!processMemoryIsTheAnalysis()) GTEST_SKIP() << "needs /proc and no sanitizer";
  const Drawing& drawing = GetParam();
  const Measured measured = measure(drawing);

  ModelSize model;
  model.width = static_cast<uint16_t>(drawing.width);
  model.height = static_cast<uint16_t>(drawing.height);
  model.layers = static_cast<uint32_t>(drawing.layers);
  model.needBuffer = drawing.needBuffer;
  model.ghostRadius = ghostRadius;
  model.regionsPerLayer = static_cast<uint32_t>(drawing.regions);
  model.ghostsPerRegion = 200;
  model.supports = measured.supports;
  model.pixelsPerSupport = static_cast<double>(measured.unsupportedPixels) /
                           static_cast<double>(std::max<uint64_t>(measured.supports, 1));
  const uint64_t predicted = estimateMemory(model).total();
  uint64_t peak = measured.peak;
  // Threads that happened not to overlap took less than they may.
  for (int i = 0; i < 5 && predicted > 5 * peak / 2; ++i) {
    peak = std::max<uint64_t>(peak, measure(drawing).peak);
  }
  EXPECT_GE(predicted, peak);
  EXPECT_LE(predicted, 5 * peak / 2);
}

INSTANTIATE_TEST_SUITE_P(Drawings, MemoryEstimateOfARun,
                         testing::Values(Drawing{3840, 2400, 20, 20, false, 900},
                                         Drawing{3840, 2400, 20, 20, true, 900},
                                         Drawing{1920, 1080, 60, 200, false, 300},
                                         Drawing{640, 480, 300, 12, false, 400},
                                         Drawing{200, 200, 2000, 1, false, 400},
                                         Drawing{1920, 1080, 10, 20000, false, 10},
                                         Drawing{1920, 1080, 20, 1, false, 100000}),
                         [](const auto& drawing) { return nameOf(drawing.param); });

TEST(MemoryEstimate, OfSlicesFollowsTheirOverhangAndNotTheScreen) {
  ModelSize model;
  model.width = 1000;
  model.height = 1000;
  model.layers = 1;
  model.unsupportedShare = 0;
  const uint64_t supported = estimateMemory(model).slices;
  EXPECT_LT(supported, 1'000'000u);
  model.unsupportedShare = 0.5;
  EXPECT_GE(estimateMemory(model).slices, supported + 2 * 500'000u);
}

TEST(MemoryEstimate, EveryQueuedSliceAndHeldResultAddsItsPixels) {
  ModelSize model;
  model.width = 1000;
  model.height = 1000;
  model.needBuffer = true;
  const uint64_t one = estimateMemory(model).slices;
  model.heldResults = 2;
  const uint64_t held = estimateMemory(model).slices;
  EXPECT_EQ(held, one + 2 * 9'000'000u);
  model.queuedSlices = 3;
  EXPECT_GE(estimateMemory(model).slices, held + 2 * 4'000'000u);
}

TEST(MemoryEstimate, HistoryGrowsWithLayersAndSupports) {
  ModelSize model;
  model.width = 1000;
  model.height = 1000;
  model.layers = 100;
  const uint64_t few = estimateMemory(model).history;
  model.layers = 200;
  EXPECT_GE(estimateMemory(model).history, 2 * few - 1);
  model.supports = 1000;
  model.pixelsPerSupport = 5000;
  EXPECT_GT(estimateMemory(model).history, 2 * few + 1000 * 2 * 5000);
}

}  // namespace
}  // namespace stiltforge
