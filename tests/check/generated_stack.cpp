#include "generated_stack.h"

#include <algorithm>
#include <string>

namespace stiltforge::check {

namespace {

// Columns [x, x + sizeX), rows [y, y + sizeY) and layers [z, z + sizeZ).
struct Block {
  uint32_t x, y, z, sizeX, sizeY, sizeZ;

  void fill(char what, std::vector<Rows>& layers) const {
    for (uint32_t layer = z; layer < z + sizeZ; ++layer) {
      for (uint32_t row = y; row < y + sizeY; ++row) {
        std::fill_n(layers[layer][row].begin() + x, sizeX, what);
      }
    }
  }
};

Block randomBlock(Random& random, const Stack& stack) {
  const auto width = static_cast<uint32_t>(stack.width());
  const auto height = static_cast<uint32_t>(stack.height());
  const auto depth = static_cast<uint32_t>(stack.depth());
  Block block{random.below(width), random.below(height), random.below(depth), 1, 1, 1};
  block.sizeX += random.below(width - block.x);
  block.sizeY += random.below(height - block.y);
  block.sizeZ += random.below(depth - block.z);
  return block;
}

// A block with a hollow in it, which may be open to the plate or to the layers above.
void addHollow(Random& random, Stack& stack) {
  if (stack.width() < 5 || stack.height() < 5) return;
  Block block = randomBlock(random, stack);
  block.x = 1 + random.below(static_cast<uint32_t>(stack.width()) - 4);
  block.y = 1 + random.below(static_cast<uint32_t>(stack.height()) - 4);
  block.sizeX = 3 + random.below(static_cast<uint32_t>(stack.width()) - block.x - 3);
  block.sizeY = 3 + random.below(static_cast<uint32_t>(stack.height()) - block.y - 3);
  block.fill('#', stack.layers);
  const uint32_t floor = random.below(2);
  const uint32_t roof = random.below(2);
  if (block.sizeZ <= floor + roof) return;
  const Block hollow{block.x + 1,     block.y + 1,     block.z + floor,
                     block.sizeX - 2, block.sizeY - 2, block.sizeZ - floor - roof};
  hollow.fill('.', stack.layers);
}

}  // namespace

Stack randomStack(Random& random) {
  const uint32_t width = 1 + random.below(14);
  const uint32_t height = 1 + random.below(10);
  const uint32_t depth = 1 + random.below(9);
  Stack stack;
  stack.addLayers(depth, Rows(height, std::string(width, '.')));
  const uint32_t blocks = 1 + random.below(5);
  for (uint32_t i = 0; i < blocks; ++i) {
    if (random.oneIn(3)) {
      addHollow(random, stack);
    } else {
      randomBlock(random, stack).fill(random.oneIn(3) ? '.' : '#', stack.layers);
    }
  }
  const uint32_t specks = random.oneIn(2) ? 0 : random.below(width * height / 2 + 1);
  for (uint32_t i = 0; i < specks; ++i) {
    char& pixel = stack.layers[random.below(depth)][random.below(height)][random.below(width)];
    pixel = pixel == '#' ? '.' : '#';
  }
  if (random.oneIn(6)) {
    const uint32_t empty = random.below(depth);
    const uint32_t count = 1 + random.below(std::min(depth - empty, 2u));
    for (uint32_t z = empty; z < empty + count; ++z) {
      stack.layers[z] = Rows(height, std::string(width, '.'));
    }
  }
  const uint32_t points = random.oneIn(2) ? 0 : random.below(5);
  for (uint32_t i = 0; i < points; ++i) {
    stack.points.push_back({random.below(depth + 1), static_cast<uint16_t>(random.below(width + 1)),
                            static_cast<uint16_t>(random.below(height + 1))});
  }
  return stack;
}

}  // namespace stiltforge::check
