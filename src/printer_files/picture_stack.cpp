#include "printer_files/picture_stack.h"

#include <algorithm>
#include <utility>

#include "files/file_error.h"
#include "printer_files/defect.h"
#include "printer_files/limits.h"
#include "runtime/worker_pool.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;
using files::grouped;
using files::inQuotes;

constexpr const char* exportAgain = "Export the print again";
// Of all threads together, besides what one needs.
constexpr std::size_t mostDecodeBytes = std::size_t{512} << 20;

std::string sizeText(uint32_t width, uint32_t height) {
  return grouped(width) + " x " + grouped(height) + " pixels";
}

}  // namespace

PictureStack::PictureStack(std::unique_ptr<PictureSource> pictures, const ArchiveSettings& settings,
                           uint8_t threshold)
    : pictures_(std::move(pictures)) {
  use_.threshold = threshold;
  info_.layerCount = pictures_->count();
  DecodeMemory memory;
  try {
    const PngPicture first = parsePngHead(pictures_->read(0, memory));
    takeSettings(settings, first);
    const std::size_t bytes = first.height * (first.rowBytes() + 1);
    memory_.emplace(std::clamp<std::size_t>(mostDecodeBytes / bytes, 1,
                                            static_cast<std::size_t>(workers::count()) + 1));
  } catch (const Defect& defect) {
    throw FileError(describe(0) + " " + defect.problem, defect.remedy);
  }
}

std::string PictureStack::describe(uint32_t layer) const {
  return "layer " + std::to_string(layer) + " (" + inQuotes(pictures_->nameOf(layer)) + ")";
}

void PictureStack::takeSettings(const ArchiveSettings& settings, const PngPicture& first) {
  info_.format = settings.format;
  info_.layerHeight = settings.layerHeight;
  info_.firstLayerHeight = settings.firstLayerHeight;
  info_.isMirroredX = settings.isMirroredX;
  info_.isMirroredY = settings.isMirroredY;
  info_.printer = settings.printer;
  info_.material = settings.material;
  info_.width = first.width;
  info_.height = first.height;
  if (settings.layerCount && *settings.layerCount != info_.layerCount) {
    throw FileError(settings.countSource + " tells of " +
                        files::counted(*settings.layerCount, "layer") +
                        ", but the archive has pictures of " + grouped(info_.layerCount),
                    exportAgain);
  }
  info_.pixelWidth = settings.pixelWidth;
  info_.pixelHeight = settings.pixelHeight;
  if (!settings.screenWidth || !settings.screenHeight) return;
  const uint32_t width = *settings.screenWidth;
  const uint32_t height = *settings.screenHeight;
  const bool isTurned = width == first.height && height == first.width;
  if (isTurned && (settings.isTurned || width != height)) {
    info_.isTurned = true;
    std::swap(info_.pixelWidth, info_.pixelHeight);
    return;
  }
  if (width == first.width && height == first.height) return;
  // Screens of one colour whose controller takes three pixels for one of three colours.
  if (width == uint64_t{3} * first.width && height == first.height &&
      first.colour == PngPicture::Colour::rgb && first.bitDepth == 8 && width <= longestSide) {
    use_.isPacked = true;
    info_.width = width;
    return;
  }
  throw FileError(settings.screenSource + " tells of a screen of " + sizeText(width, height) +
                      ", but the picture " + inQuotes(pictures_->nameOf(0)) + " has " +
                      sizeText(first.width, first.height),
                  exportAgain);
}

void PictureStack::requireSameSize(const PngPicture& picture) const {
  const uint32_t width = use_.isPacked ? info_.width / 3 : info_.width;
  if (picture.width != width || picture.height != info_.height) {
    throw Defect{"has " + sizeText(picture.width, picture.height) + ", but layer 0 has " +
                     sizeText(width, info_.height),
                 "Export all layers in the same size"};
  }
  if (use_.isPacked && (picture.colour != PngPicture::Colour::rgb || picture.bitDepth != 8)) {
    throw Defect{"has no three bytes a pixel, as layer 0 has", exportAgain};
  }
}

template <class Decode>
void PictureStack::decode(uint32_t layer, const Decode& decodePicture) {
  const DecodeMemoryPool::Loan memory(*memory_);
  try {
    const PngPicture picture = parsePng(pictures_->read(layer, *memory));
    requireSameSize(picture);
    decodePicture(picture, *memory);
  } catch (const Defect& defect) {
    throw FileError(describe(layer) + " " + defect.problem, defect.remedy);
  }
}

void PictureStack::readMaterial(uint32_t layer, RunRows& material) {
  decode(layer, [&](const PngPicture& picture, DecodeMemory& memory) {
    decodeMaterial(picture, use_, memory, material);
  });
}

void PictureStack::readChannels(uint32_t layer, Slice& slice) {
  slice.width = static_cast<uint16_t>(info_.width);
  slice.height = static_cast<uint16_t>(info_.height);
  decode(layer, [&](const PngPicture& picture, DecodeMemory& memory) {
    if (use_.isPacked) {
      throw Defect{"carries no channels: its three bytes a pixel are three pixels",
                   "Leave out the option for channels"};
    }
    decodeChannels(picture, memory, slice);
  });
}

}  // namespace stiltforge::printer_files
