// Pictures of layers: a file as it is, or, when it begins with "x", a header of four bytes (width,
// height, bit depth, colour type) and what the pixels unpack to, with all checksums right.

#include <zlib.h>

#include <array>
#include <string>

#include "print_check.h"
#include "printer_files/defect.h"
#include "printer_files/png_layer.h"
#include "printer_files/png_writer.h"

namespace {

using namespace stiltforge::printer_files;

std::string pictureOf(const uint8_t* data, size_t size) {
  constexpr std::array<int, 5> depths{1, 2, 4, 8, 16};
  std::string pixels(reinterpret_cast<const char*>(data) + 4, size - 4);
  uLongf packedSize = compressBound(pixels.size());
  std::string packed(packedSize, '\0');
  compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize,
            reinterpret_cast<const Bytef*>(pixels.data()), pixels.size(), 1);
  packed.resize(packedSize);
  const int colour = data[3] % 7;
  return pngHead(1 + data[0], 1 + data[1] % 64, depths[data[2] % 5], colour) +
         (colour == 3 ? chunk("PLTE", std::string(30, '\x90')) : "") +
         (data[3] % 2 == 1 ? chunk("tRNS", std::string(data[3] % 8, '\1')) : "") +
         chunk("IDAT", packed) + chunk("IEND", "");
}

void check(const std::string& file) {
  static DecodeMemory memory;
  const std::span bytes(reinterpret_cast<const uint8_t*>(file.data()), file.size());
  const auto decode = [&](const auto& use) {
    try {
      use(parsePng(bytes));
    } catch (const Defect& defect) {
      checkSentence(defect.problem + ". " + defect.remedy + ".");
    }
  };
  decode([](const PngPicture& picture) {
    stiltforge::RunRows material;
    decodeMaterial(picture, {}, memory, material);
    checkRows(material, picture.width, picture.height);
  });
  decode([](const PngPicture& picture) {
    stiltforge::Slice slice;
    decodeChannels(picture, memory, slice);
    checkRows(slice.material, picture.width, picture.height);
    checkRows(slice.overhang, picture.width, picture.height);
    require(
        slice.blue.size() == slice.overhang.pixelCount() && slice.green.size() == slice.blue.size(),
        "not a byte for each pixel");
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 5 && data[0] == 'x') {
    check(pictureOf(data + 1, size - 1));
  } else {
    check(std::string(reinterpret_cast<const char*>(data), size));
  }
  return 0;
}
