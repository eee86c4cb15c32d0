#include "slicing/proximity_values.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <span>

#include "slicing/channel_falloff.h"
#include "slicing/contour_pixels.h"

namespace stiltforge::slicing {

namespace {

// A row is wide when the columns in reach of its pixels are at most this many times as many.
constexpr int64_t mostColumnsPerPixel = 8;
// About what the transform takes to begin with: below that the search may go on.
constexpr int64_t extraEffortPerRun = 4;

// The largest squared distance whose byte is that of distance 0.
int32_t settledOf(const std::vector<uint8_t>& falloff) {
  std::size_t entry = 1;
  while (entry < falloff.size() && falloff[entry] == falloff[0]) ++entry;
  return static_cast<int32_t>(entry) - 1;
}

bool isEmpty(const RunRows& set, int firstRow, int endRow) {
  const auto first = static_cast<std::size_t>(std::max(firstRow, 0));
  const auto end = static_cast<std::size_t>(std::min(endRow, set.height()));
  return set.rowStart(first) == set.rowStart(end);
}

}  // namespace

ProximityValues::ProximityValues(const std::vector<uint8_t>& falloff)
    : falloff_(falloff),
      radius_(reachOf(falloff)),
      search_(radius_, settledOf(falloff)),
      transform_(falloff) {}

// Whether the columns in reach of the stretches are not many more than their pixels.
bool ProximityValues::isWide(std::span<const Run> stretches) const {
  int64_t pixels = 0;
  int64_t columns = 0;
  int32_t covered = 0;
  for (const Run& stretch : stretches) {
    pixels += stretch.length();
    columns += stretch.end + radius_ - std::max(covered, stretch.begin - radius_);
    covered = stretch.end + radius_;
  }
  return columns <= mostColumnsPerPixel * pixels;
}

// Whether there are enough to begin a transform for them, which the set makes costly.
bool ProximityValues::hasManyWideRows(const RunRows& pixels, std::size_t pixelCount) const {
  if (pixelCount <= set_->runCount()) return false;
  std::size_t wide = 0;
  const RowRange rows = pixels.occupiedRows();
  for (int y = rows.begin; y < rows.end; ++y) {
    if (!isWide(pixels.row(y))) continue;
    for (const Run& stretch : pixels.row(y)) wide += stretch.length();
  }
  return wide > set_->runCount();
}

void ProximityValues::transformRow(int y, std::span<const Run> stretches, int reach,
                                   uint8_t* values) {
  if (!transforms_) {
    if (!isContour_) findContourPixels(*set_, contour_);
    transform_.begin(isContour_ ? *set_ : contour_, std::max(0, y - radius_));
    transforms_ = true;
  }
  transform_.measure(y, stretches, reach, values);
}

void ProximityValues::searchRow(int y, std::span<const Run> stretches, uint8_t* values) {
  open_.clear();
  openStart_.clear();
  std::size_t openPixels = 0;
  int32_t furthest = 0;
  search_.beginRow(y, stretches.size());
  for (const Run& stretch : stretches) {
    squared_.resize(std::max<std::size_t>(squared_.size(), stretch.length()));
    const Run open = search_.measure(stretch, squared_.data());
    for (uint32_t i = 0; i < stretch.length(); ++i) values[i] = valueAt(falloff_, squared_[i]);
    if (open.length() > 0) {
      open_.push_back(open);
      openStart_.push_back(values + (open.begin - stretch.begin));
      openPixels += open.length();
      const auto first = squared_.begin() + (open.begin - stretch.begin);
      furthest = std::max(furthest, *std::max_element(first, first + open.length()));
    }
    values += stretch.length();
  }
  if (open_.empty()) return;
  const int reach = std::min(radius_, static_cast<int>(std::sqrt(furthest)));
  openValues_.resize(openPixels);
  transformRow(y, open_, reach, openValues_.data());
  const uint8_t* from = openValues_.data();
  for (std::size_t i = 0; i < open_.size(); ++i) {
    std::copy(from, from + open_[i].length(), openStart_[i]);
    from += open_[i].length();
  }
}

void ProximityValues::begin(const RunRows& set, bool isContour) {
  set_ = &set;
  isContour_ = isContour;
  search_.begin(set, extraEffortPerRun * static_cast<int64_t>(set.runCount()));
  transforms_ = false;
}

void ProximityValues::findAll(const RunRows& pixels, ScratchVector<uint8_t>& values) {
  values.resize(pixels.pixelCount());
  const bool transformsWideRows = hasManyWideRows(pixels, values.size());
  uint8_t* at = values.data();
  const RowRange rows = pixels.occupiedRows();
  for (int y = rows.begin; y < rows.end; ++y) {
    const std::span<const Run> stretches = pixels.row(y);
    if (stretches.empty()) continue;
    std::size_t count = 0;
    for (const Run& run : stretches) count += run.length();
    if (isEmpty(*set_, y - radius_, y + radius_ + 1)) {
      std::memset(at, 0, count);
    } else if (transformsWideRows && isWide(stretches)) {
      transformRow(y, stretches, radius_, at);
    } else {
      searchRow(y, stretches, at);
    }
    at += count;
  }
}

void ProximityValues::find(const RunRows& pixels, const RunRows& set,
                           ScratchVector<uint8_t>& values) {
  begin(set, false);
  findAll(pixels, values);
}

void ProximityValues::findNearContour(const RunRows& pixels, const RunRows& contour,
                                      ScratchVector<uint8_t>& values) {
  begin(contour, true);
  findAll(pixels, values);
}

}  // namespace stiltforge::slicing
