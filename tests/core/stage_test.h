#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <utility>
#include <vector>

#include "analysis/flood_fill.h"
#include "analysis/support_inheritance.h"
#include "core/core_stack.h"
#include "core/drawing.h"
#include "support/slice_pipeline.h"

namespace stiltforge {

// Starts every test from the settings that hold before the host sets any, with sampling and support
// strengths that place something.
class StageTest : public testing::Test {
 protected:
  void SetUp() override {
    applyParameters({{"supportStrength", 20},
                     {"growthStrength", 1},
                     {"strengthTransmited", 1},
                     {"firstSupportMinStrength", 2},
                     {"numberOfSamplePerSupport", 10},
                     {"ghostPart", 1},
                     {"strokePart", 1},
                     {"anglePart", 0.5},
                     {"numberOfSamplePerVoronoi", 30},
                     {"maxSupportRadiusInIsland", 60},
                     {"islandSupportMultiplier", 1},
                     {"islandStrengthSupport", 1},
                     {"strengthOfPlatePixel", 1},
                     {"maxZGhost", 1},
                     {"maxGhost", 200},
                     {"ghostRadius", 60},
                     {"maxVoronoiIteration", 1},
                     {"validationDistanceFormVoronoi", 1},
                     {"distCloseToIsland", 2},
                     {"closeToIslandStrengthTransmited", 1.2},
                     {"almostNotBlueCounterLimit", 50},
                     {"islandMinBlue", 50}});
  }
};

// A model under analysis, slice by slice. The size of its first slice is that of all.
class ModelTest : public StageTest {
 protected:
  // Segments the next slice and relates it to the last.
  Layer& segment(Layer layer) {
    prepareTop(layer);
    FloodFill fill;
    fill.layer = &layer;
    fill.previousLayer = layers.empty() ? nullptr : &layers.back();
    fill.layerIndex = static_cast<uint32_t>(layers.size());
    fill.topPixelBuffer = &top;
    fill.topPixelCount = top.size();
    fill.needBuffer = needBuffer;
    fill.run();
    layers.push_back(std::move(layer));
    return layers.back();
  }
  Layer& segment(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
    return segment(draw(rows, blue, green));
  }

  // Takes the next slice through the whole pipeline; keeps the number of supports in `placed`.
  Layer& analyse(Layer layer) {
    prepareTop(layer);
    SlicePipeline pipeline;
    pipeline.layers = &layers;
    pipeline.historyMutex = &historyMutex;
    pipeline.topPixelBuffer = &top;
    pipeline.topPixelCount = top.size();
    pipeline.needBuffer = needBuffer;
    pipeline.scratch = &scratch;
    placed = pipeline.run(std::move(layer));
    spentPixels = std::move(pipeline.spentPixels);
    return layers.back();
  }
  Layer& analyse(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
    return analyse(draw(rows, blue, green));
  }

  void prepareTop(const Layer& layer) {
    if (!layers.empty()) return;
    top = Plane<uint32_t>(std::size_t{layer.width} * layer.height);
    std::fill_n(top.data(), top.size(), 0);
  }

  std::vector<uint32_t> overlapOf(const Group& group) const {
    std::vector<uint32_t> overlap(group.overlapCount, 0);
    for (uint32_t i = 0; i < group.overlapEntries; ++i) {
      const Layer::Overlap& entry = layers.back().overlaps[group.firstOverlap + i];
      overlap.at(entry.lower) = entry.count;
    }
    return overlap;
  }

  std::vector<Layer> layers;
  std::mutex historyMutex;
  Plane<uint32_t> top;
  SliceScratch scratch;
  Plane<uint32_t> spentPixels;
  bool needBuffer = true;
  uint32_t placed = 0;
};

}  // namespace stiltforge
