// The results are those of the plain version, whichever way a slice comes in.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "capi/parts.h"
#include "reference/analyse_stack.h"
#include "reference/stack_generator.h"

namespace stiltforge::capi_test {
namespace {

using reference::GroupResult;
using reference::SliceResult;
using reference::Stack;

// The stack with parameters that the interface takes.
Stack sensibleStack(uint64_t seed) {
  Stack stack = reference::generateStack(seed);
  for (const host::ParameterInfo& info : host::parameterTable()) {
    const auto found = stack.parameters.find(info.name);
    if (found == stack.parameters.end()) continue;
    double& value = found->second;
    value = std::isnan(value) ? info.default_value : std::clamp(value, info.least, info.most);
  }
  return stack;
}

host::Parameters parametersOf(const Stack& stack) {
  host::Parameters parameters;
  parameters.set("width", stack.width);
  parameters.set("height", stack.height);
  for (const auto& [name, value] : stack.parameters) parameters.set(name, value);
  return parameters;
}

// A slice in the arrays of a host.
struct Runs {
  std::vector<uint32_t> rowStart{0};
  std::vector<uint16_t> begin, end;

  void add(uint32_t column) {
    const bool goesOn = begin.size() > rowStart.back() && end.back() == column;
    if (!goesOn) {
      begin.push_back(static_cast<uint16_t>(column));
      end.push_back(static_cast<uint16_t>(column));
    }
    ++end.back();
  }
  void endRow() { rowStart.push_back(static_cast<uint32_t>(begin.size())); }
  stiltforge_runs view() const { return {rowStart.data(), begin.data(), end.data(), begin.size()}; }
};

host::Slice sliceFromRuns(const std::vector<uint8_t>& rgba, uint32_t width, uint32_t height) {
  Runs material;
  Runs overhang;
  std::vector<uint8_t> blue;
  std::vector<uint8_t> green;
  const uint8_t* pixel = rgba.data();
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x, pixel += 4) {
      if (pixel[0] == 0) continue;
      material.add(x);
      if (pixel[2] == 255) continue;
      overhang.add(x);
      blue.push_back(pixel[2]);
      green.push_back(pixel[1]);
    }
    material.endRow();
    overhang.endRow();
  }
  const stiltforge_overhang hanging{overhang.view(), blue.data(), green.data(), blue.size()};
  host::Slice slice;
  slice.setRuns(width, height, material.view(), &hanging);
  return slice;
}

host::Slice sliceFromPicture(const std::vector<uint8_t>& rgba, uint32_t width, uint32_t height) {
  host::Slice slice;
  slice.setRgba(rgba.data(), rgba.size(), width, height);
  return slice;
}

void expectGroup(const host::Group& group, const host::LayerView& layer,
                 const GroupResult& expected) {
  EXPECT_EQ(group.pixels, expected.numPixel);
  EXPECT_EQ(group.supported_pixels, expected.supportedPixel);
  EXPECT_EQ(group.x_min, expected.xMin);
  EXPECT_EQ(group.y_min, expected.yMin);
  EXPECT_EQ(group.x_max, expected.xMax);
  EXPECT_EQ(group.y_max, expected.yMax);
  ASSERT_EQ(group.support_count, expected.supports.size());
  for (std::size_t i = 0; i < expected.supports.size(); ++i) {
    const host::Support& support = layer.supports()[group.first_support + i];
    EXPECT_EQ(support.x, expected.supports[i].x);
    EXPECT_EQ(support.y, expected.supports[i].y);
    EXPECT_EQ(support.layer + 1, expected.supports[i].z);
    EXPECT_EQ(support.group, expected.id);
    EXPECT_EQ(support.island != 0, expected.supports[i].isMinima);
  }
}

void expectImages(host::Model& model, uint32_t layer, const GroupResult& expected) {
  const host::GroupImages images = model.groupImages(layer, expected.id);
  ASSERT_EQ(images.width(), expected.bitmaps.width);
  ASSERT_EQ(images.height(), expected.bitmaps.height);
  for (int32_t image = 0; image < STILTFORGE_IMAGE_COUNT; ++image) {
    const auto pixels = images.pixels(image);
    const auto& same = expected.bitmaps.images[static_cast<std::size_t>(image)];
    EXPECT_EQ(std::vector<uint8_t>(pixels.begin(), pixels.end()), same) << image;
  }
}

