// Any slices and parameters go through the whole analysis: its invariants hold, and where the plain
// version can keep up, the results are the same to the bit.

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include "core/core_stack.h"
#include "reference/analyse_stack.h"
#include "require.h"
#include "runtime/worker_pool.h"

namespace {

using stiltforge::reference::GroupResult;
using stiltforge::reference::SliceResult;
using stiltforge::reference::Stack;
using stiltforge::reference::SupportResult;

struct Setting {
  const char* key;
  double usual;
};

constexpr Setting settings[] = {
    {"supportStrength", 12},
    {"growthStrength", 1},
    {"strengthTransmited", 0.7},
    {"firstSupportMinStrength", 1},
    {"numberOfSamplePerSupport", 8},
    {"ghostPart", 1},
    {"strokePart", 0.7},
    {"anglePart", 0.5},
    {"numberOfSamplePerVoronoi", 20},
    {"maxSupportRadiusInIsland", 9},
    {"islandSupportMultiplier", 1.3},
    {"islandStrengthSupport", 1.1},
    {"strengthOfPlatePixel", 1},
    {"maxZGhost", 100},
    {"maxGhost", 20},
    {"ghostRadius", 7},
    {"maxVoronoiIteration", 3},
    {"validationDistanceFormVoronoi", 1},
    {"distCloseToIsland", 2},
    {"closeToIslandStrengthTransmited", 1.2},
    {"almostNotBlueCounterLimit", 90},
    {"islandMinBlue", 60},
    {"maxGhostValueToPlaceSupport", 1},
};

double readValue(FuzzedDataProvider& input, double usual) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  const double hostile[] = {0,   -0.0, -1,   1e-30, 1e30,    -1e30, inf,  -inf,
                            0.5, 1e10, 2e16, 255,   2.5e-45, 65536, 1e300};
  switch (input.ConsumeIntegralInRange(0, 9)) {
    case 0:
      return input.PickValueInArray(hostile);
    case 1:
      return std::numeric_limits<double>::quiet_NaN();
    case 2:
    case 3:
      return usual * input.ConsumeFloatingPointInRange(-1.0, 4.0);
    case 4:
      return input.ConsumeIntegral<int8_t>();
    default:
      return usual;
  }
}

// Anything from contract-keeping stretches to words at random.
void readSlice(FuzzedDataProvider& input, std::size_t pixels, std::vector<uint8_t>& slice) {
  const bool keepsContract = input.ConsumeIntegralInRange(0, 3) != 0;
  while (slice.size() < 4 * pixels) {
    const std::size_t left = pixels - slice.size() / 4;
    const std::size_t length = std::min<std::size_t>(
        left,
        input.remaining_bytes() == 0 ? left : input.ConsumeIntegralInRange<std::size_t>(1, 40));
    uint32_t word = input.ConsumeIntegral<uint32_t>();
    if (keepsContract) word = (word & 1) != 0 ? word | 0xFF0000FF : 0xFF000000;
    for (std::size_t i = 0; i < length; ++i) {
      for (int shift = 0; shift < 32; shift += 8) {
        slice.push_back(static_cast<uint8_t>(word >> shift));
      }
    }
  }
}

Stack readStack(FuzzedDataProvider& input) {
  Stack stack;
  stack.width = input.ConsumeIntegralInRange<uint16_t>(1, 32);
  stack.height = input.ConsumeIntegralInRange<uint16_t>(1, 32);
  stack.parameters["addSupport"] = input.ConsumeIntegralInRange(0, 9) != 0;
  for (const Setting& setting : settings) {
    stack.parameters[setting.key] = readValue(input, setting.usual);
  }
  // Tables between these only take long to build.
  double& radius = stack.parameters["ghostRadius"];
  if (radius > 60 && radius <= 4096) radius = 60;
  const int slices = input.ConsumeIntegralInRange(1, 6);
  for (int n = 0; n < slices; ++n) {
    stack.slices.emplace_back();
    readSlice(input, std::size_t{stack.width} * stack.height, stack.slices.back());
  }
  return stack;
}

// Whether the plain version places the supports one by one in bearable time and memory.
bool isTame(const std::map<std::string, double>& p) {
  const double multiplier = p.at("islandSupportMultiplier");
  const double radius = p.at("maxSupportRadiusInIsland");
  return !(p.at("maxVoronoiIteration") > 12) && multiplier >= 0 && multiplier <= 4 &&
         (radius >= 0.1 || std::isnan(radius));
}

void checkGroup(const SliceResult& slice, const GroupResult& group) {
  uint64_t shared = 0;
  for (const uint32_t count : group.overlap) shared += count;
  require(shared == group.supportedPixel, "overlaps do not add up to the supported pixels");
  require(group.supports.size() <= group.numPixel, "more supports than pixels");
  for (const SupportResult& support : group.supports) {
    const std::size_t index = std::size_t{support.y} * slice.width + support.x;
    require(support.x < slice.width && support.y < slice.height &&
                slice.pixelBuffer[index] == 0x80000000u + group.id,
            "a support stands outside its group");
    require(slice.supportedPixels[index] != 255, "a support stands on supported material");
  }
}

void checkSlice(const SliceResult& slice, const std::vector<uint8_t>& sent) {
  std::vector<uint32_t> pixels(slice.groups.size() + 1, 0);
  for (std::size_t i = 0; i < slice.pixelBuffer.size(); ++i) {
    if (sent[4 * i] == 0) continue;
    const uint32_t label = slice.pixelBuffer[i] - 0x80000000u;
    require(label >= 1 && label <= slice.groups.size(), "material without a label");
    ++pixels[label];
  }
  for (const GroupResult& group : slice.groups) {
    require(pixels[group.id] == group.numPixel, "a group has a wrong number of pixels");
    checkGroup(slice, group);
  }
}

}  // namespace

// One thread, so that an input always takes the same road; results do not depend on the number.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  stiltforge::workers::setCount(1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const Stack stack = readStack(input);
  std::vector<SliceResult> slices;
  try {
    slices = stiltforge::analyseWithCore(stack);
  } catch (const std::length_error&) {
    require(stack.parameters.at("ghostRadius") > 4096, "a ghost radius was refused");
    return 0;
  }
  for (std::size_t n = 0; n < slices.size(); ++n) checkSlice(slices[n], stack.slices[n]);
  if (isTame(stack.parameters)) {
    const std::string difference =
        stiltforge::firstDifference(slices, stiltforge::reference::analyseStack(stack));
    require(difference.empty(), "differs from the plain version: " + difference);
  }
  return 0;
}
