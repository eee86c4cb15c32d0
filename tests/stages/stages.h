#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "analysis/flood_fill.h"
#include "analysis/support_inheritance.h"
#include "core/drawing.h"
#include "model/parameters.h"
#include "reference/analyse_stack.h"
#include "reference/flood_fill.h"
#include "reference/group_handler.h"
#include "reference/poisson.h"
#include "reference/support_inheritance.h"
#include "support/ghost_spread.h"
#include "support/group_overhang.h"
#include "support/group_plan.h"
#include "support/poisson.h"

namespace stiltforge::stages {

using Steps = std::pair<uint32_t, uint32_t>;

// What the generator is asked for.
struct Wanted {
  uint32_t supports = 0;
  std::optional<uint32_t> base = std::nullopt;  // supports that count for the strength; as many
  float strengthPerSupport = 1.0f;
  float transmittedStrength = 0.0f;
  bool isIsland = false;
};

// What it answers.
struct Placed {
  uint32_t supports = 0;  // kept
  uint32_t base = 0;      // that count for the strength in the end
  Steps steps{1, 1};      // of the lattice
  float scoreNorm = 0.1f;
  float ghostNorm = 0.1f;
};

// The stages of the library, one at a time, on a model of small drawings. PlainStages offers the
// same over the plain versions; a test of either is one of both.
class FastStages {
 public:
  static const char* name() { return "Fast"; }

  using Ghost = stiltforge::Voxel;

  Settings settings;

  // Takes the next slice of the model.
  void segment(const Picture& picture) {
    if (layers_.empty()) markers_ = picture.pixels.size();
    Layer layer(sliceOf(picture));
    FloodFill fill;
    fill.settings = &settings;
    fill.layer = &layer;
    fill.previousLayer = layers_.empty() ? nullptr : &layers_.back();
    fill.markerCount = markers_;
    fill.run();
    layers_.push_back(std::move(layer));
  }
  void startAnew() { layers_.clear(); }

  uint32_t groupCount() const { return layers_.back().groupCount; }
  uint32_t pixelCount() const { return layers_.back().pixelCount; }
  Group& group(uint32_t id = 1) { return layers_.back().groups.at(id); }
  Group& lowerGroup(uint32_t id = 1) { return layers_.at(layers_.size() - 2).groups.at(id); }

  std::vector<uint32_t> overlap(uint32_t id = 1) {
    const std::size_t lower =
        layers_.size() > 1 ? layers_[layers_.size() - 2].groups.size() : std::size_t{0};
    std::vector<uint32_t> shared(lower, 0);
    for (uint32_t i = 0; i < group(id).overlapEntries; ++i) {
      const Layer::Overlap& entry = layers_.back().overlaps[group(id).firstOverlap + i];
      shared.at(entry.lower) = entry.count;
    }
    return shared;
  }
  // Claims another number of pixels shared with the only lower group that group 1 touches.
  void claimShared(uint32_t pixels) {
    group().supportedPixel = pixels;
    layers_.back().overlaps[group().firstOverlap].count = pixels;
  }
  void claimIsland() { group().supportedPixel = group().overlapEntries = 0; }

  GroupPlan plan() {
    const Layer* below = layers_.size() > 1 ? &layers_[layers_.size() - 2] : nullptr;
    return GroupPlanner(layers_.back(), below, settings).plan(group());
  }

  // Gives a lower group supports of its own, or takes ghosts that somebody else keeps.
  void addLowerSupports(uint32_t id, std::size_t count) {
    lastGroup(id).ensurePlacement().supports.resize(count);
  }
  void setLowerGhosts(uint32_t id, const std::vector<Ghost*>& ghosts) {
    lastGroup(id).ensurePlacement().ghostSupports = ghosts;
  }
  Ghost* lowerSupport(uint32_t id, std::size_t i) {
    return &lowerGroup(id).placement->supports.at(i);
  }
  std::vector<const Ghost*> inherited() {
    GhostRecord record;
    SupportInheritance inheritance;
    inheritance.settings = &settings;
    inheritance.record = &record;
    inheritance.layer = &layers_.back();
    inheritance.previousLayer = &layers_.at(layers_.size() - 2);
    inheritance.inherite(group());
    if (!group().placement) return {};
    const std::vector<Ghost*>& ghosts = group().placement->ghostSupports;
    return {ghosts.begin(), ghosts.end()};
  }

  void setGhosts(const std::vector<Ghost*>& ghosts) {
    group().ensurePlacement().ghostSupports = ghosts;
  }
  Placed place(const Wanted& wanted) {
    GhostSpread spread(settings.ghostRadius);
    spread.create();
    const auto overhang = overhangOfGroups(layers_.back(), {1});
    Poisson generator;
    generator.settings = &settings;
    generator.ghostSpread = &spread;
    generator.group = &group();
    generator.layer = &layers_.back();
    generator.overhang = &overhang[0];
    generator.layerCount = layers_.size();
    generator.transmittedStrength = wanted.transmittedStrength;
    generator.nbSupport = wanted.supports;
    generator.nbSupportBase = wanted.base.value_or(wanted.supports);
    generator.strengthPerSupport = wanted.strengthPerSupport;
    generator.isIsland = wanted.isIsland;
    Placed placed;
    placed.supports = generator.generateSupports();
    placed.base = generator.nbSupportBase;
    if (wasSampled()) {
      const SampleRecord& record = *group().placement->samples;
      placed.steps = {record.stepX, record.stepY};
      placed.scoreNorm = record.scoreNorm;
      placed.ghostNorm = record.ghostNorm;
    }
    return placed;
  }
  bool wasSampled() { return group().placement && group().placement->samples; }
  std::vector<Ghost> supports() {
    return group().placement ? group().placement->supports : std::vector<Ghost>();
  }

