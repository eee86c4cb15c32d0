// Any triangles and settings give an error or slices that keep to the pixel contract.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "require.h"
#include "slicing/slicer.h"
#include "slicing/slicing_error.h"

namespace {

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
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    require(rgba[i + 3] == 255, "a pixel is not opaque");
    require(rgba[i] == 255 || (rgba[i] == 0 && rgba[i + 1] == 0 && rgba[i + 2] == 0),
            "a pixel is neither material nor background");
    material += rgba[i] == 255;
  }
  require(material == info.materialPixels, "the number of material pixels is wrong");
}

}  // namespace

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
    const SliceInfo info = Slicer(positions, settings).slice(index, again.data());
    checkPixels(again, info);
  } catch (const SlicingError& error) {
    require(std::strlen(error.what()) > 10, "an error without a sentence");
  }
  return 0;
}
