#include "hold/cover.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hold/lazy_greedy.h"
#include "hold/point_grid.h"

namespace stiltforge::hold {

namespace {

constexpr double cubesPerReach = 12;

struct Cube {
  Place place;
  uint64_t pixels = 0;
};

// In the order of their first pixels.
std::vector<Cube> cubesOf(const Survey& survey, double side) {
  const double columns = survey.settings().pixelSize / side;
  const double layers = survey.settings().layerHeight / side;
  std::vector<Cube> cubes;
  std::unordered_map<uint64_t, std::size_t> known;  // of the open storey, by column and row
  double storey = 0;
  for (uint32_t layer = 0; layer < survey.layerCount(); ++layer) {
    const double own = std::floor(layer * layers);
    if (own != std::exchange(storey, own)) known.clear();
    for (const OverhangRun& run : survey.overhang(layer)) {
      const auto row = static_cast<uint64_t>(run.y * columns);
      for (uint32_t x = run.begin; x < run.end; ++x) {
        const uint64_t key = row << 32 | static_cast<uint64_t>(x * columns);
        const auto [cube, isNew] = known.try_emplace(key, cubes.size());
        if (isNew) {
          cubes.emplace_back();
          cubes.back().place.layer = layer;
          cubes.back().place.x = static_cast<uint16_t>(x);
          cubes.back().place.y = run.y;
        }
        ++cubes[cube->second].pixels;
      }
    }
  }
  return cubes;
}

class Cover {
 public:
  Cover(const Survey& survey, double reach)
      : scale_(survey.scale()),
        reach_(reach),
        cubes_(cubesOf(survey, std::max(reach / cubesPerReach, scale_.pixelSize))),
        grid_(survey.emptyGrid(reach)),
        covered_(cubes_.size(), 0) {
    for (const Cube& cube : cubes_) {
      grid_.add(cube.place);
      pixels_ += cube.pixels;
    }
  }

  std::size_t size(double share) {
    const double wanted = share * static_cast<double>(pixels_);
    uint64_t reached = 0;
    std::size_t points = 0;
    takeGreedily(
        cubes_.size(), [&](std::size_t cube) { return static_cast<double>(gain(cube)); },
        [&] { return static_cast<double>(reached) >= wanted; },
        [&](std::size_t cube) {
          forEachUncovered(cube, [&](uint32_t other) {
            covered_[other] = 1;
            reached += cubes_[other].pixels;
          });
          ++points;
        });
    return points;
  }

 private:
  template <class Fn>
  void forEachUncovered(std::size_t cube, Fn&& fn) const {
    const Place& at = cubes_[cube].place;
    grid_.forEachNear(at, reach_, [&](uint32_t other) {
      if (covered_[other] != 0) return;
      if (scale_.squaredDistance(at, grid_[other]) <= reach_ * reach_) fn(other);
    });
  }
  uint64_t gain(std::size_t cube) const {
    uint64_t pixels = 0;
    forEachUncovered(cube, [&](uint32_t other) { pixels += cubes_[other].pixels; });
    return pixels;
  }

  const Scale scale_;
  const double reach_;
  const std::vector<Cube> cubes_;
  PointGrid grid_;
  std::vector<uint8_t> covered_;
  uint64_t pixels_ = 0;
};

}  // namespace

std::size_t coverSize(const Survey& survey, double reach, double share) {
  return Cover(survey, reach).size(share);
}

}  // namespace stiltforge::hold
