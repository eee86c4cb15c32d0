#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace stiltforge::printer_files {

/// A picture as its samples, and how a PNG file holds it.
struct TestPicture {
  int width = 1;
  int height = 1;
  int bitDepth = 8;
  int colourType = 0;                  ///< 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGBA
  std::vector<uint16_t> samples;       ///< in raster order, channels beside each other
  std::vector<uint8_t> palette;        ///< three bytes a colour
  std::vector<uint16_t> transparency;  ///< bytes of a palette's alpha, or a sample for each channel

  int channels() const;
  uint16_t sample(int x, int y, int channel) const;
};

/// What the file says or does instead of the usual.
struct PngForm {
  std::vector<int> filters{0};  ///< of the rows, repeated
  int level = 1;                ///< of compression
  std::size_t partBytes = 0;    ///< of an IDAT chunk; 0 for all in one
  int interlace = 0;
  std::size_t rows = SIZE_MAX;  ///< that are written
  std::size_t moreBytes = 0;    ///< behind the rows
  bool hasWrongPixelChecksum = false;
};

std::string chunk(const std::string& name, const std::string& content);
/// The header of a PNG, with its signature and chunk.
std::string pngHead(int width, int height, int bitDepth = 8, int colourType = 0, int interlace = 0);
std::string png(const TestPicture& picture, const PngForm& form = {});
/// A grey picture of bytes.
std::string greyPng(int width, int height, const std::vector<uint8_t>& grey,
                    const PngForm& form = {});
/// One of a single grey.
std::string evenPng(int width, int height, uint8_t grey);

}  // namespace stiltforge::printer_files
