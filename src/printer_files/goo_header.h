#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "files/byte_source.h"

namespace stiltforge::printer_files {

/// What the header of a GOO file says, as far as it matters here.
struct GooHeader {
  std::string printer;
  std::string material;
  uint32_t layerCount = 0;  ///< 1 to mostLayers
  uint32_t width = 0;       ///< pixels, at least 1
  uint32_t height = 0;      ///< pixels, at least 1
  double screenWidth = 0;   ///< mm
  double screenHeight = 0;  ///< mm
  double layerHeight = 0;   ///< mm
  bool isMirroredX = false;
  bool isMirroredY = false;
  uint64_t layersAt = 0;  ///< where the layers begin
};

/// Whether a file begins like a GOO.
bool isGoo(files::ByteSource& source);

/// Throws FileError when the header is cut off or makes no sense.
GooHeader readGooHeader(files::ByteSource& source);

}  // namespace stiltforge::printer_files
