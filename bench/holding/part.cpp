#include "part.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "mesh/mesh_error.h"
#include "mesh/read_mesh.h"
#include "model/model.h"
#include "print/analysis_parameters.h"
#include "print/hold_settings.h"
#include "slicing/slicer.h"

namespace stiltforge::bench {

namespace {

constexpr uint32_t batch = 16;

std::vector<hold::SupportPoint> pointsOf(const Layer& layer) {
  std::vector<hold::SupportPoint> points;
  for (const Group& group : layer.groups) {
    if (!group.placement) continue;
    for (const Voxel& v : group.placement->supports) points.push_back({v.x, v.y, v.isMinima});
  }
  return points;
}

using Corner = std::array<float, 3>;

void addBox(const Corner& low, const Corner& high, std::vector<float>& positions) {
  constexpr std::array<std::array<std::size_t, 4>, 6> faces{
      {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}}};
  for (const auto& [a, b, c, d] : faces) {
    for (const std::size_t i : {a, b, c, a, c, d}) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        positions.push_back((i >> axis & 1) != 0 ? high[axis] : low[axis]);
      }
    }
  }
}

}  // namespace

std::vector<Part> readParts(const std::filesystem::path& path) {
  std::vector<std::filesystem::path> files;
  if (std::filesystem::is_directory(path)) {
    constexpr std::array<const char*, 4> extensions{".stl", ".obj", ".ply", ".3mf"};
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      const std::string extension = entry.path().extension().string();
      if (std::find(extensions.begin(), extensions.end(), extension) != extensions.end()) {
        files.push_back(entry.path());
      }
    }
    std::sort(files.begin(), files.end());
  } else {
    files.push_back(path);
  }
  std::vector<Part> parts;
  for (const std::filesystem::path& file : files) {
    try {
      parts.push_back({file.stem().string(), mesh::readMeshFile(file).positions, 0});
    } catch (const mesh::MeshError& error) {
      throw std::runtime_error(file.string() + ": " + error.what());
    }
  }
  return parts;
}

Part boxPart() {
  Part box{"box of 40 mm", {}, 0};
  addBox({0, 0, 0}, {40, 40, 10}, box.positions);
  return box;
}

Part tilted(Part part, double degrees) {
  const double angle = degrees * std::numbers::pi / 180;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  for (std::size_t i = 0; i + 2 < part.positions.size(); i += 3) {
    const double x = part.positions[i];
    const double z = part.positions[i + 2];
    part.positions[i] = static_cast<float>(c * x + s * z);
    part.positions[i + 2] = static_cast<float>(c * z - s * x);
  }
  return part;
}

hold::Survey surveyOf(const Part& part, const PrintSettings& print, Times& times) {
  PrintSettings lifted = print;
  lifted.lift = part.lift;
  slicing::Slicer slicer(part.positions, slicerSettings(lifted));
  const auto width = static_cast<uint32_t>(slicer.placement().width);
  const auto height = static_cast<uint32_t>(slicer.placement().height);
  const uint32_t layers = slicer.layerCount();
  Model model(modelParameters(print, width, height, layers).settings, std::size_t{width} * height);
  hold::Survey survey(surveySettings(print));
  std::vector<Slice> slices;
  for (uint32_t layer = 0; layer < layers; layer += batch) {
    slices.assign(std::min(batch, layers - layer), Slice());
    slicer.slice(layer, slices);
    for (const Slice& slice : slices) {
      timed(times.survey, [&] { survey.add(slice); });
      timed(times.analysis, [&] { model.analyse(slice, {}); });
      timed(times.survey, [&] { survey.addPoints(slice, pointsOf(model.layers().back())); });
    }
  }
  timed(times.survey, [&] { survey.finish(); });
  return survey;
}

}  // namespace stiltforge::bench
