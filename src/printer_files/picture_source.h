#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "printer_files/decode_memory.h"

namespace stiltforge::printer_files {

/// The files of a print's layers, in order. Any number of threads may read at once, each with
/// memory of its own.
class PictureSource {
 public:
  virtual ~PictureSource() = default;
  PictureSource() = default;
  PictureSource(const PictureSource&) = delete;
  PictureSource& operator=(const PictureSource&) = delete;

  virtual uint32_t count() const = 0;
  /// Of a layer counted from 0, as the archive or folder has it.
  virtual const std::string& nameOf(uint32_t layer) const = 0;
  /// The bytes of its file; they are in `memory`. Throws Defect, or FileError when the file or
  /// folder as a whole can't be read.
  virtual std::span<const uint8_t> read(uint32_t layer, DecodeMemory& memory) = 0;
};

}  // namespace stiltforge::printer_files