 private:
  Group& lastGroup(uint32_t id) { return layers_.back().groups.at(id); }

  std::vector<Layer> layers_;
  std::size_t markers_ = 0;
};

class PlainStages {
 public:
  static const char* name() { return "Plain"; }

  using Ghost = reference::Voxel;

  Settings settings;

  void segment(const Picture& picture) {
    if (layers_.empty()) markers_.assign(picture.pixels.size(), 0);
    layers_.push_back(reference::floodFill(bytesOf(picture), picture.width, picture.height,
                                           parameters(), layers_, markers_));
  }
  void startAnew() { layers_.clear(); }

  uint32_t groupCount() const { return layers_.back().groupCount; }
  uint32_t pixelCount() const { return layers_.back().pixelCount; }
  reference::Group& group(uint32_t id = 1) { return *layers_.back().groups.at(id); }
  reference::Group& lowerGroup(uint32_t id = 1) {
    return *layers_.at(layers_.size() - 2).groups.at(id);
  }

  std::vector<uint32_t> overlap(uint32_t id = 1) { return group(id).overlap; }
  void claimShared(uint32_t pixels) {
    group().supportedPixel = pixels;
    for (uint32_t& shared : group().overlap) shared = shared > 0 ? pixels : 0;
  }
  void claimIsland() {
    group().supportedPixel = 0;
    for (uint32_t& shared : group().overlap) shared = 0;
  }

  GroupPlan plan() {
    const reference::SupportNeed need = reference::supportNeed(group(), layers_, parameters());
    GroupPlan plan;
    plan.remainingStrength = need.remainingStrength;
    plan.transmittedStrength = need.transmittedStrength;
    plan.count = need.nbSupportBase;
    plan.islandCount = need.nbSupport;
    plan.strengthPerSupport = need.strengthPerSupport;
    plan.isIsland = need.isIsland;
    return plan;
  }

  void addLowerSupports(uint32_t id, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      layers_.back().groups.at(id)->supports.push_back(std::make_unique<Ghost>());
    }
  }
  void setLowerGhosts(uint32_t id, const std::vector<Ghost*>& ghosts) {
    layers_.back().groups.at(id)->ghostSupports.assign(ghosts.begin(), ghosts.end());
  }
  Ghost* lowerSupport(uint32_t id, std::size_t i) { return lowerGroup(id).supports.at(i).get(); }
  std::vector<const Ghost*> inherited() {
    reference::inheritSupports(group(), layers_.at(layers_.size() - 2), settings.maxGhost);
    return group().ghostSupports;
  }

  void setGhosts(const std::vector<Ghost*>& ghosts) {
    group().ghostSupports.assign(ghosts.begin(), ghosts.end());
  }
  Placed place(const Wanted& wanted) {
    const reference::Parameters values = parameters();
    const reference::GhostSpread spread = reference::createGhostSpread(values.ghostRadius);
    reference::Poisson generator(group(), layers_.back(), layers_, values, spread);
    generator.transmittedStrength = wanted.transmittedStrength;
    generator.nbSupport = wanted.supports;
    generator.nbSupportBase = wanted.base.value_or(wanted.supports);
    generator.strengthPerSupport = wanted.strengthPerSupport;
    generator.isIsland = wanted.isIsland;
    Placed placed;
    placed.supports = generator.generateSupports();
    placed.base = generator.nbSupportBase;
    placed.steps = {generator.stepX, generator.stepY};
    placed.scoreNorm = group().scoreNorm;
    placed.ghostNorm = group().ghostNorm;
    return placed;
  }
  bool wasSampled() { return !group().samples.empty(); }
  std::vector<Ghost> supports() {
    std::vector<Ghost> copies;
    for (const auto& support : group().supports) copies.push_back(*support);
    return copies;
  }

 private:
  reference::Parameters parameters() const {
    ModelParameters all;
    all.settings = settings;
    std::map<std::string, double> values;
    for (const Parameter& parameter : parameterTable()) {
      values[parameter.name] = storedParameter(all, parameter);
    }
    return reference::parametersFrom(values);
  }

  std::vector<reference::Layer> layers_;
  std::vector<uint32_t> markers_;
};

using Versions = testing::Types<FastStages, PlainStages>;

struct VersionName {
  template <typename Version>
  static std::string GetName(int) {
    return Version::name();
  }
};

// Settings under which something is placed.
template <typename Version>
class StagesTest : public testing::Test {
 protected:
  StagesTest() {
    settings.supportStrength = 20;
    settings.growthStrength = 1;
    settings.strengthTransmited = 1;
    settings.firstSupportMinStrength = 2;
    settings.numberOfSamplePerSupport = 10;
    settings.ghostPart = 1;
    settings.numberOfSamplePerVoronoi = 30;
  }

  void segment(const Picture& picture) { stages.segment(picture); }
  void segment(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
    stages.segment(draw(rows, blue, green));
  }
  auto& group(uint32_t id = 1) { return stages.group(id); }

  Version stages;
  Settings& settings = stages.settings;
};

}  // namespace stiltforge::stages
