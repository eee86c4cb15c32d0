#include "printer_files/goo_layer.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "printer_files/defect.h"

namespace stiltforge::printer_files {

namespace {

constexpr uint8_t startByte = 0x55;

/// What the two high bits of a run's first byte say of its grey.
enum RunKind : int { black = 0, grey = 1, step = 2, white = 3 };

/// Cuts runs that go over the ends of rows.
class RowFiller {
 public:
  RowFiller(uint32_t width, uint32_t height, RunRows& material)
      : width_(width), left_(uint64_t{width} * height), material_(material) {
    material.clear();
  }

  uint64_t left() const { return left_; }

  void add(uint32_t length, bool isMaterial) {
    left_ -= length;
    while (length > 0) {
      const uint32_t end = std::min(width_, x_ + length);
      if (isMaterial) material_.add(static_cast<int32_t>(x_), static_cast<int32_t>(end));
      length -= end - x_;
      x_ = end;
      if (x_ == width_) {
        material_.endRow();
        x_ = 0;
      }
    }
  }

 private:
  const uint32_t width_;
  uint32_t x_ = 0;
  uint64_t left_;  // pixels to come
  RunRows& material_;
};

uint8_t checksumOf(std::span<const uint8_t> runs) {
  uint8_t sum = 0;
  for (const uint8_t byte : runs) sum = static_cast<uint8_t>(sum + byte);
  return static_cast<uint8_t>(~sum);
}

/// The bytes of the runs, one after the other.
class RunBytes {
 public:
  explicit RunBytes(std::span<const uint8_t> runs) : at_(runs.data()), end_(at_ + runs.size()) {}

  bool isAtEnd() const { return at_ == end_; }
  uint8_t next() {
    if (at_ == end_) throw Defect{"is damaged: its last run is cut off"};
    return *at_++;
  }

 private:
  const uint8_t* at_;
  const uint8_t* end_;
};

/// The low four bits of a length stand in the first byte, the others in up to three that follow.
uint32_t lengthOf(int first, RunBytes& bytes) {
  const int following = first >> 4 & 3;
  uint32_t high = 0;
  for (int i = 0; i < following; ++i) high = high << 8 | bytes.next();
  return high << 4 | static_cast<uint32_t>(first & 0xf);
}

}  // namespace

void decodeGooLayer(std::span<const uint8_t> packed, uint32_t width, uint32_t height,
                    uint8_t threshold, RunRows& material) {
  if (packed.size() < 2 || packed.front() != startByte) {
    throw Defect{"is damaged: its runs do not begin as GOO has it"};
  }
  const std::span<const uint8_t> runs = packed.subspan(1, packed.size() - 2);
  if (checksumOf(runs) != packed.back()) throw Defect{"is damaged: its checksum is wrong"};
  RowFiller rows(width, height, material);
  RunBytes bytes(runs);
  int value = 0;
  while (!bytes.isAtEnd()) {
    const int first = bytes.next();
    uint32_t length = 0;
    switch (first >> 6) {
      case black:
        value = 0;
        length = lengthOf(first, bytes);
        break;
      case white:
        value = 255;
        length = lengthOf(first, bytes);
        break;
      case grey:
        value = bytes.next();
        length = lengthOf(first, bytes);
        break;
      default: {
        constexpr int lengthFlag = 0x10;
        constexpr int darkerFlag = 0x20;
        const int difference = first & 0xf;
        value += (first & darkerFlag) != 0 ? -difference : difference;
        length = (first & lengthFlag) != 0 ? bytes.next() : 1;
        if (value < 0 || value > 255) throw Defect{"is damaged: a run is brighter than white"};
      }
    }
    if (length > rows.left()) {
      throw Defect{"is damaged: its runs cover more than " + std::to_string(width) + " x " +
                   std::to_string(height) + " pixels"};
    }
    rows.add(length, value >= threshold);
  }
  if (rows.left() > 0) {
    throw Defect{"is damaged: its runs leave " + files::counted(rows.left(), "pixel") + " of " +
                 std::to_string(width) + " x " + std::to_string(height) + " open"};
  }
}

}  // namespace stiltforge::printer_files
