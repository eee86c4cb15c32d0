#include "hold/survey.h"

#include <cmath>
#include <stdexcept>
#include <string>

#include "hold/islands.h"
#include "hold/overhang_rows.h"

namespace stiltforge::hold {

namespace {

const SurveySettings& valid(const SurveySettings& settings) {
  requireValid(settings);
  return settings;
}

}  // namespace

Survey::Survey(const SurveySettings& settings)
    : settings_(valid(settings)),
      surroundings_(settings.roomLayers(), settings.roomLayersOnPlate()),
      overhangReach_(settings.overhangReach(settings.layerHeight)),
      steppedOverhang_(settings),
      samples_(settings) {}

void Survey::add(const Slice& slice) {
  if (layerCount() == 0) {
    width_ = slice.width;
    height_ = slice.height;
  } else if (slice.width != width_ || slice.height != height_) {
    throw std::invalid_argument("a slice of " + std::to_string(slice.width) + " x " +
                                std::to_string(slice.height) + " pixels follows slices of " +
                                std::to_string(width_) + " x " + std::to_string(height_));
  }
  surroundings_.add(slice.material);
  RunRows beyond;
  if (layerCount() > 0) {
    findIslands(surroundings_, islands_);
    beyond = overhangBeyond(slice, surroundings_.below(), overhangReach_);
    addOverhang(beyond);
  }
  steppedOverhang_.add(slice.material, surroundings_.below(), beyond, surroundings_.layer());
  samples_.add(slice, surroundings_);
  firstRun_.push_back(overhang_.size());
}

void Survey::addOverhang(const RunRows& beyond) {
  const RowRange rows = beyond.occupiedRows();
  for (int y = rows.begin; y < rows.end; ++y) {
    for (const Run& run : beyond.row(y)) {
      OverhangRun stretch{surroundings_.spaceBelow(run.begin, y), static_cast<uint16_t>(y), 0, 0,
                          false};
      const auto append = [&](int32_t begin, int32_t end, bool hasRoom) {
        if (begin >= end) return;
        stretch.begin = static_cast<uint16_t>(begin);
        stretch.end = static_cast<uint16_t>(end);
        stretch.hasRoom = hasRoom;
        overhang_.push_back(stretch);
      };
      roomyRow_.clear();
      surroundings_.findRoom(run, y, roomyRow_);
      roomyRow_.endRow();
      int32_t at = run.begin;
      for (const Run& room : roomyRow_.row(0)) {
        append(at, room.begin, false);
        append(room.begin, room.end, true);
        at = room.end;
      }
      append(at, run.end, false);
    }
  }
}

Site::Touches Survey::touchedAt(const Slice& slice, int x, int y) const {
  if (surroundings_.regions().at(x, y) == Components::none) return Site::Touches::nothing;
  const double radius = settings_.tipRadius / settings_.pixelSize;
  const auto reach = static_cast<int>(radius);
  for (int dy = -reach; dy <= reach; ++dy) {
    const double row = dy;
    const auto half = static_cast<int>(std::sqrt(radius * radius - row * row));
    for (const Run& run : slice.overhang.row(y + dy)) {
      if (run.begin <= x + half && run.end > x - half) return Site::Touches::overhang;
    }
  }
  return Site::Touches::heldMaterial;
}

void Survey::addPoints(const Slice& slice, std::span<const SupportPoint> points) {
  if (layerCount() == 0) throw std::invalid_argument("points come after the slice of their layer");
  for (const SupportPoint& point : points) {
    Site site;
    site.place = surroundings_.placeAt(point.x, point.y);
    site.isIsland = point.isIsland;
    site.touches = touchedAt(slice, point.x, point.y);
    points_.push_back(site);
  }
}

void Survey::finish() {
  surroundings_.finish();
  steppedOverhang_.finish();
}

}  // namespace stiltforge::hold
