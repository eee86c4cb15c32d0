#include "slicing/slicer.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "runtime/number_text.h"
#include "runtime/worker_pool.h"
#include "slicing/coherent_orientation.h"
#include "slicing/overhang_channels.h"
#include "slicing/slice_rasterizer.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {

namespace {

uint32_t countLayers(const Bounds& model, double layerHeight, double lift) {
  requirePositive(layerHeight, "layer height");
  if (!(lift >= 0 && std::isfinite(lift))) {
    throw SlicingError("The lift is " + numberText(lift) +
                       "; it must be a number of millimetres from 0.");
  }
  const double width = static_cast<double>(model.max.x) - model.min.x;
  const double depth = static_cast<double>(model.max.y) - model.min.y;
  const double height = static_cast<double>(model.max.z) - model.min.z;
  if (!(width > 0 && depth > 0 && height > 0)) {
    throw SlicingError("The model is flat: " + numberText(width) + " x " + numberText(depth) +
                       " x " + numberText(height) + " mm. Only solids can be sliced.");
  }
  const double layers = std::ceil((height + lift) / layerHeight - 0.5);
  if (std::ceil(height / layerHeight - 0.5) < 1) {
    throw SlicingError("The model is " + numberText(height) +
                       " mm high, less than half a layer of " + numberText(layerHeight) +
                       " mm. Check its units or choose thinner layers.");
  }
  if (layers > mostLayers) {
    throw SlicingError("The model is " + numberText(height + lift) + " mm high" +
                       (lift > 0 ? " with its lift" : "") + ", which is " + numberText(layers) +
                       " layers of " + numberText(layerHeight) + " mm; the limit is " +
                       std::to_string(mostLayers) + ". Check its units or choose thicker layers.");
  }
  return static_cast<uint32_t>(layers);
}

ChannelSettings channelSettings(const SlicerSettings& settings) {
  ChannelSettings channels = settings.channels;
  channels.pixelSize = settings.screen.pixelSize;
  return channels;
}

}  // namespace

Slicer::Slicer(std::span<const float> positions, const SlicerSettings& settings)
    : Slicer(TriangleMesh::fromSoup(positions), settings) {}

Slicer::Slicer(TriangleMesh mesh, const SlicerSettings& settings)
    : layerHeight_(settings.channels.layerHeight),
      lift_(settings.lift),
      layerCount_(countLayers(mesh.bounds, layerHeight_, lift_)),
      placement_(mesh.bounds, settings.screen),
      falloff_(channelSettings(settings)) {
  const Contact contact{placement_.pixelSize, layerHeight_};
  MeshTopology topology(mesh);
  report_ = inspectMesh(mesh, topology, contact);
  if (const uint32_t misoriented = report_.misorientedEdges; misoriented > 0) {
    turnedTriangles_ = orientCoherently(mesh, topology);
    if (!turnedTriangles_.empty()) {
      topology = MeshTopology(mesh);
      report_ = inspectMesh(mesh, topology, contact);
      report_.misorientedEdges = misoriented;
    }
  }
  contours_ = LayerContours(std::move(mesh), topology);
  if (report_.openParts > 0) report_.widestGap = widestGap();
}

double Slicer::widestGap() {
  std::vector<double> planes;
  planes.reserve(layerCount_);
  for (uint32_t layer = 0; layer < layerCount_; ++layer) {
    planes.push_back(plateZ() + heightOf(layer));
  }
  return contours_.widestGap(planes, placement_) * placement_.pixelSize;
}

void Slicer::requireLayers(uint32_t first, std::size_t count) const {
  if (first < layerCount_ && count <= layerCount_ - first) return;
  throw SlicingError("There is no layer " + std::to_string(std::max(first, layerCount_)) +
                     ": the model has " + std::to_string(layerCount_) + ", counted from 0.");
}

void Slicer::sweepTo(uint32_t index, LayerContours::Cut& cut) {
  contours_.sweepTo(plateZ() + heightOf(index), cut);
}

void Slicer::rasterize(const LayerContours::Cut& cut, RunRows& material) const {
  std::vector<Segment> contours;
  contours_.trace(cut, placement_, contours);
  SliceRasterizer(placement_.width, placement_.height).rasterize(contours, material);
}

const RunRows* Slicer::materialBelow(uint32_t index) {
  const bool isAtHand = lastIndex_ && *lastIndex_ + 1 == index;
  lastIndex_.reset();
  if (index == 0) return nullptr;
  if (isAtHand) {
    std::swap(below_, material_);
  } else {
    LayerContours::Cut cut;
    sweepTo(index - 1, cut);
    rasterize(cut, below_);
  }
  return &below_;
}

void Slicer::slice(uint32_t first, std::span<Slice> slices) {
  requireLayers(first, slices.size());
  if (slices.empty()) return;
  const RunRows* const below = materialBelow(first);
  cuts_.resize(std::max(cuts_.size(), slices.size()));
  for (std::size_t i = 0; i < slices.size(); ++i) {
    sweepTo(first + static_cast<uint32_t>(i), cuts_[i]);
  }
  workers::parallelFor(slices.size(), [&](std::size_t i) {
    slices[i].width = static_cast<uint16_t>(placement_.width);
    slices[i].height = static_cast<uint16_t>(placement_.height);
    rasterize(cuts_[i], slices[i].material);
  });
  workers::parallelFor(slices.size(), [&](std::size_t i) {
    OverhangChannels(falloff_).fill(i == 0 ? below : &slices[i - 1].material, slices[i]);
  });
  material_ = slices.back().material;
  lastIndex_ = first + static_cast<uint32_t>(slices.size()) - 1;
}

SliceInfo Slicer::slice(uint32_t index, uint8_t* rgba) {
  requireLayers(index, 1);
  const RunRows* const below = materialBelow(index);
  LayerContours::Cut cut;
  sweepTo(index, cut);
  rasterize(cut, material_);
  if (!filler_) filler_.emplace(placement_.width, placement_.height, falloff_);
  filler_->fill(material_, below, rgba);
  lastIndex_ = index;
  return {material_.pixelCount(), heightOf(index)};
}

}  // namespace stiltforge::slicing
