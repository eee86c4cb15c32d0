#include "slicing/mask_pictures.h"

#include <cstdint>

namespace stiltforge::slicing {

RunRows runsOf(const MaskPicture& mask) {
  RunRows runs;
  for (const std::string& row : mask) {
    for (int32_t x = 0; x < static_cast<int32_t>(row.size()); ++x) {
      if (row[static_cast<std::size_t>(x)] == '#') runs.add(x, x + 1);
    }
    runs.endRow();
  }
  return runs;
}

MaskPicture noise(std::mt19937& random, std::size_t width, std::size_t height, double density) {
  std::bernoulli_distribution solid(density);
  MaskPicture mask(height, std::string(width, '.'));
  for (std::string& row : mask) {
    for (char& pixel : row) pixel = solid(random) ? '#' : '.';
  }
  return mask;
}

MaskPicture discs(std::mt19937& random, std::size_t width, std::size_t height, int count) {
  MaskPicture mask(height, std::string(width, '.'));
  for (int i = 0; i < count; ++i) {
    const double x = static_cast<double>(random() % width);
    const double y = static_cast<double>(random() % height);
    const double r = static_cast<double>(random() % 40);
    const bool hole = i % 4 == 3;
    for (std::size_t row = 0; row < height; ++row) {
      for (std::size_t column = 0; column < width; ++column) {
        const double dx = static_cast<double>(column) - x;
        const double dy = static_cast<double>(row) - y;
        if (dx * dx + dy * dy <= r * r) mask[row][column] = hole ? '.' : '#';
      }
    }
  }
  return mask;
}

}  // namespace stiltforge::slicing
