#include "reference/stack_generator.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <limits>

namespace stiltforge::reference {
namespace {

// SplitMix64 (Steele, Lea, Flood 2014).
class Random {
 public:
  explicit Random(uint64_t seed) : state(seed) {}

  uint64_t next() {
    state += 0x9e3779b97f4a7c15u;
    uint64_t z = state;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }

  // In [low, high].
  int integer(int low, int high) {
    return low + static_cast<int>(next() % static_cast<uint64_t>(high - low + 1));
  }
  // In [low, high), on a grid of 2^-24 of the range.
  double real(double low, double high) {
    return low + (high - low) * (static_cast<double>(next() >> 40) / 16777216.0);
  }
  bool oneIn(int n) { return integer(1, n) == 1; }
  double pick(std::initializer_list<double> values) {
    return values.begin()[integer(0, static_cast<int>(values.size()) - 1)];
  }

 private:
  uint64_t state;
};

using Mask = std::vector<uint8_t>;
using Plane = std::vector<uint8_t>;

class StackGenerator {
 public:
  explicit StackGenerator(uint64_t seed) : random(seed) {}

  Stack generate() {
    chooseSize();
    const int sliceCount = random.integer(1, 8);
    chooseParameters(sliceCount);
    const int bodyCount = random.integer(1, 6);
    for (int i = 0; i < bodyCount; ++i) bodies.push_back(chooseBody(sliceCount));
    const int blueMode = random.integer(0, 6);
    const int greenMode = random.integer(0, 6);
    for (int z = 0; z < sliceCount; ++z) {
      const Mask mask = drawSlice(z);
      const Plane blue = drawPlane(z == 0 && random.oneIn(3) ? 0 : blueMode);
      const Plane green = drawPlane(greenMode);
      stack.slices.push_back(toPixels(mask, green, blue));
    }
    return std::move(stack);
  }

 private:
  enum class Shape { disc, ring, box, frame, comb, spiral, checkerboard, diagonals, noise, pixel };

  // A shape that lives on some slices and moves and grows from one to the next.
  struct Body {
    Shape shape = Shape::disc;
    int firstSlice = 0;
    int lastSlice = 0;
    int x = 0;
    int y = 0;
    int stepX = 0;
    int stepY = 0;
    int radius = 0;
    int growth = 0;
    int period = 2;
    int percent = 50;
    bool carves = false;
  };

  size_t indexOf(int x, int y) const {
    return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
  }

  void chooseSize() {
    const auto side = [&] {
      const int kind = random.integer(0, 9);
      if (kind == 0) return 1;
      if (kind == 1) return random.integer(2, 4);
      return random.integer(5, kind < 5 ? 40 : 96);
    };
    width = side();
    height = side();
    stack.width = static_cast<uint16_t>(width);
    stack.height = static_cast<uint16_t>(height);
  }

  void chooseParameters(int sliceCount) {
    auto& p = stack.parameters;
    p["width"] = width;
    p["height"] = height;
    p["numLayer"] = sliceCount;
    p["needBuffer"] = random.integer(0, 1);
    p["addSupport"] = random.oneIn(12) ? 0 : 1;
    p["supportStrength"] = random.real(2.0, random.pick({20.0, 80.0, 400.0}));
    p["growthStrength"] = random.pick({0.0, 0.5, 1.0, 3.0});
    p["strengthTransmited"] = random.real(0.0, 1.5);
    p["firstSupportMinStrength"] = random.pick({0.0, 0.5, 1.0, 2.0, 8.0});
    p["numberOfSamplePerSupport"] = random.real(1.0, random.pick({8.0, 60.0}));
    p["ghostPart"] = random.real(0.0, 2.0);
    p["strokePart"] = random.real(0.0, 2.0);
    p["anglePart"] = random.real(0.0, 2.0);
    p["numberOfSamplePerVoronoi"] = random.real(1.0, random.pick({6.0, 60.0, 300.0}));
    p["maxSupportRadiusInIsland"] = random.real(1.5, random.pick({6.0, 20.0, 80.0}));
    p["islandSupportMultiplier"] = random.real(0.5, 2.0);
    p["islandStrengthSupport"] = random.real(0.5, 2.0);
    p["strengthOfPlatePixel"] = random.real(0.0, 1.5);
    p["maxZGhost"] = random.real(0.0, 100.0);
    p["maxGhost"] = random.pick({1, 2, 5, 40, 200, 200});
    p["ghostRadius"] = random.oneIn(2) ? random.integer(0, 24) : random.real(0.1, 24.0);
    p["maxVoronoiIteration"] = random.pick({1.0, 1.0, 2.0, 5.0, 20.0});
    p["validationDistanceFormVoronoi"] = random.pick({0.0, 0.5, 1.0, 1.5, 4.0});
    p["distCloseToIsland"] = random.pick({0.0, 1.0, 2.0, 2.0, 2.5, 4.0});
    p["closeToIslandStrengthTransmited"] = random.real(0.0, 2.0);
    p["almostNotBlueCounterLimit"] = random.real(0.0, 260.0);
    p["islandMinBlue"] = random.real(0.0, 260.0);
    p["maxGhostValueToPlaceSupport"] = random.real(0.0, 2.0);
    if (random.oneIn(3)) spoilParameters();
  }

