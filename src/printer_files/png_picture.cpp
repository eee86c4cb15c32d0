#include "printer_files/png_picture.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "printer_files/big_endian.h"
#include "printer_files/defect.h"
#include "printer_files/limits.h"

namespace stiltforge::printer_files {

namespace {

using files::inQuotes;

constexpr std::array<uint8_t, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::size_t chunkOverhead = 12;  // length, name and checksum
constexpr const char* exportAsGrey = "Export the layers as 8-bit grey PNG";

struct Chunk {
  std::string_view name;
  std::span<const uint8_t> content;

  bool isCritical() const { return name[0] >= 'A' && name[0] <= 'Z'; }
};

bool mayHaveDepth(PngPicture::Colour colour, int depth) {
  switch (colour) {
    case PngPicture::Colour::grey:
      return depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
    case PngPicture::Colour::palette:
      return depth == 1 || depth == 2 || depth == 4 || depth == 8;
    case PngPicture::Colour::rgb:
    case PngPicture::Colour::greyAlpha:
    case PngPicture::Colour::rgba:
      return depth == 8 || depth == 16;
  }
  return false;
}

void requireSignature(std::span<const uint8_t> file) {
  const std::size_t known = std::min(file.size(), signature.size());
  if (known == 0) throw Defect{"is empty"};
  if (!std::equal(signature.begin(), signature.begin() + static_cast<std::ptrdiff_t>(known),
                  file.begin())) {
    throw Defect{"is no PNG picture", "Export the layers as PNG"};
  }
}

/// Walks the chunks of a file.
class ChunkReader {
 public:
  explicit ChunkReader(std::span<const uint8_t> file) : file_(file) {
    requireSignature(file);
    rest_ = file.subspan(std::min(file.size(), signature.size()));
  }

  Chunk next() {
    if (rest_.size() < chunkOverhead) throw cutOff("the end");
    const uint32_t size = bigEndian32(rest_.data());
    const Chunk chunk{{reinterpret_cast<const char*>(rest_.data()) + 4, 4},
                      rest_.subspan(8, std::min<std::size_t>(size, rest_.size() - 8))};
    if (rest_.size() - chunkOverhead < size) throw cutOff("its chunk " + inQuotes(chunk.name));
    const uint8_t* const checksum = rest_.data() + 8 + size;
    if (libdeflate_crc32(0, rest_.data() + 4, size + std::size_t{4}) != bigEndian32(checksum)) {
      throw Defect{"is damaged: the checksum of its chunk " + inQuotes(chunk.name) + " is wrong"};
    }
    rest_ = rest_.subspan(chunkOverhead + size);
    return chunk;
  }

 private:
  Defect cutOff(const std::string& where) const {
    return {"is cut off in " + where + ": it has only " + files::counted(file_.size(), "byte")};
  }

  std::span<const uint8_t> file_;
  std::span<const uint8_t> rest_;
};

PngPicture readHeader(std::span<const uint8_t> header) {
  PngPicture picture;
  picture.width = bigEndian32(&header[0]);
  picture.height = bigEndian32(&header[4]);
  picture.bitDepth = header[8];
  picture.colour = static_cast<PngPicture::Colour>(header[9]);
  const std::string size = files::grouped(picture.width) + " x " + files::grouped(picture.height);
  if (picture.width == 0 || picture.height == 0) throw Defect{"has no pixels: it is " + size};
  if (picture.width > longestSide || picture.height > longestSide ||
      uint64_t{picture.width} * picture.height > mostPixels) {
    throw Defect{"is " + size + " pixels; the limits are " + files::grouped(longestSide) +
                     " a side and " + files::grouped(mostPixels) + " in all",
                 "Export the layers in the size of the screen"};
  }
  if (!mayHaveDepth(picture.colour, picture.bitDepth)) {
    throw Defect{"is damaged: colour type " + std::to_string(header[9]) + " with " +
                 std::to_string(picture.bitDepth) + " bits is none that a PNG can have"};
  }
  if (header[10] != 0 || header[11] != 0 || header[12] > 1) {
    throw Defect{"is packed in a way that PNG does not know"};
  }
  if (header[12] == 1) {
    throw Defect{"is interlaced, which is not read", "Export the layers without interlacing"};
  }
  if (picture.height * (picture.rowBytes() + 1) > mostPixelBytes) {
    throw Defect{"unpacks to more than " + files::counted(mostPixelBytes, "byte"), exportAsGrey};
  }
  return picture;
}

PngPicture readHeaderChunk(ChunkReader& chunks) {
  const Chunk chunk = chunks.next();
  constexpr std::size_t headerBytes = 13;
  if (chunk.name != "IHDR" || chunk.content.size() != headerBytes) {
    throw Defect{"is damaged: it does not begin with a PNG's header"};
  }
  return readHeader(chunk.content);
}

void setPalette(PngPicture& picture, std::span<const uint8_t> content) {
  constexpr std::size_t mostColours = 256;
  if (content.empty() || content.size() % 3 != 0 || content.size() > 3 * mostColours) {
    throw Defect{"is damaged: its palette is none"};
  }
  picture.palette = content;
}

}  // namespace

int PngPicture::channels() const {
  switch (colour) {
    case Colour::rgb:
      return 3;
    case Colour::greyAlpha:
      return 2;
    case Colour::rgba:
      return 4;
    default:
      return 1;
  }
}

std::size_t PngPicture::rowBytes() const {
  return (std::size_t{width} * static_cast<std::size_t>(channels() * bitDepth) + 7) / 8;
}

PngPicture parsePngHead(std::span<const uint8_t> head) {
  ChunkReader chunks(head);
  return readHeaderChunk(chunks);
}

PngPicture parsePng(std::span<const uint8_t> file) {
  ChunkReader chunks(file);
  PngPicture picture = readHeaderChunk(chunks);
  bool isPixelsDone = false;
  for (;;) {
    const Chunk chunk = chunks.next();
    if (chunk.name == "IDAT") {
      if (isPixelsDone) throw Defect{"is damaged: its pixels are in several places"};
      if (!chunk.content.empty()) picture.parts.push_back(chunk.content);
      continue;
    }
    isPixelsDone = !picture.parts.empty();
    if (chunk.name == "IEND") break;
    if (chunk.name == "PLTE") {
      setPalette(picture, chunk.content);
    } else if (chunk.name == "tRNS") {
      picture.transparency = chunk.content;
    } else if (chunk.isCritical()) {
      throw Defect{"has a part " + inQuotes(chunk.name) + " that is not read", exportAsGrey};
    }
  }
  if (picture.parts.empty()) throw Defect{"has no pixels in it"};
  if (picture.colour == PngPicture::Colour::palette && picture.palette.empty()) {
    throw Defect{"is damaged: its palette is missing"};
  }
  return picture;
}

}  // namespace stiltforge::printer_files
