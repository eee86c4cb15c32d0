#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace stiltforge::printer_files {

/// The parts of a PNG file that matter for its pixels, still packed. They refer to the file's
/// bytes.
struct PngPicture {
  enum class Colour : uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };

  uint32_t width = 0;   ///< pixels, 1 to longestSide
  uint32_t height = 0;  ///< pixels, 1 to longestSide
  int bitDepth = 0;     ///< bits of a sample: 1, 2, 4, 8 or 16, as the colour type allows
  Colour colour = Colour::grey;
  std::span<const uint8_t> palette;             ///< three bytes a colour
  std::span<const uint8_t> transparency;        ///< the tRNS chunk
  std::vector<std::span<const uint8_t>> parts;  ///< of the packed pixels, at least one

  int channels() const;
  /// Bytes of a row of pixels, unpacked and without its filter byte.
  std::size_t rowBytes() const;
};

/// Finds the parts and checks all that can be known before the pixels are unpacked. Throws Defect:
/// the file is no PNG, cut off or damaged, or larger or of a kind that is not read.
PngPicture parsePng(std::span<const uint8_t> file);

/// The same for a file of which only the first bytes, at least pngHeadBytes, are there. There are
/// no palette and parts.
PngPicture parsePngHead(std::span<const uint8_t> head);
inline constexpr std::size_t pngHeadBytes = 33;

}  // namespace stiltforge::printer_files
