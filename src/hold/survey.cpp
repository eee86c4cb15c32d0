#include "hold/survey.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "hold/overhang_rows.h"
#include "runtime/apart.h"
#include "runtime/number_text.h"

namespace stiltforge::hold {

namespace {

// A height that differs from a whole number of layers only by rounding counts as that number.
constexpr double roundingSlack = 1e-9;

uint32_t layersOf(double height, double layerHeight) {
  return static_cast<uint32_t>(std::ceil(height / layerHeight - roundingSlack));
}

uint32_t layersOnPlate(const SurveySettings& settings) {
  const std::optional<double> first = settings.firstLayerHeight;
  const double height = settings.minimumHeight;
  if (!first || height <= 0) return layersOf(height, settings.layerHeight);
  return 1 + layersOf(std::max(height - *first, 0.0), settings.layerHeight);
}

// Cells of 65535 columns are numbered by 31 bits.
constexpr double mostCellsPerPixel = 32768;
constexpr double highestStorey = 0x1p62;

// Steps lower than that follow the rounding to pixels more than the surface.
constexpr double pixelsPerStep = 4;
uint32_t sampledLayers(const SurveySettings& settings) {
  const double height = std::max(settings.sampleHeight, pixelsPerStep * settings.pixelSize);
  return static_cast<uint32_t>(std::clamp(std::round(height / settings.layerHeight), 1.0, 65535.0));
}

double sampledReach(const SurveySettings& settings) {
  const double reach =
      settings.steepness * sampledLayers(settings) * settings.layerHeight / settings.pixelSize;
  return std::min(reach, 65535.0);
}

// Overhang lies one and a half pixels of 0.05 mm beyond a layer of 0.05 mm; at other sizes what has
// the same slope in a step of that height counts, or of a pixel's, if that is more.
constexpr double stepHeight = 0.05;
constexpr double leastPixelsBeyond = 1.5;
uint32_t steppedLayers(const SurveySettings& settings) {
  const double height = std::max(stepHeight, settings.pixelSize);
  return static_cast<uint32_t>(std::clamp(std::round(height / settings.layerHeight), 1.0, 65535.0));
}
double steppedReach(const SurveySettings& settings) {
  const double height = steppedLayers(settings) * settings.layerHeight;
  return std::clamp(leastPixelsBeyond * height / settings.pixelSize, leastPixelsBeyond, 65535.0);
}

SurveySettings checked(const SurveySettings& settings) {
  const auto require = [](bool holds, const char* what, double value, const char* unit) {
    if (!holds) throw std::invalid_argument(what + (", not " + numberText(value)) + unit);
  };
  require(std::isfinite(settings.pixelSize) && settings.pixelSize > 0,
          "the pixel size must be above 0 mm", settings.pixelSize, " mm");
  require(std::isfinite(settings.layerHeight) && settings.layerHeight > 0,
          "the layer height must be above 0 mm", settings.layerHeight, " mm");
  const double first = settings.firstLayerHeight.value_or(settings.layerHeight);
  require(std::isfinite(first) && first > 0, "the height of the first layer must be above 0 mm",
          first, " mm");
  require(settings.minimumHeight >= 0 && settings.minimumHeight <= 65535 * settings.layerHeight,
          "the minimum height must be between 0 and 65535 layers", settings.minimumHeight, " mm");
  require(settings.tipRadius >= 0 && settings.tipRadius <= 65535 * settings.pixelSize,
          "the tip's radius must be between 0 and 65535 pixels", settings.tipRadius, " mm");
  require(settings.sampleHeight >= 0 && settings.sampleHeight <= 65535 * settings.layerHeight,
          "the steps of samples must be between 0 and 65535 layers", settings.sampleHeight, " mm");
  require(settings.steepness >= 0, "the steepness must be 0 or more", settings.steepness, "");
  require(std::isfinite(settings.sampleSize) &&
              settings.sampleSize >= settings.pixelSize / mostCellsPerPixel,
          "the cells of samples must not be smaller than a fraction of a pixel",
          settings.sampleSize, " mm");
  return settings;
}

}  // namespace

std::size_t Survey::CellHash::operator()(const Cell& cell) const {
  uint64_t hash = cell.track;
  hash = hash * 0x9E3779B97F4A7C15 + static_cast<uint32_t>(cell.x);
  hash = hash * 0x9E3779B97F4A7C15 + static_cast<uint32_t>(cell.y);
  return static_cast<std::size_t>(hash ^ hash >> 29);
}

Survey::Survey(const SurveySettings& settings)
    : settings_(checked(settings)),
      room_(layersOf(settings.minimumHeight, settings.layerHeight), layersOnPlate(settings)),
      steep_(sampledLayers(settings), sampledReach(settings)),
      steppedLayers_(steppedLayers(settings)),
      stepped_(steppedLayers_, steppedReach(settings)),
      beyondStep_(steppedReach(settings)),
      overhangCells_({settings.pixelSize, settings.layerHeight}, settings.sampleSize) {}

void Survey::add(const Slice& slice) {
  if (layerCount() == 0) {
    width_ = slice.width;
    height_ = slice.height;
  } else if (slice.width != width_ || slice.height != height_) {
    throw std::invalid_argument("a slice of " + std::to_string(slice.width) + " x " +
                                std::to_string(slice.height) + " pixels follows slices of " +
                                std::to_string(width_) + " x " + std::to_string(height_));
  }
  below_ = std::move(regions_);
  regions_ = findComponents(slice.material, Contact::sidesAndCorners);
  tracks_.add(regions_, below_);
  space_.add(slice.material, below_.pixels);
  room_.add(slice.material);
  RunRows beyond;
  if (layerCount() > 0) {
    addIslands();
    beyond = overhangBeyond(slice, below_.pixels);
    addOverhang(beyond);
  }
  addOverhangCells(slice, beyond);
  addSamples(slice);
  firstRun_.push_back(overhang_.size());
}

// Before firstRun_ knows the layer.
Place Survey::placeAt(int x, int y) const {
  Place place;
  place.layer = layerCount();
  place.x = static_cast<uint16_t>(x);
  place.y = static_cast<uint16_t>(y);
  place.space = space_.below(below_.pixels, x, y);
  return place;
}

void Survey::addIslands() {
  for (uint32_t region = 0; region < regions_.count; ++region) {
    if (tracks_.isIsland(region)) return measureIslands();
  }
}

STILTFORGE_APART void Survey::measureIslands() {
  struct Extent {
    uint64_t sumX = 0;
    uint64_t sumY = 0;
    uint32_t pixels = 0;
    uint64_t nearest = ~uint64_t{0};
    uint16_t x = 0;
    uint16_t y = 0;
  };
  std::vector<Extent> extents(regions_.count);  // of the islands
  const auto forEachRun = [&](auto&& fn) {
    for (uint32_t y = 0; y < height_; ++y) {
      for (uint32_t i = regions_.pixels.rowStart(y); i < regions_.pixels.rowStart(y + 1); ++i) {
        const uint32_t region = regions_.ofRun[i];
        if (tracks_.isIsland(region)) fn(extents[region], regions_.pixels[i], y);
      }
    }
  };
  forEachRun([](Extent& e, const Run& run, uint32_t y) {
    e.pixels += run.length();
    e.sumX += uint64_t{run.length()} * (run.begin + run.end - 1u) / 2;
    e.sumY += uint64_t{run.length()} * y;
  });
  forEachRun([](Extent& e, const Run& run, uint32_t y) {
    const auto centreX = static_cast<int64_t>(e.sumX / e.pixels);
    const auto centreY = static_cast<int64_t>(e.sumY / e.pixels);
    const int64_t x = std::clamp<int64_t>(centreX, run.begin, run.end - 1);
    const auto distance =
        static_cast<uint64_t>((x - centreX) * (x - centreX) + (y - centreY) * (y - centreY));
    if (distance >= e.nearest) return;
    e.nearest = distance;
    e.x = static_cast<uint16_t>(x);
    e.y = static_cast<uint16_t>(y);
  });
  for (uint32_t region = 0; region < regions_.count; ++region) {
    if (!tracks_.isIsland(region)) continue;
    const Extent& extent = extents[region];
    Island island{placeAt(extent.x, extent.y), extent.pixels};
    island.place.track = tracks_.trackOf(region);
    island.place.hasRoom = room_.isBelow(extent.x, extent.y);
    islands_.push_back(island);
  }
}

void Survey::addOverhang(const RunRows& beyond) {
  RunRows& roomy = roomyRow_;
  const RowRange rows = beyond.occupiedRows();
  for (int y = rows.begin; y < rows.end; ++y) {
    for (const Run& run : beyond.row(y)) {
      OverhangRun stretch{space_.below(below_.pixels, run.begin, y), static_cast<uint16_t>(y), 0, 0,
                          false};
      const auto append = [&](int32_t begin, int32_t end, bool hasRoom) {
        if (begin >= end) return;
        stretch.begin = static_cast<uint16_t>(begin);
        stretch.end = static_cast<uint16_t>(end);
        stretch.hasRoom = hasRoom;
        overhang_.push_back(stretch);
      };
      roomy.clear();
      room_.findRoom(run, y, roomy);
      roomy.endRow();
      int32_t at = run.begin;
      for (const Run& room : roomy.row(0)) {
        append(at, room.begin, false);
        append(room.begin, room.end, true);
        at = room.end;
      }
      append(at, run.end, false);
    }
  }
}

// `beyond`: the overhang of the layer, which has all that a step of one layer has.
void Survey::addOverhangCells(const Slice& slice, const RunRows& beyond) {
  const bool isWhole = steppedLayers_ == 1 && steppedReach(settings_) == leastPixelsBeyond;
  if (steppedLayers_ > 1) {
    stepped_.add(slice.material, below_.pixels, steppedRows_);
  } else if (!isWhole) {
    keepBeyondStep(beyond);
  }
  overhangCells_.add(isWhole ? beyond : steppedRows_, layerCount());
}

void Survey::keepBeyondStep(const RunRows& beyond) {
  steppedRows_.clear();
  const RowRange rows = beyond.occupiedRows();
  steppedRows_.endRows(rows.begin);
  for (int y = rows.begin; y < rows.end; ++y) {
    for (const Run& run : beyond.row(y)) beyondStep_.find(run, y, below_.pixels, steppedRows_);
    steppedRows_.endRow();
  }
}

void Survey::addSamples(const Slice& slice) {
  const double storeys = layerCount() * (settings_.layerHeight / settings_.sampleSize);
  const auto storey = static_cast<int64_t>(std::min(storeys, highestStorey));
  if (std::exchange(storey_, storey) != storey) cells_.clear();
  steep_.add(slice.material, below_.pixels, steepRows_);
  const RunRows& steep = steepRows_;
  RunRows& roomy = roomyRow_;
  need_.resize(width_);
  std::size_t pixel = 0;
  const RowRange rows = steep.occupiedRows();
  const RowRange hanging = slice.overhang.occupiedRows();
  for (int y = std::min(rows.begin, hanging.begin); y < rows.end; ++y) {
    const std::span<const Run> spans = slice.overhang.row(y);
    if (steep.row(y).empty()) {
      for (const Run& span : spans) pixel += span.length();
      continue;
    }
    std::fill(need_.begin() + steep.row(y).front().begin, need_.begin() + steep.row(y).back().end,
              0xFFFF);
    for (const Run& span : spans) {
      for (uint32_t x = span.begin; x < span.end; ++x, ++pixel) {
        need_[x] = static_cast<uint16_t>(slice.blue[pixel] << 8 | slice.green[pixel]);
      }
    }
    roomy.clear();
    for (const Run& run : steep.row(y)) room_.findRoom(run, y, roomy);
    roomy.endRow();
    for (const Run& run : roomy.row(0)) sample(run, y, true);
    std::span<const Run> room = roomy.row(0);
    for (const Run& run : steep.row(y)) {
      forEachUncovered(run, room, [&](int32_t begin, int32_t end) {
        sample({static_cast<uint16_t>(begin), static_cast<uint16_t>(end)}, y, false);
      });
    }
  }
}

void Survey::sample(Run run, int y, bool hasRoom) {
  const double scale = settings_.pixelSize / settings_.sampleSize;
  Cell cell;
  cell.y = static_cast<int32_t>(y * scale);
  cell.track = tracks_.trackOf(regions_.at(run.begin, y));
  int32_t end = run.begin;
  for (int32_t begin = run.begin; begin < run.end; begin = end) {
    cell.x = static_cast<int32_t>(begin * scale);
    for (end = begin + 1; end < run.end && static_cast<int32_t>(end * scale) == cell.x;) ++end;
    const auto neediest = std::min_element(need_.begin() + begin, need_.begin() + end);
    const auto [known, isNew] = cells_.try_emplace(cell, samples_.size());
    if (isNew) {
      samples_.emplace_back();
      sampleNeed_.push_back(0xFFFF);
    }
    OverhangSample& sample = samples_[known->second];
    uint16_t& need = sampleNeed_[known->second];
    const bool isBetter = hasRoom != sample.place.hasRoom ? hasRoom : *neediest < need;
    sample.pixels += static_cast<uint32_t>(end - begin);
    if (!isNew && !isBetter) continue;
    need = *neediest;
    sample.place = placeAt(static_cast<int>(neediest - need_.begin()), y);
    sample.place.track = cell.track;
    sample.place.hasRoom = hasRoom;
  }
}

Site::Touches Survey::touchedAt(const Slice& slice, int x, int y) const {
  if (regions_.at(x, y) == Components::none) return Site::Touches::nothing;
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
    site.place = placeAt(point.x, point.y);
    site.place.layer = layerCount() - 1;
    const uint32_t region = regions_.at(point.x, point.y);
    if (region != Components::none) site.place.track = tracks_.trackOf(region);
    site.place.hasRoom = room_.isBelow(point.x, point.y);
    site.isIsland = point.isIsland;
    site.touches = touchedAt(slice, point.x, point.y);
    points_.push_back(site);
  }
}

void Survey::finish() {
  space_.finish();
  overhangCells_.finish();
}

}  // namespace stiltforge::hold
