#include "generated_part.h"

#include <cstdint>
#include <string>
#include <vector>

namespace stiltforge::hold {

namespace {

// Columns [x, x + sizeX), rows [y, y + sizeY) and layers [z, z + sizeZ).
struct Block {
  uint32_t x = 0;
  uint32_t y = 0;
  uint32_t z = 0;
  uint32_t sizeX = 0;
  uint32_t sizeY = 0;
  uint32_t sizeZ = 0;

  void fill(char what, std::vector<Rows>& layers) const {
    for (uint32_t layer = z; layer < z + sizeZ; ++layer) {
      for (uint32_t row = y; row < y + sizeY; ++row) {
        for (uint32_t column = x; column < x + sizeX; ++column) layers[layer][row][column] = what;
      }
    }
  }
};

Block randomBlock(Random& random, uint32_t width, uint32_t height, uint32_t layers) {
  Block block;
  block.x = random.below(width);
  block.y = random.below(height);
  block.z = random.below(layers);
  block.sizeX = 1 + random.below(width - block.x);
  block.sizeY = 1 + random.below(height - block.y);
  block.sizeZ = 1 + random.below(layers - block.z);
  return block;
}

// Solid but for a void of at least one pixel.
void addHollowBlock(Random& random, std::vector<Rows>& layers, Part& part) {
  const auto width = static_cast<uint32_t>(layers[0][0].size());
  const auto height = static_cast<uint32_t>(layers[0].size());
  const auto count = static_cast<uint32_t>(layers.size());
  if (width < 5 || height < 5 || count < 4) return;
  Block block;
  block.x = block.y = 1;
  block.z = random.below(count - 3);
  block.sizeX = 3 + random.below(width - 4);
  block.sizeY = 3 + random.below(height - 4);
  block.sizeZ = 3 + random.below(count - block.z - 2);
  block.fill('#', layers);
  const Block hollow{block.x + 1,     block.y + 1,     block.z + 1,
                     block.sizeX - 2, block.sizeY - 2, block.sizeZ - 2};
  hollow.fill('.', layers);
  part.addPoint(hollow.z + hollow.sizeZ, static_cast<int>(hollow.x), static_cast<int>(hollow.y));
}

}  // namespace

Part randomPart(Random& random) {
  const uint32_t width = 1 + random.below(16);
  const uint32_t height = 1 + random.below(16);
  const uint32_t layers = 1 + random.below(12);
  std::vector<Rows> pictures(layers, Rows(height, std::string(width, '.')));
  const uint32_t blocks = 1 + random.below(6);
  for (uint32_t b = 0; b < blocks; ++b) {
    randomBlock(random, width, height, layers).fill(random.oneIn(3) ? '.' : '#', pictures);
  }
  Part part;
  if (random.oneIn(3)) addHollowBlock(random, pictures, part);
  const uint32_t specks = random.oneIn(2) ? 0 : random.below(width * height);
  for (uint32_t i = 0; i < specks; ++i) {
    char& pixel = pictures[random.below(layers)][random.below(height)][random.below(width)];
    pixel = pixel == '#' ? '.' : '#';
  }
  const uint32_t rarity = 1 + random.below(6);
  for (Rows& rows : pictures) {
    for (std::string& row : rows) {
      for (char& c : row) {
        if (c == '#' && rarity > 1 && random.oneIn(rarity)) c = '+';
      }
    }
    part.addLayer(rows);
  }
  const uint32_t points = random.below(6);
  for (uint32_t i = 0; i < points; ++i) {
    part.addPoint(random.below(layers), static_cast<int>(random.below(width + 1)),
                  static_cast<int>(random.below(height + 1)));
  }
  return part;
}

}  // namespace stiltforge::hold
