// Any triangles and settings give an error or slices that keep to the pixel contract, and the same
// slices as pictures and as runs.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "require.h"
#include "runtime/worker_pool.h"
#include "slicing/slicer.h"
#include "slicing/slicing_error.h"

namespace {

using stiltforge::Run;
using stiltforge::Slice;
using stiltforge::slicing::SliceInfo;
using stiltforge::slicing::Slicer;
using stiltforge::slicing::SlicerSettings;
using stiltforge::slicing::SlicingError;

constexpr std::size_t mostPixels = 1 << 15;

double readSetting(FuzzedDataProvider& input, double usual) {
  switch (input.ConsumeIntegralInRange(0, 5)) {
    case 0:
      return input.ConsumeFloatingPoint<double>();
    case 1:
      return usual * input.ConsumeFloatingPointInRange(-1.0, 4.0);
    default:
      return usual;
  }
}

SlicerSettings readSettings(FuzzedDataProvider& input) {
  SlicerSettings settings;
  settings.screen.pixelSize = readSetting(input, 0.5);
  settings.screen.width = input.ConsumeIntegralInRange<uint32_t>(0, 700);
  settings.screen.height = input.ConsumeIntegralInRange<uint32_t>(0, 700);
  settings.screen.offsetX = readSetting(input, 1.0);
  settings.screen.offsetY = readSetting(input, 0.0);
  settings.screen.margin = input.ConsumeBool() ? input.ConsumeIntegral<uint32_t>() : 2;
  settings.channels.layerHeight = readSetting(input, 0.5);
  settings.channels.criticalAngle = readSetting(input, 45);
  settings.channels.inset = readSetting(input, 0.4);
  if (input.ConsumeBool()) settings.channels.fullOverhang = readSetting(input, 0.5);
  return settings;
}

// Corners on a small grid meet, overlap and fold back; raw floats are anything at all.
std::vector<float> readPositions(FuzzedDataProvider& input) {
  const bool isHostile = input.ConsumeIntegralInRange(0, 7) == 0;
  std::vector<float> positions;
  while (input.remaining_bytes() > 0 && positions.size() < 9 * 200) {
    float value = static_cast<float>(input.ConsumeIntegralInRange(-40, 40)) / 2.0f;
    if (isHostile && input.ConsumeBool()) {
      const auto bits = input.ConsumeIntegral<uint32_t>();
      std::memcpy(&value, &bits, sizeof value);
    }
    positions.push_back(value);
  }
  if (!isHostile) positions.resize(positions.size() / 9 * 9);
  return positions;
}

void checkPixels(const std::vector<uint8_t>& rgba, const SliceInfo& info) {
  uint64_t material = 0;
  uint64_t background = 0;
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    if (rgba[i + 3] != 255) continue;
    material += rgba[i] == 255;
    background += rgba[i] == 0 && rgba[i + 1] == 0 && rgba[i + 2] == 0;
  }
  require((material + background) * 4 == rgba.size(),
          "a pixel is neither opaque material nor background");
  require(material == info.materialPixels, "the number of material pixels is wrong");
}

// The runs and the picture of a slice hold the same.
void checkRuns(const Slice& slice, const std::vector<uint8_t>& rgba) {
  require(slice.material.height() == slice.height && slice.overhang.height() == slice.height,
          "rows are missing");
  require(std::size_t{4} * slice.width * slice.height == rgba.size(), "the sizes differ");
  const std::size_t overhanging = slice.overhang.pixelCount();
  require(slice.blue.size() == overhanging && slice.green.size() == overhanging,
          "the channels do not fit the overhang");
  const uint8_t* pixel = rgba.data();
  std::size_t next = 0;
  bool same = true;
  for (int y = 0; y < slice.height; ++y) {
    std::vector<uint8_t> red(slice.width);
    for (const Run& run : slice.material.row(y)) {
      std::fill(red.begin() + run.begin, red.begin() + run.end, uint8_t{255});
    }
    std::vector<uint8_t> overhangs(slice.width);
    for (const Run& run : slice.overhang.row(y)) {
      std::fill(overhangs.begin() + run.begin, overhangs.begin() + run.end, uint8_t{1});
    }
    for (std::size_t x = 0; x < slice.width; ++x, pixel += 4) {
      same = same && pixel[0] == red[x] && (overhangs[x] == 1) == (red[x] == 255 && pixel[2] < 255);
      if (overhangs[x] == 0) continue;
      same = same && pixel[1] == slice.green[next] && pixel[2] == slice.blue[next];
      ++next;
    }
  }
  require(same, "the runs differ from the picture");
}

}  // namespace

// One thread, so that an input always takes the same road; results do not depend on the number.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  stiltforge::workers::setCount(1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const SlicerSettings settings = readSettings(input);
  const uint32_t stride = input.ConsumeIntegralInRange<uint32_t>(1, 4000);
  const std::vector<float> positions = readPositions(input);
  try {
    Slicer slicer(positions, settings);
    const auto width = static_cast<std::size_t>(slicer.placement().width);
    const auto height = static_cast<std::size_t>(slicer.placement().height);
    require(slicer.layerCount() >= 1 && width >= 1 && height >= 1, "a model without layers");
    if (width * height > mostPixels) return 0;
    std::vector<uint8_t> rgba(width * height * 4, 7);
    std::vector<uint8_t> again(rgba.size(), 9);
    uint32_t index = 0;
    for (int n = 0; n < 8; ++n) {
      checkPixels(rgba, slicer.slice(index, rgba.data()));
      const uint32_t next = index + (n % 2 == 0 ? 1 : stride);
      if (next >= slicer.layerCount()) break;
      index = next;
    }
    Slicer other(positions, settings);
    const SliceInfo info = other.slice(index, again.data());
    checkPixels(again, info);
    std::vector<Slice> slices(std::min<std::size_t>(3, slicer.layerCount() - index));
    slicer.slice(index, slices);
    for (const Slice& slice : slices) {
      other.slice(index++, again.data());
      checkRuns(slice, again);
    }
  } catch (const SlicingError& error) {
    require(std::strlen(error.what()) > 10, "an error without a sentence");
  }
  return 0;
}
