#include "plain_judge.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace stiltforge::hold {

namespace {

struct Voxel {
  int x = 0;
  int y = 0;
  int z = 0;
};

// A number for each pixel of each layer.
class Volume {
 public:
  Volume(int width, int height, int layers)
      : width_(width),
        height_(height),
        layers_(layers),
        values_(std::size_t(width) * std::size_t(height) * std::size_t(layers), 0) {}
  bool holds(const Voxel& v) const {
    return v.x >= 0 && v.y >= 0 && v.z >= 0 && v.x < width_ && v.y < height_ && v.z < layers_;
  }
  int& at(const Voxel& v) {
    const std::size_t row = std::size_t(v.z) * std::size_t(height_) + std::size_t(v.y);
    return values_[row * std::size_t(width_) + std::size_t(v.x)];
  }
  bool isSet(const Voxel& v) { return holds(v) && at(v) != 0; }
  int width() const { return width_; }
  int height() const { return height_; }
  int layers() const { return layers_; }

 private:
  int width_;
  int height_;
  int layers_;
  std::vector<int> values_;
};

class PlainJudge {
 public:
  PlainJudge(const Part& part, const SurveySettings& survey, const JudgeSettings& settings,
             std::span<const OverhangSample> samples)
      : part_(part),
        survey_(survey),
        settings_(settings),
        samples_(samples),
        material_(part.slices[0].width, part.slices[0].height,
                  static_cast<int>(part.slices.size())),
        hanging_(material_),
        islandLayers_(static_cast<int>(settings.islandHeight / survey.layerHeight + 1e-9)),
        roomLayers_(static_cast<int>(std::ceil(survey.minimumHeight / survey.layerHeight - 1e-9))) {
    for (int z = 0; z < material_.layers(); ++z) {
      const Slice& slice = part.slices[static_cast<std::size_t>(z)];
      set(slice.material, z, material_);
      set(slice.overhang, z, hanging_);
    }
    for (int z = 0; z < material_.layers(); ++z) {
      for (const LayerPoint& p : part.points) {
        if (static_cast<int>(p.layer) == z) points_.push_back({p.point.x, p.point.y, z});
      }
    }
  }

  Verdict verdict() {
    findOutside();
    judgeIslands();
    judgeOverhang();
    judgePoints();
    return verdict_;
  }

 private:
  static void set(const RunRows& rows, int z, Volume& volume) {
    for (int y = 0; y < rows.height(); ++y) {
      for (const Run& run : rows.row(y)) {
        for (int x = run.begin; x < run.end; ++x) volume.at({x, y, z}) = 1;
      }
    }
  }

  template <class Fn>
  void forEachVoxel(Fn&& fn) {
    for (int z = 0; z < material_.layers(); ++z) {
      for (int y = 0; y < material_.height(); ++y) {
        for (int x = 0; x < material_.width(); ++x) fn(Voxel{x, y, z});
      }
    }
  }

