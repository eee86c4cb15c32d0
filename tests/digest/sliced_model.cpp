#include "sliced_model.h"

#include <array>
#include <cmath>

#include "slicing/slicer.h"

namespace stiltforge::digest {

namespace {

using Point = std::array<double, 3>;

// Only arithmetic and square roots, which are exact to the last bit everywhere.
class Soup {
 public:
  void addTriangle(const Point& a, const Point& b, const Point& c) {
    for (const Point* corner : {&a, &b, &c}) {
      for (const double value : *corner) positions.push_back(static_cast<float>(value));
    }
  }

  void addQuad(const Point& a, const Point& b, const Point& c, const Point& d) {
    addTriangle(a, b, c);
    addTriangle(a, c, d);
  }

  // A square column whose top is shifted by (leanX, leanY) and widened by `growth`.
  void addPrism(Point base, double side, double height, double leanX, double leanY, double growth) {
    std::array<Point, 4> bottom;
    std::array<Point, 4> top;
    constexpr double cornerX[4] = {-1, 1, 1, -1};
    constexpr double cornerY[4] = {-1, -1, 1, 1};
    for (int i = 0; i < 4; ++i) {
      const double half = side / 2;
      bottom[i] = {base[0] + cornerX[i] * half, base[1] + cornerY[i] * half, base[2]};
      top[i] = {base[0] + leanX + cornerX[i] * (half + growth),
                base[1] + leanY + cornerY[i] * (half + growth), base[2] + height};
    }
    addQuad(bottom[3], bottom[2], bottom[1], bottom[0]);
    addQuad(top[0], top[1], top[2], top[3]);
    for (int i = 0; i < 4; ++i) {
      const int next = (i + 1) % 4;
      addQuad(bottom[i], bottom[next], top[next], top[i]);
    }
  }

  // The faces of a cube, 16 x 16 squares each, blown up to a sphere.
  void addSphere(const Point& centre, double radius) {
    constexpr int cells = 16;
    const auto onSphere = [&](int face, int i, int j) {
      const double u = 2.0 * i / cells - 1;
      const double v = 2.0 * j / cells - 1;
      const double sign = face % 2 == 0 ? 1 : -1;
      Point p{};
      const int axis = face / 2;
      p[axis] = sign;
      p[(axis + 1) % 3] = sign * u;
      p[(axis + 2) % 3] = v;
      const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
      for (int k = 0; k < 3; ++k) p[k] = centre[k] + radius * p[k] / length;
      return p;
    };
    for (int face = 0; face < 6; ++face) {
      for (int i = 0; i < cells; ++i) {
        for (int j = 0; j < cells; ++j) {
          addQuad(onSphere(face, i, j), onSphere(face, i + 1, j), onSphere(face, i + 1, j + 1),
                  onSphere(face, i, j + 1));
        }
      }
    }
  }

  std::vector<float> positions;
};

}  // namespace

std::vector<float> modelMesh() {
  Soup soup;
  soup.addSphere({-14, 0, 16}, 14);
  soup.addPrism({14, -8, 0}, 4, 24, 10, 6, 3);
  soup.addPrism({14, 12, 6}, 3, 14, -6, -14, 1);
  for (int i = 0; i < 6; ++i) soup.addPrism({4.0 + 5 * i, 16, 3.0 + i}, 0.5, 9, 0, -1, 1.5);
  soup.addPrism({0, -17, 18}, 1, 6, 0, 3, 8);
  return soup.positions;
}

reference::Stack slicedModel(double pixelSize, double layerHeight) {
  reference::Stack stack;
  stack.parameters = {{"addSupport", 1},
                      {"supportStrength", 3000},
                      {"growthStrength", 1},
                      {"strengthTransmited", 0.9},
                      {"firstSupportMinStrength", 1},
                      {"numberOfSamplePerSupport", 400},
                      {"numberOfSamplePerVoronoi", 300},
                      {"ghostPart", 1},
                      {"strokePart", 0.3},
                      {"anglePart", 1},
                      {"maxSupportRadiusInIsland", 40},
                      {"islandSupportMultiplier", 1.5},
                      {"islandStrengthSupport", 1.1},
                      {"strengthOfPlatePixel", 1},
                      {"maxZGhost", 100},
                      {"maxGhost", 200},
                      {"ghostRadius", 60},
                      {"maxVoronoiIteration", 8},
                      {"validationDistanceFormVoronoi", 1},
                      {"distCloseToIsland", 2},
                      {"closeToIslandStrengthTransmited", 1.2},
                      {"almostNotBlueCounterLimit", 50},
                      {"islandMinBlue", 50}};
  slicing::SlicerSettings settings;
  settings.screen.width = 1200;
  settings.screen.height = 800;
  settings.screen.margin = 1200;
  settings.screen.pixelSize = pixelSize;
  settings.channels.layerHeight = layerHeight;
  slicing::Slicer slicer(modelMesh(), settings);
  stack.width = static_cast<uint16_t>(slicer.placement().width);
  stack.height = static_cast<uint16_t>(slicer.placement().height);
  for (uint32_t i = 0; i < slicer.layerCount(); ++i) {
    stack.slices.emplace_back(std::size_t{4} * stack.width * stack.height);
    slicer.slice(i, stack.slices.back().data());
  }
  return stack;
}

}  // namespace stiltforge::digest
