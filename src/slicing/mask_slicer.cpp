#include "slicing/mask_slicer.h"

#include <string>
#include <utility>

#include "analysis/mask_runs.h"
#include "runtime/worker_pool.h"
#include "slicing/overhang_channels.h"
#include "slicing/screen_placement.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {

namespace {

std::string sizeText(uint32_t width, uint32_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

const MaskSettings& checked(const MaskSettings& settings) {
  const uint64_t right = uint64_t{settings.cropX} + settings.width;
  const uint64_t bottom = uint64_t{settings.cropY} + settings.height;
  if (settings.width == 0 || settings.height == 0 || settings.width > longestCropSide ||
      settings.height > longestCropSide) {
    throw SlicingError("The slices are " + sizeText(settings.width, settings.height) +
                       " pixels; both sides must be between 1 and " +
                       std::to_string(longestCropSide) + ".");
  }
  if (right > settings.maskWidth || bottom > settings.maskHeight) {
    throw SlicingError("The slices show " + sizeText(settings.width, settings.height) +
                       " pixels from column " + std::to_string(settings.cropX) + " and row " +
                       std::to_string(settings.cropY) + ", but the masks have only " +
                       sizeText(settings.maskWidth, settings.maskHeight) + " pixels.");
  }
  if (settings.threshold == 0) {
    throw SlicingError(
        "The threshold is 0, which would make every pixel material; choose 1 to 255.");
  }
  return settings;
}

}  // namespace

MaskSlicer::MaskSlicer(const MaskSettings& settings)
    : settings_(checked(settings)), falloff_(settings.channels) {}

void MaskSlicer::findMaterial(std::span<const uint8_t> mask, RunRows& material) const {
  if (mask.size() != maskBytes()) {
    throw SlicingError("The mask has " + std::to_string(mask.size()) + " bytes; " +
                       sizeText(settings_.maskWidth, settings_.maskHeight) +
                       " pixels of one byte are needed.");
  }
  const std::size_t stride = settings_.maskWidth;
  findMaskRuns(mask.data() + settings_.cropY * stride + settings_.cropX, stride,
               static_cast<int>(settings_.width), static_cast<int>(settings_.height),
               settings_.threshold, material);
}

void MaskSlicer::next(std::span<const std::span<const uint8_t>> masks, std::span<Slice> slices) {
  if (masks.size() != slices.size()) {
    throw SlicingError("There are " + std::to_string(masks.size()) + " masks for " +
                       std::to_string(slices.size()) + " slices; the numbers must be equal.");
  }
  if (slices.empty()) return;
  workers::parallelFor(slices.size(), [&](std::size_t i) {
    slices[i].width = static_cast<uint16_t>(settings_.width);
    slices[i].height = static_cast<uint16_t>(settings_.height);
    findMaterial(masks[i], slices[i].material);
  });
  workers::parallelFor(slices.size(), [&](std::size_t i) {
    const RunRows* const below = i > 0 ? &slices[i - 1].material : layers_ > 0 ? &below_ : nullptr;
    OverhangChannels(falloff_).fill(below, slices[i]);
  });
  material_ = slices.back().material;
  std::swap(below_, material_);
  layers_ += static_cast<uint32_t>(slices.size());
}

SliceInfo MaskSlicer::next(std::span<const uint8_t> mask, uint8_t* rgba) {
  findMaterial(mask, material_);
  if (!filler_) {
    filler_.emplace(static_cast<int>(settings_.width), static_cast<int>(settings_.height),
                    falloff_);
  }
  filler_->fill(material_, layers_ > 0 ? &below_ : nullptr, rgba);
  const SliceInfo info{material_.pixelCount(), (layers_ + 0.5) * settings_.channels.layerHeight};
  std::swap(below_, material_);
  ++layers_;
  return info;
}

}  // namespace stiltforge::slicing
