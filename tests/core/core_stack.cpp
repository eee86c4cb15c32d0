#include "core/core_stack.h"

#include <cmath>
#include <cstring>
#include <sstream>
#include <unordered_map>

#include "analysis/run_extraction.h"
#include "model/model.h"
#include "model/parameters.h"

namespace stiltforge {

namespace {

using reference::GhostResult;
using reference::GroupResult;
using reference::SliceResult;

using GhostPlaces = std::unordered_map<const Voxel*, GhostResult>;

// lowerGroups: of the layer below, placeholder included. What the plain version notes of a group
// and nothing reads follows from the rest.
GroupResult resultOf(const Group& group, const Layer& layer, std::size_t lowerGroups,
                     const GhostPlaces& places) {
  GroupResult result;
  result.id = group.id;
  result.numPixel = group.numPixel;
  result.supportedPixel = group.supportedPixel;
  result.xMin = group.xMin;
  result.yMin = group.yMin;
  result.xMax = group.xMax;
  result.yMax = group.yMax;
  result.spanX = static_cast<uint16_t>(group.xMax - group.xMin - 1);
  result.spanY = static_cast<uint16_t>(group.yMax - group.yMin - 1);
  result.islandDistance = group.islandDistance;
  result.overlap.assign(lowerGroups, 0);
  for (uint32_t i = 0; i < group.overlapEntries; ++i) {
    const Layer::Overlap& overlap = layer.overlaps[group.firstOverlap + i];
    result.overlap.at(overlap.lower) = overlap.count;
  }
  result.strength = lowerGroups == 0 ? static_cast<float>(group.numPixel) : 0.0f;
  result.pixelStrength = group.pixelStrength;
  result.unsupportedPixelCount = group.unsupportedPixelCount;
  result.almostNotBlueCount = group.almostNotBlueCount;
  result.islandBlueCount = group.islandBlueCount;
  if (!group.placement) return result;
  if (const SampleRecord* samples = group.placement->samples.get()) {
    result.angleNorm = result.strokeNorm = 255.0f;
    result.ghostNorm = samples->ghostNorm;
    result.scoreNorm = samples->scoreNorm;
    result.maxScore = samples->rows.empty() ? 0.0f : samples->scoreNorm;
  }
  for (const Voxel& v : group.placement->supports) {
    result.supports.push_back({v.index, v.x, v.y, v.z, v.isMinima, v.score});
  }
  for (const Voxel* ghost : group.placement->ghostSupports) {
    result.ghostSupports.push_back(places.at(ghost));
  }
  return result;
}

reference::GroupBitmaps bitmapsOf(Model& model, std::size_t layer, std::size_t group) {
  GroupImages images = model.renderGroup(layer, group);
  reference::GroupBitmaps bitmaps;
  bitmaps.width = images.width;
  bitmaps.height = images.height;
  for (std::size_t k = 0; k < bitmaps.images.size(); ++k) {
    bitmaps.images[k] = std::move(images.images[k]);
  }
  return bitmaps;
}

// Floats are compared by their bits, so that -0 differs from 0. The sign of a NaN is the compiler's
// choice.
uint32_t bits(float value) {
  if (std::isnan(value)) return 0x7FC00000;
  uint32_t word = 0;
  std::memcpy(&word, &value, sizeof word);
  return word;
}

class Comparison {
 public:
  template <typename T>
  void expect(const char* name, const T& actual, const T& expected) {
    if (!text_.str().empty() || actual == expected) return;
    text_ << name;
    if constexpr (std::is_arithmetic_v<T>) text_ << ": " << +actual << " instead of " << +expected;
  }
  void expectBits(const char* name, float actual, float expected) {
    if (!text_.str().empty() || bits(actual) == bits(expected)) return;
    text_ << name << ": " << actual << " instead of " << expected;
  }
  std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
};

bool sameSupports(const GroupResult& a, const GroupResult& b) {
  if (a.supports.size() != b.supports.size()) return false;
  for (std::size_t i = 0; i < a.supports.size(); ++i) {
    const reference::SupportResult& left = a.supports[i];
    const reference::SupportResult& right = b.supports[i];
    if (left.index != right.index || left.x != right.x || left.y != right.y || left.z != right.z ||
        left.isMinima != right.isMinima || bits(left.score) != bits(right.score)) {
      return false;
    }
  }
  return true;
}

std::string differenceOf(const GroupResult& actual, const GroupResult& expected) {
  Comparison c;
  c.expect("id", actual.id, expected.id);
  c.expect("numPixel", actual.numPixel, expected.numPixel);
  c.expect("supportedPixel", actual.supportedPixel, expected.supportedPixel);
  c.expect("xMin", actual.xMin, expected.xMin);
  c.expect("yMin", actual.yMin, expected.yMin);
  c.expect("xMax", actual.xMax, expected.xMax);
  c.expect("yMax", actual.yMax, expected.yMax);
  c.expect("spanX", actual.spanX, expected.spanX);
  c.expect("spanY", actual.spanY, expected.spanY);
  c.expect("islandDistance", actual.islandDistance, expected.islandDistance);
  c.expect("overlap", actual.overlap, expected.overlap);
  c.expectBits("strength", actual.strength, expected.strength);
  c.expect("unsupportedPixelCount", actual.unsupportedPixelCount, expected.unsupportedPixelCount);
  c.expect("almostNotBlueCount", actual.almostNotBlueCount, expected.almostNotBlueCount);
  c.expect("islandBlueCount", actual.islandBlueCount, expected.islandBlueCount);
  c.expect("ghostSupports", actual.ghostSupports, expected.ghostSupports);
  c.expectBits("ghostNorm", actual.ghostNorm, expected.ghostNorm);
  c.expectBits("scoreNorm", actual.scoreNorm, expected.scoreNorm);
  c.expectBits("maxScore", actual.maxScore, expected.maxScore);
  c.expectBits("angleNorm", actual.angleNorm, expected.angleNorm);
  c.expectBits("strokeNorm", actual.strokeNorm, expected.strokeNorm);
  c.expectBits("pixelStrength", actual.pixelStrength, expected.pixelStrength);
  c.expect("support count", actual.supports.size(), expected.supports.size());
  c.expect("supports", sameSupports(actual, expected), true);
  c.expect("image width", actual.bitmaps.width, expected.bitmaps.width);
  c.expect("image height", actual.bitmaps.height, expected.bitmaps.height);
  c.expect("images", actual.bitmaps.images, expected.bitmaps.images);
  return c.text();
}

}  // namespace

ModelParameters parametersOf(const reference::Stack& stack) {
  ModelParameters parameters;
  for (const auto& [name, value] : stack.parameters) {
    const Parameter* parameter = findParameter(name.c_str());
    if (parameter) storeParameter(parameters, *parameter, value);
  }
  parameters.width = stack.width;
  parameters.height = stack.height;
  return parameters;
}

std::vector<SliceResult> analyseWithCore(const reference::Stack& stack, bool needBuffer) {
  const ModelParameters parameters = parametersOf(stack);
  const std::size_t pixels = std::size_t{stack.width} * stack.height;
  Model model(parameters.settings, pixels);
  GhostPlaces places;
  std::vector<SliceResult> results;
  for (const std::vector<uint8_t>& slice : stack.slices) {
    SliceResult result;
    Model::SliceOptions options;
    options.addSupport = parameters.addSupport;
    SliceBuffers buffers;
    std::vector<uint32_t> picture(pixels);
    if (needBuffer) {
      result.pixelBuffer.resize(pixels);
      result.topPixelBuffer.resize(pixels);
      result.supportedPixels.resize(pixels);
      buffers.picture = picture.data();
      buffers.labels = result.pixelBuffer.data();
      buffers.markers = result.topPixelBuffer.data();
      buffers.supportValues = result.supportedPixels.data();
      options.buffers = &buffers;
    }
    result.supportCount = model.analyse(sliceOfPixels(slice.data(), stack.width, stack.height,
                                                      reinterpret_cast<uint8_t*>(picture.data())),
                                        options);

    const Layer& layer = model.layers().back();
    result.width = layer.width;
    result.height = layer.height;
    result.pixelCount = layer.pixelCount;
    result.groupCount = layer.groupCount;
    const std::size_t layers = model.layers().size();
    const std::size_t lowerGroups = layers > 1 ? model.layers()[layers - 2].groupEntries() : 0;
    for (std::size_t id = 1; id < layer.groups.size(); ++id) {
      const Group& group = layer.groups[id];
      result.groups.push_back(resultOf(group, layer, lowerGroups, places));
      if (!group.placement) continue;
      for (uint32_t s = 0; s < group.placement->supports.size(); ++s) {
        places[&group.placement->supports[s]] = {static_cast<uint32_t>(layers - 1),
                                                 static_cast<uint32_t>(id), s};
      }
    }
    results.push_back(std::move(result));
  }
  for (std::size_t n = 0; n < model.layers().size(); ++n) {
    for (std::size_t id = 1; id < model.layers()[n].groupEntries(); ++id) {
      results[n].groups[id - 1].bitmaps = bitmapsOf(model, n, id);
    }
  }
  return results;
}

std::string firstDifference(const std::vector<SliceResult>& actual,
                            const std::vector<SliceResult>& expected) {
  if (actual.size() != expected.size()) return "number of slices";
  for (std::size_t n = 0; n < actual.size(); ++n) {
    const std::string slice = "slice " + std::to_string(n) + ", ";
    Comparison c;
    c.expect("pixelCount", actual[n].pixelCount, expected[n].pixelCount);
    c.expect("groupCount", actual[n].groupCount, expected[n].groupCount);
    c.expect("pixelBuffer", actual[n].pixelBuffer, expected[n].pixelBuffer);
    c.expect("topPixelBuffer", actual[n].topPixelBuffer, expected[n].topPixelBuffer);
    c.expect("supportedPixels", actual[n].supportedPixels, expected[n].supportedPixels);
    if (!c.text().empty()) return slice + c.text();
    for (std::size_t i = 0; i < actual[n].groups.size(); ++i) {
      const std::string difference = differenceOf(actual[n].groups[i], expected[n].groups[i]);
      if (!difference.empty()) return slice + "group " + std::to_string(i + 1) + ", " + difference;
    }
    c.expect("supportCount", actual[n].supportCount, expected[n].supportCount);
    if (!c.text().empty()) return slice + c.text();
  }
  return {};
}

}  // namespace stiltforge
