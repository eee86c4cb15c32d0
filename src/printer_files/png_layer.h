#pragma once

#include <cstdint>

#include "analysis/run_rows.h"
#include "analysis/slice.h"
#include "printer_files/decode_memory.h"
#include "printer_files/png_picture.h"

namespace stiltforge::printer_files {

/// How the pixels of a picture are those of a layer.
struct PixelUse {
  /// The lowest grey that is material, at least 1.
  uint8_t threshold = 128;
  /// Whether the three bytes of an RGB pixel are three pixels beside each other.
  bool isPacked = false;
};

/// Replaces `material` by the pixels that are lit: those whose grey is at least the threshold,
/// scaled to 8 bits. The grey of a colour is its brightest channel; transparent pixels are as dark
/// as they are transparent. Throws Defect when the pixels are damaged or there are none of the
/// kind.
void decodeMaterial(const PngPicture& picture, const PixelUse& use, DecodeMemory& memory,
                    RunRows& material);

/// Replaces all but the size of a slice by an RGB picture whose red byte is material, whose green
/// is the stroke value and whose blue is the support value. An alpha channel does not matter.
void decodeChannels(const PngPicture& picture, DecodeMemory& memory, Slice& slice);

}  // namespace stiltforge::printer_files
