#include "slicing/shapes.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace stiltforge::slicing {

void append(Soup& soup, const Triangle& triangle) {
  for (const Vertex& corner : triangle) soup.insert(soup.end(), {corner.x, corner.y, corner.z});
}

Soup box(Vertex min, Vertex max) {
  const auto corner = [&](int i) {
    return Vertex{(i & 1) != 0 ? max.x : min.x, (i & 2) != 0 ? max.y : min.y,
                  (i & 4) != 0 ? max.z : min.z};
  };
  constexpr int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                               {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  Soup soup;
  for (const auto& face : faces) {
    append(soup, {corner(face[0]), corner(face[1]), corner(face[2])});
    append(soup, {corner(face[0]), corner(face[2]), corner(face[3])});
  }
  return soup;
}

Soup ball(Vertex centre, float radius, int segments, int rings) {
  constexpr double pi = 3.141592653589793;
  const auto corner = [&](int ring, int segment) {
    const double polar = pi * ring / rings;
    const double around = 2 * pi * (segment % segments) / segments;
    const double wide = ring == 0 || ring == rings ? 0 : radius * std::sin(polar);
    return Vertex{static_cast<float>(centre.x + wide * std::cos(around)),
                  static_cast<float>(centre.y + wide * std::sin(around)),
                  static_cast<float>(centre.z - radius * std::cos(polar))};
  };
  Soup soup;
  for (int ring = 0; ring < rings; ++ring) {
    for (int s = 0; s < segments; ++s) {
      if (ring < rings - 1)
        append(soup, {corner(ring, s), corner(ring + 1, s + 1), corner(ring + 1, s)});
      if (ring > 0) append(soup, {corner(ring, s), corner(ring, s + 1), corner(ring + 1, s + 1)});
    }
  }
  return soup;
}

Soup octahedron(Vertex centre, float radius) {
  const Vertex waist[4] = {{centre.x + radius, centre.y, centre.z},
                           {centre.x, centre.y + radius, centre.z},
                           {centre.x - radius, centre.y, centre.z},
                           {centre.x, centre.y - radius, centre.z}};
  Soup soup;
  for (int i = 0; i < 4; ++i) {
    const Vertex& next = waist[(i + 1) % 4];
    append(soup, {waist[i], next, Vertex{centre.x, centre.y, centre.z + radius}});
    append(soup, {next, waist[i], Vertex{centre.x, centre.y, centre.z - radius}});
  }
  return soup;
}

Soup flipped(Soup soup) {
  for (std::size_t i = 0; i < soup.size(); i += 9) {
    for (std::size_t k = 0; k < 3; ++k) std::swap(soup[i + 3 + k], soup[i + 6 + k]);
  }
  return soup;
}

Soup joined(std::initializer_list<Soup> soups) {
  Soup all;
  for (const Soup& soup : soups) all.insert(all.end(), soup.begin(), soup.end());
  return all;
}

Soup withoutTriangle(Soup soup, std::size_t triangle) {
  const auto first = soup.begin() + static_cast<std::ptrdiff_t>(triangle * 9);
  soup.erase(first, first + 9);
  return soup;
}

SlicerSettings unitSettings(uint32_t side) {
  SlicerSettings settings;
  settings.screen.pixelSize = 1;
  settings.screen.width = side;
  settings.screen.height = side;
  settings.channels.layerHeight = 1;
  return settings;
}

std::vector<std::string> picture(const std::vector<uint8_t>& rgba, int width) {
  std::vector<std::string> rows;
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    if (i % (static_cast<std::size_t>(width) * 4) == 0) rows.emplace_back();
    rows.back() += rgba[i] != 0 ? '#' : '.';
  }
  return rows;
}

std::vector<uint8_t> sliceBytes(Slicer& slicer, uint32_t index) {
  const ScreenPlacement& placement = slicer.placement();
  std::vector<uint8_t> rgba(static_cast<std::size_t>(placement.width) *
                            static_cast<std::size_t>(placement.height) * 4);
  slicer.slice(index, rgba.data());
  return rgba;
}

std::vector<std::string> slicePicture(Slicer& slicer, uint32_t index) {
  return picture(sliceBytes(slicer, index), slicer.placement().width);
}

double sliceVolume(Slicer& slicer, const SlicerSettings& settings) {
  std::vector<uint8_t> rgba(static_cast<std::size_t>(slicer.placement().width) *
                            static_cast<std::size_t>(slicer.placement().height) * 4);
  uint64_t pixels = 0;
  for (uint32_t i = 0; i < slicer.layerCount(); ++i) {
    pixels += slicer.slice(i, rgba.data()).materialPixels;
  }
  const double side = settings.screen.pixelSize;
  return static_cast<double>(pixels) * side * side * settings.channels.layerHeight;
}

}  // namespace stiltforge::slicing
