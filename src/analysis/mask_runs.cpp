#include "analysis/mask_runs.h"

#include <cstring>

namespace stiltforge {

namespace {

constexpr int wordPixels = 8;
constexpr int blockWords = 4;

// First column from x on that is not `value`, or width: many pixels at a time where they are alike.
int skip(const uint8_t* row, int x, int width, uint8_t value) {
  const uint64_t eight = value * uint64_t{0x0101010101010101};
  uint64_t words[blockWords];
  for (; x + blockWords * wordPixels <= width; x += blockWords * wordPixels) {
    std::memcpy(words, row + x, sizeof words);
    uint64_t difference = 0;
    for (const uint64_t word : words) difference |= word ^ eight;
    if (difference != 0) break;
  }
  for (; x + wordPixels <= width; x += wordPixels) {
    std::memcpy(words, row + x, wordPixels);
    if (words[0] != eight) break;
  }
  while (x < width && row[x] == value) ++x;
  return x;
}

int findMaterial(const uint8_t* row, int x, int width, uint8_t threshold) {
  while (x < width && row[x] < threshold) x = row[x] == 0 ? skip(row, x, width, 0) : x + 1;
  return x;
}

int findBackground(const uint8_t* row, int x, int width, uint8_t threshold) {
  while (x < width && row[x] >= threshold) x = row[x] == 255 ? skip(row, x, width, 255) : x + 1;
  return x;
}

}  // namespace

void addMaskRow(const uint8_t* row, int width, uint8_t threshold, RunRows& material) {
  for (int x = findMaterial(row, 0, width, threshold); x < width;) {
    const int end = findBackground(row, x, width, threshold);
    material.add(x, end);
    x = findMaterial(row, end, width, threshold);
  }
  material.endRow();
}

void findMaskRuns(const uint8_t* mask, std::size_t stride, int width, int height, uint8_t threshold,
                  RunRows& material) {
  material.clear();
  for (int y = 0; y < height; ++y, mask += stride) addMaskRow(mask, width, threshold, material);
}

}  // namespace stiltforge