  // Values at which divisors vanish, signs turn and conversions leave their range.
  void spoilParameters() {
    constexpr double inf = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    auto& p = stack.parameters;
    const int count = random.integer(1, 3);
    for (int i = 0; i < count; ++i) {
      switch (random.integer(0, 13)) {
        case 0:
          p["supportStrength"] = random.pick({0.0, -5.0, 1e-30, 1e30, 1e300, inf, nan});
          break;
        case 1:
          p["growthStrength"] = random.pick({-1.0, 1e-30, inf, nan});
          break;
        case 2:
          p["strengthTransmited"] = random.pick({-1.0, 1e30, inf, nan});
          break;
        case 3:
          p["firstSupportMinStrength"] = random.pick({-1.0, 1e-30, inf, nan});
          break;
        case 4:
          p["numberOfSamplePerSupport"] = random.pick({0.0, -3.0, 1e-12, 1e30, inf, nan});
          break;
        case 5:
          p["numberOfSamplePerVoronoi"] = random.pick({0.0, -1.0, -7.5, 1e10, -1e10, inf, nan});
          break;
        case 6:  // every score the same, or every score NaN
          p["ghostPart"] = 0;
          p["strokePart"] = 0;
          p["anglePart"] = random.pick({0.0, 1.0, nan, inf});
          break;
        case 7:
          p["ghostPart"] = random.pick({-0.5, 0.0, 3.0});
          p["anglePart"] = random.pick({-0.25, 0.0, 3.0});
          break;
        case 8:
          p["islandStrengthSupport"] = random.pick({0.0, -1.0, 1e30, nan});
          break;
        case 9:
          p["strengthOfPlatePixel"] = random.pick({-1.0, 1e30, inf, nan});
          break;
        case 10:
          p["maxGhost"] = random.pick({0.0, -1.0, 0.9, 1e10, -1e10, nan});
          break;
        case 11:
          p["ghostRadius"] = random.pick({-4.0, 0.0, 0.25, 0.5, 0.75, 1.0, 100.25, nan});
          break;
        case 12:
          p["maxVoronoiIteration"] = random.pick({0.0, -1.0, 0.5, nan});
          p["validationDistanceFormVoronoi"] = random.pick({-2.0, inf, nan});
          break;
        default:
          p["distCloseToIsland"] = random.pick({-1.0, inf, nan});
          p["closeToIslandStrengthTransmited"] = random.pick({-1.0, 1e30, inf, nan});
          break;
      }
    }
  }

  Body chooseBody(int sliceCount) {
    Body body;
    body.shape = static_cast<Shape>(random.integer(0, 9));
    body.firstSlice = random.oneIn(2) ? 0 : random.integer(0, sliceCount - 1);
    body.lastSlice = random.oneIn(3) ? random.integer(body.firstSlice, sliceCount - 1) : sliceCount;
    body.x = random.integer(0, width - 1);
    body.y = random.integer(0, height - 1);
    body.stepX = random.integer(-2, 2);
    body.stepY = random.integer(-2, 2);
    const int longerSide = std::max(width, height);
    body.radius = random.integer(0, std::max(1, longerSide / 2));
    if (random.oneIn(4)) body.radius = longerSide;
    body.growth = random.integer(-3, 5);
    body.period = random.integer(2, 6);
    body.percent = random.integer(2, 90);
    body.carves = random.oneIn(8);
    return body;
  }

