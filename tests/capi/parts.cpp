#include "capi/parts.h"

#include <cstddef>

namespace stiltforge::capi_test {

namespace {

struct Corner {
  float x, y, z;
};

void appendBox(std::vector<float>& part, Corner min, Corner max) {
  constexpr int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                               {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  const auto append = [&](int corner) {
    part.insert(part.end(), {(corner & 1) != 0 ? max.x : min.x, (corner & 2) != 0 ? max.y : min.y,
                             (corner & 4) != 0 ? max.z : min.z});
  };
  for (const auto& face : faces) {
    for (const int corner : {0, 1, 2, 0, 2, 3}) append(face[corner]);
  }
}

}  // namespace

std::vector<float> table() {
  std::vector<float> part;
  appendBox(part, {0, 0, 0}, {12, 12, 1});
  appendBox(part, {5, 5, 0.5}, {7, 7, 4});
  appendBox(part, {0, 0, 3.5}, {12, 12, 4.5});
  return part;
}

std::vector<float> tableAndBlock() {
  std::vector<float> part = table();
  appendBox(part, {14, 0, 2}, {16, 2, 4});
  return part;
}

host::PrintSettings coarsePrint() {
  host::PrintSettings print;
  print.pixel_size = 0.1;
  print.layer_height = 0.1;
  return print;
}

std::vector<Place> places(const std::vector<host::Support>& supports) {
  std::vector<Place> list;
  for (const host::Support& support : supports) {
    list.emplace_back(support.layer, support.group, support.x, support.y, support.island);
  }
  return list;
}

std::vector<Place> placesOf(const std::vector<float>& part, const host::PrintSettings& print) {
  host::Slicer slicer(host::Mesh(part), print);
  host::Model model(slicer.parameters());
  model.analyse(slicer);
  return places(model.supports());
}

host::Slice fullSlice(uint32_t width, uint32_t height, uint32_t overhanging) {
  std::vector<uint8_t> rgba(std::size_t{4} * width * height, 255);
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    const auto column = static_cast<uint32_t>(i / 4 % width);
    if (column >= width - overhanging) rgba[i + 2] = 0;
  }
  host::Slice slice;
  slice.setRgba(rgba.data(), rgba.size(), width, height);
  return slice;
}

host::Slice emptySlice(uint32_t width, uint32_t height) {
  const std::vector<uint8_t> rgba(std::size_t{4} * width * height, 0);
  host::Slice slice;
  slice.setRgba(rgba.data(), rgba.size(), width, height);
  return slice;
}

host::Parameters smallParameters() {
  host::PrintSettings print;
  print.pixel_size = 1;
  print.layer_height = 1;
  print.support_area = 100;
  return host::Parameters(print, 40, 30, 3);
}

}  // namespace stiltforge::capi_test
