#include "printer_files/goo_header.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "files/file_error.h"
#include "printer_files/big_endian.h"
#include "printer_files/limits.h"
#include "runtime/number_text.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;

// The maker's format, version 3: fixed offsets, big-endian. Two preview pictures stand in front of
// the numbers. https://github.com/elegooofficial/GOO
constexpr std::array<uint8_t, 8> magic{7, 0, 0, 0, 'D', 'L', 'P', 0};
constexpr std::size_t magicAt = 4;  // behind the version
constexpr std::size_t nameBytes = 32;
constexpr std::size_t printerAt = 0x5c;
constexpr std::size_t profileAt = 0x9c;
constexpr std::size_t layerCountAt = 0x2faee;
constexpr std::size_t widthAt = layerCountAt + 4;
constexpr std::size_t heightAt = widthAt + 2;
constexpr std::size_t mirrorXAt = heightAt + 2;
constexpr std::size_t mirrorYAt = mirrorXAt + 1;
constexpr std::size_t screenWidthAt = mirrorYAt + 1;
constexpr std::size_t screenHeightAt = screenWidthAt + 4;
constexpr std::size_t layerHeightAt = screenHeightAt + 8;  // the plate's height stands between
constexpr std::size_t layersOffsetAt = 0x2fb8e;
constexpr std::size_t headerBytes = 0x2fb95;

std::string textAt(const uint8_t* bytes) {
  const uint8_t* const end = std::find(bytes, bytes + nameBytes, 0);
  return {bytes, end};
}

double lengthAt(const uint8_t* bytes, const std::string& what) {
  const double value = bigEndianFloat(bytes);
  constexpr double most = 10'000;
  if (std::isfinite(value) && value > 0 && value < most) return value;
  throw FileError(
      "the header of the GOO file gives the " + what + " as " + numberText(value) + " mm",
      files::copyAgain);
}

}  // namespace

bool isGoo(files::ByteSource& source) {
  std::array<char, magic.size()> head{};
  return source.read(magicAt, head) == head.size() &&
         std::equal(magic.begin(), magic.end(), head.begin(), [](uint8_t wanted, char there) {
           return wanted == static_cast<uint8_t>(there);
         });
}

GooHeader readGooHeader(files::ByteSource& source) {
  std::vector<uint8_t> bytes(headerBytes);
  const std::size_t there = source.read(0, {reinterpret_cast<char*>(bytes.data()), bytes.size()});
  if (there < headerBytes) {
    throw FileError(
        "the GOO file is cut off in its header, which has " + files::counted(headerBytes, "byte"),
        files::copyAgain);
  }
  GooHeader header;
  header.printer = textAt(&bytes[printerAt]);
  header.material = textAt(&bytes[profileAt]);
  header.layerCount = bigEndian32(&bytes[layerCountAt]);
  header.width = bigEndian16(&bytes[widthAt]);
  header.height = bigEndian16(&bytes[heightAt]);
  header.isMirroredX = bytes[mirrorXAt] != 0;
  header.isMirroredY = bytes[mirrorYAt] != 0;
  header.layersAt = bigEndian32(&bytes[layersOffsetAt]);
  if (header.layerCount == 0 || header.layerCount > mostLayers) {
    throw FileError("the header of the GOO file tells of " +
                        files::counted(header.layerCount, "layer") + "; 1 to " +
                        files::grouped(mostLayers) + " are read",
                    files::copyAgain);
  }
  if (header.width == 0 || header.height == 0 ||
      uint64_t{header.width} * header.height > mostPixels) {
    throw FileError("the header of the GOO file tells of layers of " +
                        files::grouped(header.width) + " x " + files::grouped(header.height) +
                        " pixels; 1 to " + files::grouped(mostPixels) + " are read",
                    files::copyAgain);
  }
  header.screenWidth = lengthAt(&bytes[screenWidthAt], "screen's width");
  header.screenHeight = lengthAt(&bytes[screenHeightAt], "screen's height");
  header.layerHeight = lengthAt(&bytes[layerHeightAt], "layer height");
  if (header.layersAt < headerBytes || header.layersAt > source.size()) {
    throw FileError("the header of the GOO file says that the layers begin at byte " +
                        files::grouped(header.layersAt) + " of " + files::grouped(source.size()),
                    files::copyAgain);
  }
  return header;
}

}  // namespace stiltforge::printer_files