template <typename MakeSlice>
void expectPlainResults(const Stack& stack, MakeSlice&& makeSlice) {
  const std::vector<SliceResult> expected = reference::analyseStack(stack);
  host::Model model(parametersOf(stack));
  const std::size_t pixels = std::size_t{stack.width} * stack.height;
  std::vector<uint32_t> labels(pixels);
  std::vector<uint32_t> markers(pixels);
  std::vector<uint8_t> values(pixels);
  host::AnalysisOptions options;
  options.pixel_count = pixels;
  options.labels = labels.data();
  options.markers = markers.data();
  options.support_values = values.data();
  for (std::size_t i = 0; i < stack.slices.size(); ++i) {
    SCOPED_TRACE("slice " + std::to_string(i));
    const host::Layer layer =
        model.analyse(makeSlice(stack.slices[i], stack.width, stack.height), options);
    EXPECT_EQ(layer.index(), i);
    EXPECT_EQ(layer.pixels(), expected[i].pixelCount);
    ASSERT_EQ(layer.groups().size(), expected[i].groups.size());
    for (std::size_t g = 0; g < expected[i].groups.size(); ++g) {
      expectGroup(layer.groups()[g], layer, expected[i].groups[g]);
    }
    EXPECT_EQ(labels, expected[i].pixelBuffer);
    EXPECT_EQ(markers, expected[i].topPixelBuffer);
    EXPECT_EQ(values, expected[i].supportedPixels);
  }
  std::vector<Place> all;
  for (uint32_t i = 0; i < expected.size(); ++i) {
    for (const GroupResult& group : expected[i].groups) {
      for (const auto& support : group.supports) {
        all.emplace_back(i, group.id, support.x, support.y, support.isMinima ? 1 : 0);
      }
      expectImages(model, i, group);
    }
  }
  EXPECT_EQ(places(model.supports()), all);
  EXPECT_EQ(model.layerCount(), expected.size());
  EXPECT_EQ(model.failedGroups(), 0u);
}

class GeneratedStack : public testing::TestWithParam<int> {};

TEST_P(GeneratedStack, OfPicturesGivesThePlainResults) {
  for (uint64_t seed = 0; seed < 20; ++seed) {
    const uint64_t number = 20 * static_cast<uint64_t>(GetParam()) + seed;
    SCOPED_TRACE("stack " + std::to_string(number));
    expectPlainResults(sensibleStack(number), sliceFromPicture);
  }
}

TEST_P(GeneratedStack, OfRunsGivesThePlainResults) {
  for (uint64_t seed = 0; seed < 20; ++seed) {
    const uint64_t number = 20 * static_cast<uint64_t>(GetParam()) + seed;
    SCOPED_TRACE("stack " + std::to_string(number));
    expectPlainResults(sensibleStack(number), sliceFromRuns);
  }
}

INSTANTIATE_TEST_SUITE_P(Batch, GeneratedStack, testing::Range(0, 6),
                         [](const auto& batch) { return "No" + std::to_string(batch.param); });

TEST(Model, GivesBlocksOneByOne) {
  const host::Slice slice = fullSlice(40, 30, 10);
  std::vector<uint32_t> words(40 * 30);
  std::vector<uint8_t> values(40 * 30);
  host::AnalysisOptions options;
  options.pixel_count = words.size();
  options.labels = words.data();
  host::Model(smallParameters()).analyse(slice, options);
  EXPECT_EQ(words, std::vector<uint32_t>(words.size(), 0x80000001));
  options.labels = nullptr;
  options.markers = words.data();
  host::Model(smallParameters()).analyse(slice, options);
  EXPECT_EQ(words, std::vector<uint32_t>(words.size(), 0xFE000000));
  options.markers = nullptr;
  options.support_values = values.data();
  host::Model(smallParameters()).analyse(slice, options);
  EXPECT_EQ(values[0], 255);
  EXPECT_EQ(values[39], 0);
}

TEST(Model, DoesNotChangeASliceSoThatModelsMayShareIt) {
  const host::Slice bottom = fullSlice(40, 30);
  const host::Slice wide = fullSlice(40, 30, 20);
  host::Model few(smallParameters());
  host::Parameters strong = smallParameters();
  strong.set("supportStrength", 10000);
  strong.set("addSupport", 0);
  host::Model none(strong);
  for (host::Model* model : {&few, &none}) {
    model->analyse(bottom);
    model->analyse(wide);
  }
  EXPECT_EQ(none.supports().size(), 0u);
  EXPECT_EQ(wide.info().overhang_pixels, 20u * 30);
}

TEST(Model, LayersOutliveTheirModel) {
  host::Layer layer(nullptr);
  {
    host::Model model(smallParameters());
    layer = model.analyse(fullSlice(40, 30));
  }
  EXPECT_EQ(layer.pixels(), 1200u);
  ASSERT_EQ(layer.groups().size(), 1u);
  EXPECT_EQ(layer.groups()[0].x_max, 40u);
}

TEST(Model, CopiesAsManySupportsAsThereIsRoomFor) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  host::Model model(slicer.parameters());
  model.analyse(slicer);
  const std::vector<host::Support> all = model.supports();
  ASSERT_GT(all.size(), 3u);
  std::vector<host::Support> some(3);
  std::memset(some.data(), 0xEE, some.size() * sizeof some[0]);
  std::size_t count = 0;
  ASSERT_EQ(stiltforge_model_get_supports(model.get(), some.data(), 2, &count, nullptr),
            STILTFORGE_OK);
  EXPECT_EQ(count, all.size());
  EXPECT_EQ(places(some)[1], places(all)[1]);
  EXPECT_EQ(some[2].x, 0xEEEEEEEEu) << "nothing is written beyond the room";
}

}  // namespace
}  // namespace stiltforge::capi_test
