#include "slicing/distance_transform.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "slicing/channel_falloff.h"

namespace stiltforge::slicing {

namespace {

constexpr int32_t farAway = 1 << 20;

// Up to this reach, trying all columns in reach beats the envelope.
constexpr int32_t longestNarrowReach = 40;
static_assert((longestNarrowReach + 1) * (longestNarrowReach + 1) +
                      longestNarrowReach * longestNarrowReach <=
                  std::numeric_limits<int16_t>::max(),
              "a squared distance and a squared column offset must fit 16 bits");
// How often a search along a row asks whether it can still find anything nearer.
constexpr int32_t columnsBetweenChecks = 4;

// Neighbouring columns, in a vector of the compiler.
constexpr std::ptrdiff_t lanes = 8;
using Shorts = int16_t __attribute__((vector_size(lanes * sizeof(int16_t))));

bool isAnyAbove(Shorts numbers, int16_t limit) {
  const auto above = numbers > limit;
  uint64_t halves[2];
  std::memcpy(halves, &above, sizeof above);
  return (halves[0] | halves[1]) != 0;
}

// Of the columns from `along` on, each the square of its distance along itself, the squared
// distances to the nearest of all columns in reach.
Shorts shortestAround(const int16_t* along, int32_t reach) {
  const auto columnsFrom = [](const int16_t* at) {
    Shorts columns;
    std::memcpy(&columns, at, sizeof columns);
    return columns;
  };
  Shorts shortest = columnsFrom(along);
  for (int32_t dx = 1; dx <= reach; ++dx) {
    const auto added = static_cast<int16_t>(dx * dx);
    if (dx % columnsBetweenChecks == 1 && !isAnyAbove(shortest, added)) break;
    const Shorts left = columnsFrom(along - dx);
    const Shorts right = columnsFrom(along + dx);
    const Shorts offered = (left < right ? left : right) + added;
    shortest = offered < shortest ? offered : shortest;
  }
  return shortest;
}

// First entry from `at` on that differs from `value`, or the end.
const uint16_t* skipEqual(const uint16_t* at, const uint16_t* end, uint16_t value) {
  const uint64_t four = value * uint64_t{0x0001000100010001};
  for (; end - at >= 4; at += 4) {
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    if (word != four) break;
  }
  while (at < end && *at == value) ++at;
  return at;
}

int32_t ceilDivided(int32_t number, int32_t divisor) {
  return number > 0 ? (number - 1) / divisor + 1 : number / divisor;
}

}  // namespace

DistanceTransform::DistanceTransform(const std::vector<uint8_t>& falloff)
    : falloff_(falloff), radius_(reachOf(falloff)) {}

void DistanceTransform::begin(const RunRows& sites, int firstRow) {
  sites_ = &sites;
  nextRow_ = firstRow;
  std::size_t columns = 0;
  for (int y = firstRow; y < sites.height(); ++y) {
    if (!sites.row(y).empty()) columns = std::max<std::size_t>(columns, sites.row(y).back().end);
  }
  columnEnd_.assign(columns + 1, 0);
  for (int y = firstRow; y < sites.height(); ++y) {
    for (const Run& run : sites.row(y)) {
      for (std::size_t x = run.begin; x < run.end; ++x) ++columnEnd_[x + 1];
    }
  }
  for (std::size_t x = 0; x < columns; ++x) columnEnd_[x + 1] += columnEnd_[x];
  rows_.resize(columnEnd_[columns]);
  columnNext_.assign(columnEnd_.begin(), columnEnd_.end() - 1);
  // Filling moves each column's start to its end, which is where the next one started.
  for (int y = firstRow; y < sites.height(); ++y) {
    for (const Run& run : sites.row(y)) {
      for (std::size_t x = run.begin; x < run.end; ++x) {
        rows_[columnEnd_[x]++] = static_cast<uint16_t>(y);
      }
    }
  }
  above_.assign(columns, -farAway);
  below_.resize(columns);
  for (std::size_t x = 0; x < columns; ++x) advance(x);
}

// To the column's next site.
void DistanceTransform::advance(std::size_t column) {
  uint32_t& next = columnNext_[column];
  below_[column] = next < columnEnd_[column] ? rows_[next++] : farAway;
}

void DistanceTransform::stepTo(int y) {
  for (; nextRow_ < y; ++nextRow_) {
    for (const Run& run : sites_->row(nextRow_)) {
      for (std::size_t x = run.begin; x < run.end; ++x) {
        above_[x] = nextRow_;
        advance(x);
      }
    }
  }
}

// The first pass, for columns [begin, end).
void DistanceTransform::findAlongColumns(int y, int32_t begin, int32_t end) {
  firstColumn_ = begin;
  alongColumns_.resize(static_cast<std::size_t>(std::max(0, end - begin)));
  const int32_t* const above = above_.data() + begin;
  const int32_t* const below = below_.data() + begin;
  for (std::size_t i = 0; i < alongColumns_.size(); ++i) {
    const int32_t distance = std::min(y - above[i], below[i] - y);
    alongColumns_[i] = static_cast<uint16_t>(std::min<int32_t>(distance, beyond_));
  }
}

// The second pass, for columns [begin, end), by trying all columns in reach.
void DistanceTransform::measureNarrow(int32_t begin, int32_t end) {
  const std::ptrdiff_t count = end - begin;
  const std::ptrdiff_t vectors = (count + lanes - 1) / lanes;
  alongSquared_.assign(static_cast<std::size_t>(vectors * lanes + 2 * reach_),
                       static_cast<int16_t>(beyond_ * beyond_));
  const int32_t first = std::max(firstColumn_, begin - reach_);
  const int32_t last =
      std::min(firstColumn_ + static_cast<int32_t>(alongColumns_.size()), end + reach_);
  const uint16_t* const along = alongColumns_.data() + (first - firstColumn_);
  int16_t* __restrict const known = alongSquared_.data() + (first - (begin - reach_));
  for (std::ptrdiff_t i = 0; i < last - first; ++i) {
    known[i] = static_cast<int16_t>(along[i] * along[i]);
  }
  squared_.resize(static_cast<std::size_t>(vectors * lanes));
  for (std::ptrdiff_t i = 0; i < vectors * lanes; i += lanes) {
    const Shorts shortest = shortestAround(alongSquared_.data() + reach_ + i, reach_);
    for (std::ptrdiff_t k = 0; k < lanes; ++k) {
      squared_[static_cast<std::size_t>(i + k)] = shortest[k];
    }
  }
}

void DistanceTransform::findEnvelope(int32_t begin, int32_t end) {
  envelope_.clear();
  const int32_t first = std::max(firstColumn_, begin - reach_);
  const int32_t last =
      std::min(firstColumn_ + static_cast<int32_t>(alongColumns_.size()), end + reach_);
  for (int32_t x = first; x < last; ++x) {
    const int32_t distance = alongColumns_[static_cast<std::size_t>(x - firstColumn_)];
    if (distance == beyond_) continue;
    const int32_t squared = distance * distance;
    int32_t from = begin;
    while (!envelope_.empty()) {
      const Parabola& other = envelope_.back();
      // The first column where this one is as near.
      const int32_t apart = x - other.column;
      from = other.column + ceilDivided(apart * apart + squared - other.squared, 2 * apart);
      if (from > other.from) break;
      envelope_.pop_back();
      from = begin;
    }
    if (from < end) envelope_.push_back({x, squared, from});
  }
}

// The same by the lower envelope.
void DistanceTransform::measureWide(int32_t begin, int32_t end) {
  findEnvelope(begin, end);
  squared_.assign(static_cast<std::size_t>(end - begin), beyond_ * beyond_);
  for (std::size_t i = 0; i < envelope_.size(); ++i) {
    const Parabola& site = envelope_[i];
    const int32_t until = i + 1 < envelope_.size() ? envelope_[i + 1].from : end;
    int32_t x = std::max({site.from, site.column - reach_, begin});
    for (; x < std::min(until, site.column + reach_ + 1); ++x) {
      const int32_t apart = x - site.column;
      squared_[static_cast<std::size_t>(x - begin)] = apart * apart + site.squared;
    }
  }
}

// Stretches between which no column is out of reach.
void DistanceTransform::measureGroup(int y, std::span<const Run> stretches, uint8_t* values) {
  const int32_t groupBegin = stretches.front().begin;
  const int32_t groupEnd = stretches.back().end;
  const auto columns = static_cast<int32_t>(above_.size());
  findAlongColumns(y, std::clamp(groupBegin - reach_, 0, columns),
                   std::min(groupEnd + reach_, columns));
  const uint16_t* const first = alongColumns_.data();
  const uint16_t* const end = first + alongColumns_.size();
  for (const uint16_t* at = skipEqual(first, end, beyond_); at != end;) {
    // A band goes on while the next column with a site in reach may share pixels with the last.
    const uint16_t* const bandFirst = at;
    const uint16_t* last = at;
    while (at != end && at - last <= 2 * reach_) {
      if (*at != beyond_) {
        last = at++;
      } else {
        at = skipEqual(at, end, beyond_);
      }
    }
    const auto column = [&](const uint16_t* entry) {
      return firstColumn_ + static_cast<int32_t>(entry - first);
    };
    const int32_t bandBegin = std::max(groupBegin, column(bandFirst) - reach_);
    const int32_t bandEnd = std::min(groupEnd, column(last) + reach_ + 1);
    if (reach_ <= longestNarrowReach) {
      measureNarrow(bandBegin, bandEnd);
    } else {
      measureWide(bandBegin, bandEnd);
    }
    for (; !stretches.empty() && stretches.front().begin < bandEnd;
         stretches = stretches.subspan(1)) {
      const Run stretch = stretches.front();
      const int32_t stretchEnd = std::min<int32_t>(stretch.end, bandEnd);
      for (int32_t x = std::max<int32_t>(stretch.begin, bandBegin); x < stretchEnd; ++x) {
        const int32_t squared = squared_[static_cast<std::size_t>(x - bandBegin)];
        values[x - stretch.begin] = valueAt(falloff_, squared);
      }
      if (stretch.end > bandEnd) break;
      values += stretch.length();
    }
  }
}

void DistanceTransform::measure(int y, std::span<const Run> stretches, int reach, uint8_t* values) {
  reach_ = reach;
  beyond_ = static_cast<uint16_t>(reach + 1);
  stepTo(y);
  while (!stretches.empty()) {
    std::size_t count = 1;
    std::size_t pixels = stretches[0].length();
    for (; count < stretches.size() &&
           stretches[count].begin - reach_ <= stretches[count - 1].end + reach_;
         ++count) {
      pixels += stretches[count].length();
    }
    std::memset(values, 0, pixels);
    measureGroup(y, stretches.first(count), values);
    values += pixels;
    stretches = stretches.subspan(count);
  }
}

}  // namespace stiltforge::slicing
