#include "printer_files/goo_file.h"

#include <array>
#include <string>
#include <utility>

#include "files/file_error.h"
#include "printer_files/big_endian.h"
#include "printer_files/defect.h"
#include "printer_files/goo_header.h"
#include "printer_files/goo_layer.h"
#include "printer_files/limits.h"
#include "runtime/scratch_vector.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;

// What stands before a layer's runs: how it is exposed, and the number of their bytes.
constexpr std::size_t exposureBytes = 64;
constexpr std::size_t lineEndBytes = 2;
constexpr std::size_t sizeBytes = 4;

bool isLineEnd(const uint8_t* bytes) {
  return bytes[0] == '\r' && bytes[1] == '\n';
}

std::string nameOf(uint32_t layer) {
  return "layer " + std::to_string(layer) + " of the GOO file";
}

}  // namespace

GooFile::GooFile(std::unique_ptr<files::ByteSource> source, uint8_t threshold)
    : source_(std::move(source)), threshold_(threshold) {
  const GooHeader header = readGooHeader(*source_);
  info_.format = "GOO";
  info_.layerCount = header.layerCount;
  info_.width = header.width;
  info_.height = header.height;
  info_.layerHeight = header.layerHeight;
  info_.pixelWidth = header.screenWidth / header.width;
  info_.pixelHeight = header.screenHeight / header.height;
  info_.isMirroredX = header.isMirroredX;
  info_.isMirroredY = header.isMirroredY;
  info_.printer = header.printer;
  info_.material = header.material;
  findLayers(header.layersAt);
}

void GooFile::findLayers(uint64_t offset) {
  for (uint32_t layer = 0; layer < info_.layerCount; ++layer) {
    std::array<uint8_t, exposureBytes + lineEndBytes + sizeBytes> bytes{};
    const std::size_t there =
        source_->read(offset, {reinterpret_cast<char*>(bytes.data()), bytes.size()});
    const FileError cutOff("the GOO file is cut off in layer " + std::to_string(layer) + " of " +
                               files::grouped(info_.layerCount),
                           files::copyAgain);
    if (there < bytes.size()) throw cutOff;
    // Some programs leave the line end out.
    const std::size_t lineEnd = isLineEnd(&bytes[exposureBytes]) ? lineEndBytes : 0;
    const std::size_t size = bigEndian32(&bytes[exposureBytes + lineEnd]);
    const uint64_t start = offset + exposureBytes + lineEnd + sizeBytes;
    if (size > mostPictureBytes) {
      throw FileError(nameOf(layer) + " has " + files::counted(size, "byte") + "; the limit is " +
                          files::grouped(mostPictureBytes),
                      files::copyAgain);
    }
    std::array<uint8_t, lineEndBytes> end{};
    if (source_->read(start + size, {reinterpret_cast<char*>(end.data()), end.size()}) <
        end.size()) {
      throw cutOff;
    }
    if (!isLineEnd(end.data())) {
      throw FileError(nameOf(layer) + " is damaged: it does not end where its size says",
                      files::copyAgain);
    }
    layers_.push_back({start, size});
    offset = start + size + lineEndBytes;
  }
}

void GooFile::readMaterial(uint32_t layer, RunRows& material) {
  const auto [offset, size] = layers_[layer];
  ScratchVector<uint8_t> packed(size);
  if (source_->read(offset, {reinterpret_cast<char*>(packed.data()), size}) < size) {
    throw FileError(nameOf(layer) + " is cut off", files::copyAgain);
  }
  try {
    decodeGooLayer(packed, info_.width, info_.height, threshold_, material);
  } catch (const Defect& defect) {
    throw FileError(nameOf(layer) + " " + defect.problem, defect.remedy);
  }
}

void GooFile::readChannels(uint32_t, Slice&) {
  throw FileError("a GOO file carries no channels", "Leave out the option for channels");
}

}  // namespace stiltforge::printer_files
