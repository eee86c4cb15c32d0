#include "slicing/slicer.h"

#include <cmath>
#include <string>
#include <utility>

#include "slicing/slicing_error.h"

namespace stiltforge::slicing {

namespace {

uint32_t countLayers(const Bounds& model, double layerHeight) {
  requirePositive(layerHeight, "layer height");
  const double width = static_cast<double>(model.max.x) - model.min.x;
  const double depth = static_cast<double>(model.max.y) - model.min.y;
  const double height = static_cast<double>(model.max.z) - model.min.z;
  if (!(width > 0 && depth > 0 && height > 0)) {
    throw SlicingError("The model is flat: " + numberText(width) + " x " + numberText(depth) +
                       " x " + numberText(height) + " mm. Only solids can be sliced.");
  }
  const double layers = std::ceil(height / layerHeight - 0.5);
  if (layers < 1) {
    throw SlicingError("The model is " + numberText(height) +
                       " mm high, less than half a layer of " + numberText(layerHeight) +
                       " mm. Check its units or choose thinner layers.");
  }
  if (layers > mostLayers) {
    throw SlicingError("The model is " + numberText(height) + " mm high, which is " +
                       numberText(layers) + " layers of " + numberText(layerHeight) +
                       " mm; the limit is " + std::to_string(mostLayers) +
                       ". Check its units or choose thicker layers.");
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
      layerCount_(countLayers(mesh.bounds, layerHeight_)),
      placement_(mesh.bounds, settings.screen),
      rasterizer_(placement_.width, placement_.height),
      filler_(placement_.width, placement_.height, ChannelFalloff(channelSettings(settings))) {
  const MeshTopology topology(mesh);
  report_ = inspectMesh(mesh, topology);
  contours_ = LayerContours(std::move(mesh), topology);
}

void Slicer::rasterize(uint32_t index, RunRows& material) {
  rasterizer_.rasterize(contours_.at(report_.bounds.min.z + heightOf(index), placement_), material);
}

SliceInfo Slicer::slice(uint32_t index, uint8_t* rgba) {
  if (index >= layerCount_) {
    throw SlicingError("There is no layer " + std::to_string(index) + ": the model has " +
                       std::to_string(layerCount_) + ", counted from 0.");
  }
  if (index > 0) {
    if (lastIndex_ == index - 1) {
      std::swap(below_, material_);
    } else {
      rasterize(index - 1, below_);
    }
  }
  lastIndex_.reset();
  rasterize(index, material_);
  filler_.fill(material_, index > 0 ? &below_ : nullptr, rgba);
  lastIndex_ = index;
  return {material_.pixelCount(), heightOf(index)};
}

}  // namespace stiltforge::slicing
