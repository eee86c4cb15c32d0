#include "model/model.h"

#include <algorithm>
#include <iostream>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "analysis/flood_fill.h"
#include "runtime/scratch_vector.h"
#include "support/group_handler.h"

namespace stiltforge {

namespace {

template <typename T>
void releaseStorage(std::vector<T>& vector) {
  std::vector<T>().swap(vector);
}

// A model's many small blocks are spread over the heaps of all threads, and the C library keeps
// those pages when they are freed. A host that stays open wants them back.
void returnFreedPages() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace

Model::Model(const Settings& settings, std::size_t pixels, Plane<uint32_t> markers)
    : settings_(settings),
      ghostSpread_(settings.ghostRadius),
      pixels_(pixels),
      markers_(std::move(markers)) {}

void Model::prepareGhostSpread(float ghostRadius) {
  if (ghostRadius != ghostSpread_.radius()) ghostSpread_ = GhostSpread(ghostRadius);
}

void Model::start(std::size_t pixels, Plane<uint32_t> markers) {
  releaseStorage(layers_);
  scratch_memory::release();
  returnFreedPages();
  cleared_ = false;
  pixels_ = pixels;
  markers_ = std::move(markers);
  markersCreated_ = false;
}

void Model::clear() {
  ghostSpread_ = GhostSpread();
  releaseStorage(ghosts_.ghostSupportArray);
  releaseStorage(ghosts_.deleteGhostIndex);
  markers_.release();
  markersCreated_ = false;
  for (Layer& husk : layers_) husk = Layer();
  if (!layers_.empty()) cleared_ = true;
  scratch_memory::release();
  returnFreedPages();
}

void Model::createGhostSpread() {
  prepareGhostSpread(settings_.ghostRadius);
  ghostSpread_.create();
}

void Model::createMarkers() {
  if (markersCreated_) return;
  if (markers_.size() != pixels_) markers_ = Plane<uint32_t>(pixels_);
  std::fill_n(markers_.data(), pixels_, 0u);
  markersCreated_ = true;
}

uint32_t Model::analyse(Slice slice, const SliceOptions& options) {
  const auto stopIfCancelled = [&] {
    if (options.cancelled && *options.cancelled) throw AnalysisCancelled();
  };
  createGhostSpread();
  if (options.buffers) createMarkers();

  Layer layer(std::move(slice));
  FloodFill fill;
  fill.settings = &settings_;
  fill.layer = &layer;
  fill.previousLayer = layers_.empty() ? nullptr : &layers_.back();
  fill.markerCount = pixels_;
  fill.run();
  if (options.buffers) {
    fillBuffers(layer, static_cast<uint32_t>(layers_.size()), markers_, *options.buffers);
  }
  stopIfCancelled();

  layers_.push_back(std::move(layer));
  Layer& current = layers_.back();
  Layer* const below = layers_.size() > 1 ? &layers_[layers_.size() - 2] : nullptr;
  if (below) {
    SupportInheritance inheritance;
    inheritance.settings = &settings_;
    inheritance.record = &ghosts_;
    inheritance.layer = &current;
    inheritance.previousLayer = below;
    inheritance.retireGhosts(layers_.size(), std::cout);
    for (std::size_t i = 1; i < current.groups.size(); ++i) {
      inheritance.inherite(current.groups[i]);
    }
    stopIfCancelled();
  }

  uint32_t supportCount = 0;
  if (options.addSupport) {
    GroupHandler handler;
    handler.settings = &settings_;
    handler.ghostSpread = &ghostSpread_;
    handler.layer = &current;
    handler.previousLayer = below;
    handler.layerCount = layers_.size();
    handler.failedTasks = &failedTasks_;
    supportCount = handler.supportLayer();
  }
  current.releaseOverhang();
  // More than one only after a slice that failed once it was in the history.
  for (std::size_t i = layers_.size() - 1; i-- > 0 && !layers_[i].isArchived();) {
    layers_[i].archive();
  }
  return supportCount;
}

GroupImages Model::renderGroup(std::size_t layer, std::size_t group) {
  createGhostSpread();
  return stiltforge::renderGroup(layers_[layer], group, settings_, ghostSpread_);
}

}  // namespace stiltforge
