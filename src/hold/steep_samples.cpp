#include "hold/steep_samples.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace stiltforge::hold {

namespace {

constexpr double highestStorey = 0x1p62;
constexpr uint16_t leastNeed = 0xFFFF;

// Steps lower than that follow the rounding to pixels more than the surface.
constexpr double pixelsPerStep = 4;
uint32_t stepLayers(const SurveySettings& settings) {
  const double height = std::max(settings.sampleHeight, pixelsPerStep * settings.pixelSize);
  return static_cast<uint32_t>(std::clamp(std::round(height / settings.layerHeight), 1.0, 65535.0));
}

// Pixels.
double stepReach(const SurveySettings& settings) {
  const double reach =
      settings.steepness * stepLayers(settings) * settings.layerHeight / settings.pixelSize;
  return std::min(reach, 65535.0);
}

}  // namespace

std::size_t SteepSamples::CellHash::operator()(const Cell& cell) const {
  uint64_t hash = cell.track;
  hash = hash * 0x9E3779B97F4A7C15 + static_cast<uint32_t>(cell.x);
  hash = hash * 0x9E3779B97F4A7C15 + static_cast<uint32_t>(cell.y);
  return static_cast<std::size_t>(hash ^ hash >> 29);
}

SteepSamples::SteepSamples(const SurveySettings& settings)
    : storeysPerLayer_(settings.layerHeight / settings.sampleSize),
      cellsPerPixel_(settings.pixelSize / settings.sampleSize),
      steep_(stepLayers(settings), stepReach(settings)) {}

void SteepSamples::add(const Slice& slice, Surroundings& layer) {
  const double storeys = layer.layer() * storeysPerLayer_;
  const auto storey = static_cast<int64_t>(std::min(storeys, highestStorey));
  if (std::exchange(storey_, storey) != storey) cells_.clear();
  steep_.add(slice.material, layer.below(), steepRows_);
  need_.resize(slice.width);
  std::size_t pixel = 0;
  const RowRange rows = steepRows_.occupiedRows();
  const RowRange hanging = slice.overhang.occupiedRows();
  for (int y = std::min(rows.begin, hanging.begin); y < rows.end; ++y) {
    const std::span<const Run> steep = steepRows_.row(y);
    const std::span<const Run> spans = slice.overhang.row(y);
    if (steep.empty()) {
      for (const Run& span : spans) pixel += span.length();
      continue;
    }
    std::fill(need_.begin() + steep.front().begin, need_.begin() + steep.back().end, leastNeed);
    for (const Run& span : spans) {
      for (uint32_t x = span.begin; x < span.end; ++x, ++pixel) {
        need_[x] = static_cast<uint16_t>(slice.blue[pixel] << 8 | slice.green[pixel]);
      }
    }
    roomyRow_.clear();
    for (const Run& run : steep) layer.findRoom(run, y, roomyRow_);
    roomyRow_.endRow();
    for (const Run& run : roomyRow_.row(0)) sample(run, y, true, layer);
    std::span<const Run> room = roomyRow_.row(0);
    for (const Run& run : steep) {
      forEachUncovered(run, room, [&](int32_t begin, int32_t end) {
        sample({static_cast<uint16_t>(begin), static_cast<uint16_t>(end)}, y, false, layer);
      });
    }
  }
}

void SteepSamples::sample(Run run, int y, bool hasRoom, const Surroundings& layer) {
  Cell cell;
  cell.y = static_cast<int32_t>(y * cellsPerPixel_);
  cell.track = layer.trackAt(run.begin, y);
  const auto columnOf = [&](int32_t x) { return static_cast<int32_t>(x * cellsPerPixel_); };
  int32_t end = run.begin;
  for (int32_t begin = run.begin; begin < run.end; begin = end) {
    cell.x = columnOf(begin);
    for (end = begin + 1; end < run.end && columnOf(end) == cell.x;) ++end;
    const auto neediest = std::min_element(need_.begin() + begin, need_.begin() + end);
    const auto [known, isNew] = cells_.try_emplace(cell, samples_.size());
    if (isNew) {
      samples_.emplace_back();
      sampleNeed_.push_back(leastNeed);
    }
    OverhangSample& sample = samples_[known->second];
    uint16_t& need = sampleNeed_[known->second];
    const bool isBetter = hasRoom != sample.place.hasRoom ? hasRoom : *neediest < need;
    sample.pixels += static_cast<uint32_t>(end - begin);
    if (!isNew && !isBetter) continue;
    need = *neediest;
    sample.place.layer = layer.layer();
    sample.place.x = static_cast<uint16_t>(neediest - need_.begin());
    sample.place.y = static_cast<uint16_t>(y);
    sample.place.track = cell.track;
    sample.place.space = layer.spaceBelow(sample.place.x, y);
    sample.place.hasRoom = hasRoom;
  }
}

}  // namespace stiltforge::hold
