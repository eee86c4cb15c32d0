#include "slicing/mask_runs.h"

#include <cstring>

namespace stiltforge::slicing {

namespace {

// First column from x on that is not `value`, or width: eight pixels at a time where they are
// alike.
int skip(const uint8_t* row, int x, int width, uint8_t value) {
  const uint64_t eight = value * uint64_t{0x0101010101010101};
  for (; x + 8 <= width; x += 8) {
    uint64_t pixels;
    std::memcpy(&pixels, row + x, sizeof pixels);
    if (pixels != eight) break;
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

void findMaskRuns(const uint8_t* mask, std::size_t stride, int width, int height, uint8_t threshold,
                  RunRows& material) {
  material.clear();
  for (int y = 0; y < height; ++y, mask += stride) {
    for (int x = findMaterial(mask, 0, width, threshold); x < width;) {
      const int end = findBackground(mask, x, width, threshold);
      material.add(x, end);
      x = findMaterial(mask, end, width, threshold);
    }
    material.endRow();
  }
}

}  // namespace stiltforge::slicing
