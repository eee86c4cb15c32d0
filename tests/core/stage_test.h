#pragma once

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "analysis/flood_fill.h"
#include "analysis/slice_buffers.h"
#include "analysis/support_inheritance.h"
#include "core/core_stack.h"
#include "core/drawing.h"
#include "model/model.h"

namespace stiltforge {

// Starts every test from the settings that hold before the host sets any, with sampling and support
// strengths that place something.
class StageTest : public testing::Test {
 protected:
  StageTest() {
    settings.supportStrength = 20;
    settings.growthStrength = 1;
    settings.strengthTransmited = 1;
    settings.firstSupportMinStrength = 2;
    settings.numberOfSamplePerSupport = 10;
    settings.ghostPart = 1;
    settings.numberOfSamplePerVoronoi = 30;
  }

  Settings settings;
};

// The pixels of a slice as a host gets them back.
struct Pixels {
  explicit Pixels(const Picture& picture)
      : labels(picture.pixels), markers(labels.size()), supportValues(labels.size()) {}

  SliceBuffers buffers() {
    SliceBuffers result;
    result.picture = labels.data();
    result.labels = labels.data();
    result.markers = markers.data();
    result.supportValues = supportValues.data();
    return result;
  }

  std::vector<uint32_t> labels;
  std::vector<uint32_t> markers;
  std::vector<uint8_t> supportValues;
};

// Slices that are segmented and related to each other, stage by stage. The size of the first is
// that of the model.
class LayersTest : public StageTest {
 protected:
  Layer& segment(const Picture& picture) {
    if (layers.empty()) {
      record = planeOf(std::vector<uint32_t>(picture.pixels.size(), 0));
    }
    Layer layer(sliceOf(picture));
    FloodFill fill;
    fill.settings = &settings;
    fill.layer = &layer;
    fill.previousLayer = layers.empty() ? nullptr : &layers.back();
    fill.markerCount = record.size();
    fill.run();
    last = Pixels(picture);
    fillBuffers(layer, static_cast<uint32_t>(layers.size()), record, last.buffers());
    layers.push_back(std::move(layer));
    return layers.back();
  }
  Layer& segment(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
    return segment(draw(rows, blue, green));
  }

  std::vector<uint32_t> overlapOf(const Group& group) const {
    const std::size_t lowerGroups = layers.size() > 1 ? layers[layers.size() - 2].groups.size() : 0;
    std::vector<uint32_t> overlap(lowerGroups, 0);
    for (uint32_t i = 0; i < group.overlapEntries; ++i) {
      const Layer::Overlap& entry = layers.back().overlaps[group.firstOverlap + i];
      overlap.at(entry.lower) = entry.count;
    }
    return overlap;
  }

  std::vector<Layer> layers;
  Plane<uint32_t> record;  // the highest layer with material, per pixel
  Pixels last{Picture{}};  // the pixels of the last slice
};

// A whole model, slice by slice. The size of the first is that of the model.
class ModelTest : public StageTest {
 protected:
  // Takes the next slice through all stages; keeps the number of supports in `placed`.
  const Layer& analyse(const Picture& picture, Model::SliceOptions options = {}) {
    if (model.layers().empty()) model.start(picture.pixels.size());
    model.setSettings(settings);
    placed = model.analyse(sliceOf(picture), options);
    return model.layers().back();
  }
  const Layer& analyse(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
    return analyse(draw(rows, blue, green));
  }
  const std::vector<Layer>& layers() const { return model.layers(); }

  Model model;
  uint32_t placed = 0;
};

}  // namespace stiltforge
