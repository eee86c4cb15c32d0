#include "slicing/stroke_distance.h"

#include <algorithm>
#include <cstring>

#include "slicing/contour_pixels.h"

namespace stiltforge::slicing {

namespace {

constexpr int stripRows = 64;
// Up to this radius a squared distance plus a squared column offset fits 16 bits.
constexpr int longestNarrowRadius = 127;
// How often a search along a row asks whether it can still find anything nearer.
constexpr int columnsBetweenChecks = 16;

void increment(uint16_t* __restrict to, const uint16_t* from, Run run, uint16_t limit) {
  for (int32_t x = run.begin; x < run.end; ++x) {
    to[x] = static_cast<uint16_t>(from[x] + (from[x] < limit ? 1 : 0));
  }
}

// First column from x on whose entry differs from `value`, or end.
int32_t skipEqual(const uint16_t* entries, int32_t x, int32_t end, uint16_t value) {
  const uint64_t four = value * uint64_t{0x0001000100010001};
  for (; x + 4 <= end; x += 4) {
    uint64_t word;
    std::memcpy(&word, entries + x, sizeof word);
    if (word != four) break;
  }
  while (x < end && entries[x] == value) ++x;
  return x;
}

}  // namespace

StrokeDistance::StrokeDistance(int width, int radius)
    : width_(width),
      radius_(radius),
      beyond_(static_cast<uint16_t>(radius + 1)),
      below_(static_cast<std::size_t>(width)),
      strip_(static_cast<std::size_t>(width) * stripRows),
      above_(static_cast<std::size_t>(width)),
      nearest_(static_cast<std::size_t>(width)) {}

void StrokeDistance::begin(const RunRows& material) {
  material_ = &material;
  findContourPixels(material, contours_);
}

void StrokeDistance::measureDownwards(int firstRow) {
  stripStart_ = firstRow;
  const int stripEnd = std::min(firstRow + stripRows, material_->height());
  // Contours further down than the radius need not be known.
  const int lastRow = std::min(stripEnd + radius_, material_->height()) - 1;
  for (const Run& run : material_->row(lastRow)) {
    std::fill(below_.begin() + run.begin, below_.begin() + run.end, beyond_);
  }
  for (int y = lastRow; y >= firstRow; --y) {
    for (const Run& run : material_->row(y)) increment(below_.data(), below_.data(), run, beyond_);
    for (const Run& run : contours_.row(y)) {
      std::fill(below_.begin() + run.begin, below_.begin() + run.end, uint16_t{0});
    }
    if (y >= stripEnd) continue;
    uint16_t* stored = strip_.data() + static_cast<std::size_t>(y - firstRow) * width_;
    for (const Run& run : material_->row(y)) {
      std::copy(below_.data() + run.begin, below_.data() + run.end, stored + run.begin);
    }
  }
}

template <class Squared>
void StrokeDistance::measureAlongRow(std::vector<Squared>& work, int32_t begin, int32_t end) {
  const std::ptrdiff_t count = end - begin;
  const std::ptrdiff_t padded = count + 2 * std::ptrdiff_t{radius_};
  work.resize(static_cast<std::size_t>(padded + count));
  Squared* const column = work.data();
  Squared* __restrict const result = column + padded;

  const int32_t outOfReach = (radius_ + 1) * (radius_ + 1);
  std::fill(column, column + padded, static_cast<Squared>(outOfReach));
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const int32_t distance = nearest_[static_cast<std::size_t>(begin + i)];
    column[radius_ + i] = static_cast<Squared>(std::min(distance * distance, outOfReach));
  }
  std::copy(column + radius_, column + radius_ + count, result);
  for (int32_t dx = 1; dx <= radius_; ++dx) {
    const auto added = static_cast<Squared>(dx * dx);
    if (dx % columnsBetweenChecks == 0 && added >= *std::max_element(result, result + count)) break;
    const Squared* const left = column + radius_ - dx;
    const Squared* const right = column + radius_ + dx;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const Squared nearer = left[i] < right[i] ? left[i] : right[i];
      const auto offered = static_cast<Squared>(nearer + added);
      result[i] = offered < result[i] ? offered : result[i];
    }
  }
  squared_.insert(squared_.end(), result, result + count);
}

void StrokeDistance::measureRun(Run run) {
  int32_t x = skipEqual(nearest_.data(), run.begin, run.end, beyond_);
  while (x < run.end) {
    // A band goes on while the next column with a contour in reach is too near for a gap to pay.
    int32_t lastInReach = x;
    int32_t next = x;
    while (next < run.end && next <= lastInReach + 2 * radius_ + 1) {
      if (nearest_[static_cast<std::size_t>(next)] != beyond_) {
        lastInReach = next++;
      } else {
        next = skipEqual(nearest_.data(), next, run.end, beyond_);
      }
    }
    const int32_t begin = std::max<int32_t>(run.begin, x - radius_);
    const int32_t end = std::min<int32_t>(run.end, lastInReach + radius_ + 1);
    bands_.push_back({begin, end, squared_.size()});
    if (radius_ <= longestNarrowRadius) {
      measureAlongRow(narrowWork_, begin, end);
    } else {
      measureAlongRow(wideWork_, begin, end);
    }
    x = next;
  }
}

const std::vector<StrokeDistance::Band>& StrokeDistance::bandsOfRow(int y) {
  if (y % stripRows == 0) measureDownwards(y);
  bands_.clear();
  squared_.clear();
  for (const Run& run : material_->row(y)) increment(above_.data(), above_.data(), run, beyond_);
  for (const Run& run : contours_.row(y)) {
    std::fill(above_.begin() + run.begin, above_.begin() + run.end, uint16_t{0});
  }
  const uint16_t* below = strip_.data() + static_cast<std::size_t>(y - stripStart_) * width_;
  for (const Run& run : material_->row(y)) {
    for (int32_t x = run.begin; x < run.end; ++x) {
      const auto column = static_cast<std::size_t>(x);
      nearest_[column] = std::min(above_[column], below[column]);
    }
    measureRun(run);
  }
  return bands_;
}

}  // namespace stiltforge::slicing
