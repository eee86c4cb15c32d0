#include "printer_files/goo_writer.h"

#include <bit>
#include <cstddef>
#include <cstdlib>

namespace stiltforge::printer_files {

namespace {

std::string bigEndian(uint32_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    text += static_cast<char>(value >> shift);
  }
  return text;
}

std::string bigEndian(float value) {
  return bigEndian(std::bit_cast<uint32_t>(value), 4);
}

std::string padded(std::string text, std::size_t size) {
  text.resize(size, '\0');
  return text;
}

/// The first byte of a run and those of its length, as few as it needs; `grey` stands between.
std::string runOf(int kind, std::size_t length, const std::string& grey = {}) {
  int more = 0;
  while (more < 3 && length >> (4 + 8 * more) != 0) ++more;
  std::string text(1, static_cast<char>(kind << 6 | more << 4 | static_cast<int>(length & 0xf)));
  text += grey;
  for (int i = more - 1; i >= 0; --i) text += static_cast<char>(length >> (4 + 8 * i));
  return text;
}

std::string stepOf(int difference, std::size_t length) {
  const int darker = difference < 0 ? 0x20 : 0;
  const int counted = length > 1 ? 0x10 : 0;
  std::string text(1, static_cast<char>(0x80 | darker | counted | std::abs(difference)));
  if (length > 1) text += static_cast<char>(length);
  return text;
}

std::string exposure() {
  return bigEndian(0U, 2) + std::string(15 * 4, '\1') + bigEndian(255U, 2);
}

}  // namespace

std::string gooRuns(const std::string& runs) {
  uint8_t sum = 0;
  for (const char byte : runs) sum = static_cast<uint8_t>(sum + static_cast<uint8_t>(byte));
  return "\x55" + runs + static_cast<char>(~sum);
}

std::string gooLayer(const std::vector<uint8_t>& grey) {
  std::string runs;
  int last = 0;
  for (std::size_t begin = 0; begin < grey.size();) {
    const int value = grey[begin];
    std::size_t end = begin;
    while (end < grey.size() && grey[end] == value) ++end;
    const std::size_t length = end - begin;
    if (value == 0 || value == 255) {
      runs += runOf(value == 0 ? 0 : 3, length);
    } else if (begin > 0 && std::abs(value - last) < 16 && length < 256) {
      runs += stepOf(value - last, length);
    } else {
      runs += runOf(1, length, std::string(1, static_cast<char>(value)));
    }
    last = value;
    begin = end;
  }
  return gooRuns(runs);
}

std::string gooFile(const TestGoo& goo) {
  const std::string lineEnd = "\r\n";
  std::string head = "V3.0" + std::string("\7\0\0\0DLP\0", 8) + padded("a program", 32) +
                     padded("1.0", 24) + padded("2026-01-01 00:00:00", 24) +
                     padded(goo.printer, 32) + padded("a kind of printer", 32) +
                     padded(goo.material, 32) + std::string(3 * 2, '\0');
  for (const std::size_t side : {116, 290}) head += std::string(side * side * 2, '\7') + lineEnd;
  const auto layers =
      goo.announcedLayers < 0 ? goo.layers.size() : static_cast<std::size_t>(goo.announcedLayers);
  head += bigEndian(static_cast<uint32_t>(layers), 4) +
          bigEndian(static_cast<uint32_t>(goo.width), 2) +
          bigEndian(static_cast<uint32_t>(goo.height), 2) +
          bigEndian(static_cast<uint32_t>(goo.isMirroredX), 1) +
          bigEndian(static_cast<uint32_t>(goo.isMirroredY), 1) + bigEndian(goo.screenWidth) +
          bigEndian(goo.screenHeight) + bigEndian(200.0F) + bigEndian(goo.layerHeight);
  // Exposure, lifts, times and the price: 138 bytes that end with the place of the layers.
  head += std::string(134, '\1');
  const std::size_t size = head.size() + 4 + 1 + 2;
  head += bigEndian(static_cast<uint32_t>(size), 4) + std::string(3, '\0');
  for (const std::string& layer : goo.layers) {
    head += exposure() + (goo.hasLineEnds ? lineEnd : "") +
            bigEndian(static_cast<uint32_t>(layer.size()), 4) + layer + lineEnd;
  }
  return head + std::string("\0\0\0\7\0\0\0DLP\0", 11);
}

}  // namespace stiltforge::printer_files
