#include "support/slice_pipeline.h"

#include <iostream>
#include <utility>

#include "analysis/flood_fill.h"
#include "analysis/support_inheritance.h"
#include "support/group_handler.h"

namespace stiltforge {

uint32_t SlicePipeline::run(Layer layer) {
  const auto stopIfCancelled = [this] {
    if (cancelled && *cancelled) throw AnalysisCancelled();
  };
  if (scratch) scratch->lend(layer);

  FloodFill fill;
  fill.layer = &layer;
  fill.previousLayer = layers->empty() ? nullptr : &layers->back();
  fill.layerIndex = static_cast<uint32_t>(layers->size());
  fill.topPixelBuffer = topPixelBuffer;
  fill.topPixelCount = topPixelCount;
  fill.needBuffer = needBuffer;
  fill.run();
  if (!needBuffer) spentPixels = std::move(layer.pixelBuffer);
  stopIfCancelled();

  {
    std::lock_guard<std::mutex> lock(*historyMutex);
    layers->push_back(std::move(layer));
  }
  Layer& current = layers->back();
  if (layers->size() > 1) {
    Layer& below = (*layers)[layers->size() - 2];
    SupportInheritance::retireGhosts(current, layers->size(), std::cout);
    SupportInheritance inheritance;
    inheritance.layer = &current;
    inheritance.previousLayer = &below;
    for (std::size_t i = 1; i < current.groups.size(); ++i) {
      inheritance.inherite(current.groups[i]);
    }
    stopIfCancelled();
  }

  uint32_t supportCount = 0;
  if (addSupport) {
    GroupHandler handler;
    handler.layers = layers;
    supportCount = handler.supportLayer();
  }
  // More than one only after a slice that failed once it was in the history.
  for (std::size_t i = layers->size() - 1; i-- > 0 && !(*layers)[i].isArchived();) {
    if (scratch) scratch->takeRuns((*layers)[i]);
    (*layers)[i].archive();
  }
  if (scratch) scratch->takePlanes(current, needBuffer);
  current.strokePixels.release();
  if (!needBuffer) current.supportedPixels.release();
  return supportCount;
}

void SliceScratch::lend(Layer& layer) {
  const std::size_t pixels = std::size_t{layer.width} * layer.height;
  if (supportedPixels.size() == pixels) layer.supportedPixels = std::move(supportedPixels);
  if (strokePixels.size() == pixels) layer.strokePixels = std::move(strokePixels);
  layer.runs.swap(runs);
}

void SliceScratch::takePlanes(Layer& layer, bool wanted) {
  strokePixels = std::move(layer.strokePixels);
  if (!wanted) supportedPixels = std::move(layer.supportedPixels);
}

void SliceScratch::takeRuns(Layer& layer) {
  runs.swap(layer.runs);
  runs.clear();
}

}  // namespace stiltforge
