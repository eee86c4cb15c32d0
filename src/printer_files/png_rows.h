#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "printer_files/decode_memory.h"
#include "printer_files/png_picture.h"

namespace stiltforge::printer_files {

/// The rows of a PNG, top first, unpacked and with their filters undone.
class PngRows {
 public:
  /// Unpacks the pixels, all at once. Keeps both by reference. Throws Defect when they are damaged
  /// or too few or many.
  PngRows(const PngPicture& picture, DecodeMemory& memory);

  struct Row {
    const uint8_t* bytes;     ///< PngPicture::rowBytes() of them, until the row after the next
    bool isZero = false;      ///< known to be all zeros
    bool isLikeLast = false;  ///< known to be the same as the row above
  };
  /// The next row; there are as many as the picture is high. Throws Defect when it is damaged.
  Row next();

 private:
  void unpack();
  void finish() const;
  void undoFilter(int filter, uint8_t* row) const;

  const PngPicture& picture_;
  DecodeMemory& memory_;
  const std::size_t rowBytes_;
  const int pixelBytes_;
  uint8_t* rows_ = nullptr;
  const uint8_t* above_;
  bool isAboveZero_ = true;
  uint32_t done_ = 0;
  uint32_t checksum_ = 1;
  uint32_t expectedChecksum_ = 0;
};

}  // namespace stiltforge::printer_files
