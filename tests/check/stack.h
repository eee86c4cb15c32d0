#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "check/print_check.h"
#include "core/drawing.h"

namespace stiltforge::check {

// A print as rows of text: '#' is material. Its supports, if they are not in the layers.
struct Stack {
  std::vector<Rows> layers;
  std::vector<SupportPoint> points;

  int width() const { return static_cast<int>(layers.at(0).at(0).size()); }
  int height() const { return static_cast<int>(layers.at(0).size()); }
  int depth() const { return static_cast<int>(layers.size()); }
  bool at(int layer, int x, int y) const {
    return layer >= 0 && layer < depth() && x >= 0 && x < width() && y >= 0 && y < height() &&
           layers[static_cast<std::size_t>(layer)][static_cast<std::size_t>(y)]
                 [static_cast<std::size_t>(x)] == '#';
  }
  void addLayers(std::size_t count, const Rows& rows) { layers.insert(layers.end(), count, rows); }
};

inline RunRows runsOf(const Rows& rows) {
  RunRows runs;
  for (const std::string& row : rows) {
    for (std::size_t x = 0; x < row.size(); ++x) {
      if (row[x] == '#') runs.add(static_cast<int32_t>(x), static_cast<int32_t>(x) + 1);
    }
    runs.endRow();
  }
  return runs;
}

inline CheckReport check(const Stack& stack, CheckSettings settings) {
  PrintCheck check(settings, stack.points);
  for (const Rows& rows : stack.layers) {
    check.add(runsOf(rows), static_cast<uint32_t>(stack.width()));
  }
  return check.finish();
}

// Pixels and layers of a millimetre on a screen of that stack with a free border around it, so that
// a test counts in them. Everything counts, however small.
inline CheckSettings unitSettings(const Stack& stack) {
  CheckSettings settings;
  settings.pixelWidth = settings.pixelHeight = settings.layerHeight = 1;
  settings.screenWidth = static_cast<uint32_t>(stack.width()) + 2;
  settings.screenHeight = static_cast<uint32_t>(stack.height()) + 2;
  settings.cropX = settings.cropY = 1;
  settings.tipRadius = 0;
  settings.nearReach = 4;
  settings.farReach = 5;
  settings.islandHeight = 2;
  settings.speckVolume = settings.leastOverhang = settings.leastTrap = settings.leastCup = 0;
  settings.riskyTrap = 10;
  settings.riskyCup = 10;
  return settings;
}

}  // namespace stiltforge::check