  // Marks what hangs together with `from` where `passes` allows it.
  static void fill(const Voxel& from, bool corners, const std::function<bool(const Voxel&)>& passes,
                   Volume& marked) {
    std::vector<Voxel> open{from};
    while (!open.empty()) {
      const Voxel v = open.back();
      open.pop_back();
      if (!marked.holds(v) || marked.at(v) != 0 || !passes(v)) continue;
      marked.at(v) = 1;
      open.push_back({v.x, v.y, v.z - 1});
      open.push_back({v.x, v.y, v.z + 1});
      for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
          if (corners || dx == 0 || dy == 0) open.push_back({v.x + dx, v.y + dy, v.z});
        }
      }
    }
  }

  Volume empty() const { return {material_.width(), material_.height(), material_.layers()}; }

  void findOutside() {
    outside_ = empty();
    forEachVoxel([&](const Voxel& v) {
      const bool isBorder = v.x == 0 || v.y == 0 || v.z == 0 || v.x + 1 == material_.width() ||
                            v.y + 1 == material_.height() || v.z + 1 == material_.layers();
      if (!isBorder) return;
      fill(
          v, false, [&](const Voxel& w) { return material_.at(w) == 0; }, outside_);
    });
  }

  // Looks down into empty space that is not outside.
  bool isSealed(const Voxel& v) {
    const Voxel below{v.x, v.y, v.z - 1};
    return material_.holds(below) && material_.at(below) == 0 && outside_.at(below) == 0;
  }

  bool hasRoom(const Voxel& v) {
    for (int layers = 1; layers <= roomLayers_; ++layers) {
      if (v.z - layers < 0 || material_.isSet({v.x, v.y, v.z - layers})) return false;
    }
    return true;
  }

  // What hangs together with the plate and the points of the layers up to z.
  Volume heldUpTo(int z) {
    Volume held = empty();
    const auto passes = [&](const Voxel& v) { return v.z <= z && material_.at(v) != 0; };
    forEachVoxel([&](const Voxel& v) {
      if (v.z == 0) fill(v, true, passes, held);
    });
    for (const Voxel& point : points_) {
      if (material_.holds(point)) fill(point, true, passes, held);
    }
    return held;
  }

  void judgeIslands() {
    std::vector<Volume> held;
    for (int z = 0; z < material_.layers(); ++z) held.push_back(heldUpTo(z));
    Volume known = empty();
    forEachVoxel([&](const Voxel& v) {
      if (v.z == 0 || material_.at(v) == 0 || known.at(v) != 0) return;
      Volume region = empty();
      fill(
          v, true, [&](const Voxel& w) { return w.z == v.z && material_.at(w) != 0; }, region);
      bool rests = false;
      uint32_t pixels = 0;
      for (int y = 0; y < material_.height(); ++y) {
        for (int x = 0; x < material_.width(); ++x) {
          if (region.at({x, y, v.z}) == 0) continue;
          known.at({x, y, v.z}) = 1;
          ++pixels;
          rests = rests || material_.isSet({x, y, v.z - 1});
        }
      }
      if (rests) return;
      IslandVerdict island;
      island.island.place.layer = static_cast<uint32_t>(v.z);
      island.island.pixels = pixels;
      for (int z = v.z; z < material_.layers() && z <= v.z + islandLayers_; ++z) {
        if (held[static_cast<std::size_t>(z)].at(v) == 0) continue;
        island.takenIn = static_cast<uint32_t>(z);
        break;
      }
      verdict_.islands.push_back(island);
    });
  }

  double distance(const Voxel& a, const Voxel& b) const {
    const double columns = a.x - b.x;
    const double rows = a.y - b.y;
    const double layers = a.z - b.z;
    return (columns * columns + rows * rows) * (survey_.pixelSize * survey_.pixelSize) +
           layers * layers * (survey_.layerHeight * survey_.layerHeight);
  }

  double nearestPoint(const Voxel& v) const {
    double nearest = std::numeric_limits<double>::infinity();
    for (const Voxel& point : points_) nearest = std::min(nearest, distance(point, v));
    return nearest;
  }

  bool hangsFree(const Voxel& v) {
    if (v.z == 0 || !hanging_.isSet(v)) return false;
    const double reach = 1.5 * std::max(survey_.layerHeight / survey_.pixelSize, 1.0) + 1e-9;
    const int most = static_cast<int>(reach);
    for (int dy = -most; dy <= most; ++dy) {
      for (int dx = -most; dx <= most; ++dx) {
        const bool isNear = std::hypot(dx, dy) <= reach;
        if (isNear && material_.isSet({v.x + dx, v.y + dy, v.z - 1})) return false;
      }
    }
    return true;
  }

  void judgeOverhang() {
    const double nearReach = settings_.nearReach * settings_.nearReach;
    const double farReach = std::max(nearReach, settings_.farReach * settings_.farReach);
    std::vector<WorstPlace> ofRuns;  // with squared distances
    const Surface* last = nullptr;   // of the run that may go on
    bool isListed = false;           // that run
    forEachVoxel([&](const Voxel& v) {
      if (v.x == 0) last = nullptr;
      if (!hangsFree(v)) {
        last = nullptr;
        return;
      }
      const double nearest = nearestPoint(v);
      Surface& surface = isSealed(v)  ? verdict_.sealed
                         : hasRoom(v) ? verdict_.supportable
                                      : verdict_.withoutRoom;
      if (std::exchange(last, &surface) != &surface) isListed = false;
      ++surface.pixels;
      surface.beyondFar += nearest > farReach;
      if (nearest <= nearReach) return;
      ++surface.beyondNear;
      if (&surface != &verdict_.supportable) return;
      const WorstPlace place{static_cast<uint32_t>(v.z), static_cast<uint16_t>(v.x),
                             static_cast<uint16_t>(v.y), nearest};
      if (!std::exchange(isListed, true)) {
        ofRuns.push_back(place);
      } else if (nearest > ofRuns.back().distance) {
        ofRuns.back() = place;
      }
    });
    listWorst(ofRuns);
  }

  static Voxel voxelOf(const WorstPlace& place) {
    return {place.x, place.y, static_cast<int>(place.layer)};
  }

  // Steep overhang beyond reach, within that of the place.
  double gapAround(const Voxel& v) const {
    const double reach = settings_.nearReach * settings_.nearReach;
    double pixels = 0;
    for (const OverhangSample& sample : samples_) {
      const Voxel at{sample.place.x, sample.place.y, static_cast<int>(sample.place.layer)};
      if (nearestPoint(at) > reach && distance(at, v) <= reach) pixels += sample.pixels;
    }
    return pixels;
  }

  void listWorst(std::vector<WorstPlace>& places) {
    std::stable_sort(places.begin(), places.end(), [](const WorstPlace& a, const WorstPlace& b) {
      return a.distance > b.distance;
    });
    const double least =
        settings_.leastWorstArea / (survey_.pixelSize * survey_.pixelSize) * (1 - 1e-9);
    for (const WorstPlace& place : places) {
      if (verdict_.worst.size() == settings_.worstPlaces) break;
      const bool isNew =
          std::none_of(verdict_.worst.begin(), verdict_.worst.end(), [&](const WorstPlace& listed) {
            return distance(voxelOf(place), voxelOf(listed)) <=
                   settings_.nearReach * settings_.nearReach;
          });
      if (isNew && gapAround(voxelOf(place)) >= least) verdict_.worst.push_back(place);
    }
    for (WorstPlace& place : verdict_.worst) place.distance = std::sqrt(place.distance);
  }

  bool touchesOverhang(const Voxel& point) {
    for (int y = 0; y < material_.height(); ++y) {
      for (int x = 0; x < material_.width(); ++x) {
        const double columns = x - point.x;
        const double rows = y - point.y;
        const double radius = survey_.tipRadius / survey_.pixelSize;
        if (hanging_.at({x, y, point.z}) != 0 &&
            columns * columns + rows * rows <= radius * radius) {
          return true;
        }
      }
    }
    return false;
  }

  bool areSeparate(const Voxel& a, const Voxel& b) {
    if (!material_.isSet(a) || !material_.isSet(b)) return false;
    Volume joined = empty();
    const int first = std::min(a.z, b.z);
    const int last = std::max(a.z, b.z) + islandLayers_;
    fill(
        a, true,
        [&](const Voxel& v) { return v.z >= first && v.z <= last && material_.at(v) != 0; },
        joined);
    return joined.at(b) == 0;
  }

  void judgePoints() {
    for (uint32_t i = 0; i < points_.size(); ++i) {
      const Voxel& point = points_[i];
      if (!material_.isSet(point)) {
        verdict_.inNoMaterial.push_back(i);
      } else if (!touchesOverhang(point)) {
        verdict_.onHeldMaterial.push_back(i);
      }
      if (!hasRoom(point)) verdict_.pointsWithoutRoom.push_back(i);
      if (isSealed(point)) verdict_.pointsInSealedVoids.push_back(i);
      for (uint32_t j = i + 1; j < points_.size(); ++j) {
        const double apart = distance(point, points_[j]);
        if (apart >= settings_.spacing * settings_.spacing) continue;
        verdict_.closePairs.push_back({i, j, std::sqrt(apart), areSeparate(point, points_[j])});
      }
    }
  }

  const Part& part_;
  const SurveySettings& survey_;
  const JudgeSettings& settings_;
  std::span<const OverhangSample> samples_;
  Volume material_;
  Volume hanging_;
  Volume outside_{0, 0, 0};
  int islandLayers_;
  int roomLayers_;
  std::vector<Voxel> points_;
  Verdict verdict_;
};

}  // namespace

Verdict judgePlainly(const Part& part, const SurveySettings& survey, const JudgeSettings& settings,
                     std::span<const OverhangSample> samples) {
  return PlainJudge(part, survey, settings, samples).verdict();
}

}  // namespace stiltforge::hold
