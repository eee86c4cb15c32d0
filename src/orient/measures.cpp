#include "orient/measures.h"

#include <algorithm>
#include <vector>

#include "check/cavities.h"
#include "hold/finisher.h"
#include "hold/floating_bodies.h"
#include "hold/survey.h"
#include "model/model.h"
#include "print/analysis_parameters.h"
#include "print/hold_settings.h"
#include "print/support_position.h"
#include "slicing/slicer.h"

namespace stiltforge::orient {

namespace {

constexpr uint32_t batch = 16;
constexpr double roundingSlack = 1e-9;

std::vector<hold::SupportPoint> pointsOf(const Layer& layer) {
  std::vector<hold::SupportPoint> points;
  for (const Group& group : layer.groups) {
    if (!group.placement) continue;
    for (const Voxel& v : group.placement->supports) points.push_back({v.x, v.y, v.isMinima});
  }
  return points;
}

std::vector<Support> supportsOf(const hold::Finished& finished, const slicing::Slicer& slicer,
                                double layerHeight) {
  std::vector<Support> supports;
  for (const hold::FinishedPoint& point : finished.points) {
    const hold::Place& place = point.site.place;
    const SupportPosition at =
        positionOf(place.x, place.y, place.layer, slicer.placement(), slicer.plateZ(), layerHeight);
    supports.push_back({at.x, at.y, at.z, point.site.isIsland});
  }
  return supports;
}

uint64_t overhangPixels(const hold::Survey& survey) {
  uint64_t pixels = 0;
  for (const hold::OverhangSample& sample : survey.samples()) pixels += sample.pixels;
  return pixels;
}

uint32_t countIslands(const hold::Survey& survey, double height) {
  uint32_t count = 0;
  hold::FloatingBodies(survey, {}, {})
      .forEachDue(static_cast<uint32_t>(height / survey.settings().layerHeight + roundingSlack),
                  [&](const hold::FloatingBody&) {
                    ++count;
                    return true;
                  });
  return count;
}

}  // namespace

std::optional<Measured> measure(std::span<const float> positions, const MeasureSettings& settings,
                                const std::atomic<bool>* cancelled) {
  const PrintSettings& print = settings.print;
  slicing::Slicer slicer(positions, slicerSettings(print));
  const auto width = static_cast<uint32_t>(slicer.placement().width);
  const auto height = static_cast<uint32_t>(slicer.placement().height);
  const uint32_t layers = slicer.layerCount();
  Model model(modelParameters(print, width, height, layers).settings, std::size_t{width} * height);
  hold::Survey survey(surveySettings(print));
  uint64_t cups = 0;
  check::Cavities cavities([&](const auto& cavity) { cups += cavity.extent.pixels; });
  uint64_t material = 0;
  uint32_t layer = 0;
  std::vector<Slice> slices(batch);
  try {
    for (uint32_t first = 0; first < layers; first += batch) {
      slices.resize(std::min(batch, layers - first));
      slicer.slice(first, slices);
      for (Slice& slice : slices) {
        if (cancelled != nullptr && *cancelled) throw Cancelled();
        material += slice.material.pixelCount();
        survey.add(slice);
        cavities.add(slice.material, slice.width, layer++);
        model.analyse(slice, {.cancelled = cancelled});
        survey.addPoints(slice, pointsOf(model.layers().back()));
      }
    }
  } catch (const AnalysisCancelled&) {
    throw Cancelled();
  }
  if (material == 0) return std::nullopt;
  survey.finish();
  cavities.finish();
  const double pixelArea = print.pixelSize * print.pixelSize;
  const slicing::Bounds& bounds = slicer.report().bounds;
  Measured result;
  result.supports =
      supportsOf(hold::finish(survey, finishSettings(print)), slicer, print.layerHeight);
  Measures& measures = result.measures;
  measures.points = static_cast<uint32_t>(result.supports.size());
  measures.overhang = static_cast<double>(overhangPixels(survey)) * pixelArea;
  measures.islands = countIslands(survey, settings.islandHeight);
  measures.height = static_cast<double>(bounds.max.z) - bounds.min.z;
  measures.cups = static_cast<double>(cups) * pixelArea * print.layerHeight;
  measures.material = static_cast<double>(material) * pixelArea * print.layerHeight;
  return result;
}

}  // namespace stiltforge::orient