  Mask drawSlice(int z) {
    Mask mask(indexOf(0, height), 0);
    if (random.oneIn(25)) return mask;
    if (random.oneIn(25)) mask.assign(mask.size(), 1);
    for (const Body& body : bodies) {
      if (z < body.firstSlice || z > body.lastSlice) continue;
      drawBody(body, z - body.firstSlice, mask);
    }
    return mask;
  }

  void drawBody(const Body& body, int age, Mask& mask) {
    const int centreX = body.x + age * body.stepX;
    const int centreY = body.y + age * body.stepY;
    const int radius = body.radius + age * body.growth;
    for (int y = std::max(0, centreY - radius); y < std::min(height, centreY + radius + 1); ++y) {
      for (int x = std::max(0, centreX - radius); x < std::min(width, centreX + radius + 1); ++x) {
        if (covers(body, x - centreX, y - centreY, radius)) {
          mask[indexOf(x, y)] = body.carves ? 0 : 1;
        }
      }
    }
  }

  bool covers(const Body& body, int dx, int dy, int radius) {
    const int d2 = dx * dx + dy * dy;
    const int inner = radius - body.period;
    const int ringDistance = std::max(std::abs(dx), std::abs(dy));
    switch (body.shape) {
      case Shape::disc:
        return d2 <= radius * radius;
      case Shape::ring:
        return d2 <= radius * radius && (inner < 0 || d2 > inner * inner);
      case Shape::box:
        return true;
      case Shape::frame:
        return ringDistance > inner;
      case Shape::comb:
        return dy == -radius || (dx + radius) % body.period == 0;
      case Shape::spiral:  // square rings, each opened and joined to the next
        return (ringDistance % 2 == 0) != (dx == -dy - 1 && dx >= 0);
      case Shape::checkerboard:
        return ((dx + dy) & 1) == 0;
      case Shape::diagonals:
        return (dx + 2 * radius + (body.percent < 45 ? dy : -dy)) % body.period == 0;
      case Shape::noise:
        return random.integer(1, 100) <= body.percent;
      case Shape::pixel:
        return dx == 0 && dy == 0;
    }
    return false;
  }

  // A byte per pixel: constant, smooth or noisy.
  Plane drawPlane(int mode) {
    Plane plane(indexOf(0, height));
    const int centreX = random.integer(0, width - 1);
    const int centreY = random.integer(0, height - 1);
    const int slope = random.integer(1, 12);
    const int level = random.integer(0, 255);
    const std::array<std::function<int(int, int)>, 7> values = {
        [](int, int) { return 255; },
        [](int, int) { return 0; },
        [&](int, int) { return level; },
        [&](int x, int y) { return (x * slope + y * 3) & 255; },
        [&](int x, int y) {
          return std::min(255, slope * (std::abs(x - centreX) + std::abs(y - centreY)));
        },
        [&](int, int) { return random.integer(0, 255); },
        [&](int, int) { return random.oneIn(slope) ? level : 255; },
    };
    const auto& value = values.at(static_cast<size_t>(mode));
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        plane[indexOf(x, y)] = static_cast<uint8_t>(value(x, y));
      }
    }
    return plane;
  }

  std::vector<uint8_t> toPixels(const Mask& mask, const Plane& green, const Plane& blue) {
    std::vector<uint8_t> pixels;
    const bool anyRed = random.oneIn(2);
    for (size_t i = 0; i < mask.size(); ++i) {
      if (mask[i] != 0) {
        const int red = anyRed ? random.integer(1, 255) : 255;
        pixels.insert(pixels.end(), {static_cast<uint8_t>(red), green[i], blue[i], 255});
      } else {
        pixels.insert(pixels.end(), {0, 0, 0, 255});
      }
    }
    return pixels;
  }

  Random random;
  Stack stack;
  int width = 1;
  int height = 1;
  std::vector<Body> bodies;
};

}  // namespace

Stack generateStack(uint64_t seed) {
  return StackGenerator(seed).generate();
}

}  // namespace stiltforge::reference
