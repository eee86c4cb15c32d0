#include "support/cell_means.h"

#include <algorithm>

namespace stiltforge {

namespace {

// Vectors of the compiler: element by element the same arithmetic on every processor.
using Floats = float __attribute__((vector_size(16)));
using Ints = int32_t __attribute__((vector_size(16)));

}  // namespace

void CellMeans::add(const std::vector<SiteInterval>& intervals, const uint32_t* first,
                    const uint32_t* end, Voronoi& cell) {
  if (first == end) {
    cell = {};
    return;
  }
  while (used_ == laneCount) advance();
  Lane& lane = lanes_[used_++];
  lane = {};
  lane.cell = &cell;
  lane.intervals = intervals.data();
  lane.next = first;
  lane.end = end;
  load(lane);
}

void CellMeans::finish() {
  while (used_ > 0) advance();
}

void CellMeans::load(Lane& lane) const {
  const SiteInterval& interval = lane.intervals[*lane.next++];
  lane.x = sampleX_.data() + interval.begin;
  lane.y = static_cast<float>(sampleY_[interval.begin]);
  lane.left = interval.end - interval.begin;
}

// Takes as many samples on every lane as the shortest current interval has.
void CellMeans::advance() {
  uint32_t steps = lanes_[0].left;
  for (std::size_t i = 1; i < used_; ++i) steps = std::min(steps, lanes_[i].left);
  for (std::size_t i = used_; i < laneCount; ++i) lanes_[i] = lanes_[0];  // in vain, but harmless
  addSamples(steps);
  for (std::size_t i = 0; i < used_;) {
    Lane& lane = lanes_[i];
    lane.x += steps;
    lane.left -= steps;
    if (lane.left == 0 && lane.next != lane.end) load(lane);
    if (lane.left > 0) {
      ++i;
      continue;
    }
    *lane.cell = lane.mean;
    lane = lanes_[--used_];
  }
}

void CellMeans::addSamples(uint32_t steps) {
  const auto& [a, b, c, d] = lanes_;
  Floats sumX{a.mean.sumX, b.mean.sumX, c.mean.sumX, d.mean.sumX};
  Floats sumY{a.mean.sumY, b.mean.sumY, c.mean.sumY, d.mean.sumY};
  const Floats y{a.y, b.y, c.y, d.y};
  Ints count{static_cast<int32_t>(a.mean.count), static_cast<int32_t>(b.mean.count),
             static_cast<int32_t>(c.mean.count), static_cast<int32_t>(d.mean.count)};
  for (uint32_t k = 0; k < steps; ++k) {
    const Floats x = __builtin_convertvector((Ints{a.x[k], b.x[k], c.x[k], d.x[k]}), Floats);
    const Floats oldCount = __builtin_convertvector(count, Floats);
    count += 1;
    const Floats newCount = __builtin_convertvector(count, Floats);
    sumX = (sumX * oldCount + x) / newCount;
    sumY = (sumY * oldCount + y) / newCount;
  }
  for (std::size_t i = 0; i < laneCount; ++i) {
    lanes_[i].mean = {sumX[i], sumY[i], static_cast<uint32_t>(count[i])};
  }
}

}  // namespace stiltforge
