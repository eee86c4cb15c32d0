#include "support/sample_field.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <type_traits>
#include <utility>

#include "runtime/apart.h"
#include "runtime/float_conversion.h"
#include "runtime/worker_pool.h"
#include "support/score_terms.h"

namespace stiltforge {

namespace {

constexpr uint32_t largestStep = 3;
// With less of the box unsupported every pixel is a candidate.
constexpr double sparseShare = 0.15;

// Ghost sums of a band of this many pixels stay in the first cache levels.
constexpr std::size_t pixelsPerBand = std::size_t{1} << 14;
constexpr std::size_t samplesPerTask = std::size_t{1} << 15;

uint32_t latticeStep(float s) {
  return s < static_cast<float>(largestStep) ? toUint32(s) : largestStep;
}

// Whole numbers up to it are floats, too.
constexpr uint64_t mostInFloat = uint64_t{1} << 24;
// More would take longer than they save.
constexpr std::size_t mostGhostsTried = 64;

// The largest of values that are numbers and not negative. Compilers compare whole numbers side by
// side, of floats each comparison would wait for the last.
template <typename Number>
STILTFORGE_APART Number largestOf(std::span<const Number> values) {
  if constexpr (std::is_integral_v<Number>) {
    Number largest = 0;
    for (const Number value : values) largest = std::max(largest, value);
    return largest;
  } else {
    constexpr std::size_t lanes = 64 / sizeof(Number);
    std::array<Number, lanes> largest{};
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes) {
      for (std::size_t k = 0; k < lanes; ++k) {
        largest[k] = values[i + k] > largest[k] ? values[i + k] : largest[k];
      }
    }
    for (; i < values.size(); ++i) largest[0] = std::max(largest[0], values[i]);
    return *std::max_element(largest.begin(), largest.end());
  }
}

}  // namespace

// A range of a group's spans.
struct SampleField::SpanRange {
  const OverhangSpan* first;
  const OverhangSpan* last;
  const OverhangSpan* begin() const { return first; }
  const OverhangSpan* end() const { return last; }
};

// The rows of a group's box in bands whose pixels stay in the first cache levels; rows count from
// the box's top.
class SampleField::RowBands {
 public:
  RowBands(const std::vector<OverhangSpan>& spans, Box box)
      : spans_(spans),
        top_(box.yMin),
        height_(static_cast<uint32_t>(box.yMax - box.yMin)),
        rowsPerBand_(static_cast<uint32_t>(std::max<std::size_t>(
            1, pixelsPerBand / static_cast<std::size_t>(box.xMax - box.xMin)))) {}
  std::size_t count() const { return (height_ + rowsPerBand_ - 1) / rowsPerBand_; }
  uint32_t firstRow(std::size_t band) const { return static_cast<uint32_t>(band) * rowsPerBand_; }
  uint32_t endRow(std::size_t band) const {
    return std::min(height_, firstRow(band) + rowsPerBand_);
  }
  SpanRange spans(std::size_t band) const {
    return {firstSpanAt(firstRow(band)), firstSpanAt(endRow(band))};
  }

 private:
  const OverhangSpan* firstSpanAt(uint32_t row) const {
    return std::lower_bound(spans_.data(), spans_.data() + spans_.size(), top_ + row,
                            [](const OverhangSpan& span, uint32_t y) { return span.y < y; });
  }

  const std::vector<OverhangSpan>& spans_;
  uint32_t top_;
  uint32_t height_;
  uint32_t rowsPerBand_;
};

// What is known of the ghost sums before they are added.
struct SampleField::GhostTiles {
  std::vector<uint64_t> most;  // see GhostStamp::mostInTiles()
  float floor = 0;             // a sum that counts
};

SampleField::SampleField(const Settings& settings, const GhostSpread& spread, const Group& group,
                         const Layer& layer, const std::vector<OverhangSpan>& overhang)
    : settings_(settings),
      group_(group),
      layer_(layer),
      overhang_(overhang),
      stamp_(spread, group.placement->ghostSupports, group.box()) {}

void SampleField::sample(uint32_t supports) {
  chooseSteps(supports);
  collect();
  if (x_.empty()) {
    lattice_ = {1, 1};
    collect();
  }
  score();
}

void SampleField::chooseSteps(uint32_t supports) {
  const auto width = static_cast<uint32_t>(group_.xMax - group_.xMin);
  const auto height = static_cast<uint32_t>(group_.yMax - group_.yMin);
  if (width == 1 || height == 1) lattice_ = {1, 1};
  const auto unsupported = static_cast<float>(group_.unsupportedPixelCount);
  const float wanted = static_cast<float>(supports) * settings_.numberOfSamplePerSupport;
  const float share = unsupported / static_cast<float>(width * height);
  if (unsupported > wanted && static_cast<double>(share) > sparseShare) {
    const float s = std::sqrt(unsupported / wanted);
    if (s < 1.0f) {
      lattice_ = {1, 1};
    } else {
      const uint32_t longer = latticeStep(std::ceil(s));
      const uint32_t shorter = latticeStep(std::floor(s));
      lattice_ = width >= height ? SampleLattice{longer, shorter} : SampleLattice{shorter, longer};
    }
  }
  lattice_.stepX = std::min(lattice_.stepX, largestStep);
  lattice_.stepY = std::min(lattice_.stepY, largestStep);
}

void SampleField::collect() {
  const RowBands bands(overhang_, group_.box());
  std::vector<uint32_t> first(bands.count() + 1, 0);
  workers::parallelFor(bands.count(), [&](std::size_t b) {
    uint32_t samples = 0;
    visitSamples(bands.spans(b), [&](const OverhangSpan&, uint32_t) { ++samples; });
    first[b + 1] = samples;
  });
  for (std::size_t b = 0; b < bands.count(); ++b) first[b + 1] += first[b];

  x_ = Plane<uint16_t>(first.back());
  y_ = Plane<uint16_t>(first.back());
  blue_ = Plane<uint8_t>(first.back());
  green_ = Plane<uint8_t>(first.back());
  score_ = Plane<float>(first.back());
  GhostTiles tiles;
  if (!stamp_.empty()) tiles = {stamp_.mostInTiles(), ghostFloor()};
  std::vector<float> largestGhostSum(bands.count(), tiles.floor);
  workers::parallelFor(bands.count(), [&](std::size_t b) {
    uint32_t next = first[b];
    visitSamples(bands.spans(b), [&](const OverhangSpan& span, uint32_t x) {
      const std::size_t pixel = span.firstPixel + (x - span.begin);
      x_[next] = static_cast<uint16_t>(x);
      y_[next] = span.y;
      blue_[next] = layer_.blue[pixel];
      green_[next] = layer_.green[pixel];
      ++next;
    });
    if (stamp_.empty()) {
      std::fill(score_.data() + first[b], score_.data() + first[b + 1], 0.0f);
      return;
    }
    const uint64_t most = stamp_.mostInRows(bands.firstRow(b), bands.endRow(b));
    const float largest = most <= std::numeric_limits<uint16_t>::max()
                              ? stampBand<uint16_t>(bands, b, tiles, first[b], first[b + 1])
                              : stampBand<float>(bands, b, tiles, first[b], first[b + 1]);
    largestGhostSum[b] = std::max(largestGhostSum[b], largest);
  });
  for (const float sum : largestGhostSum) ghostNorm_ = std::max(ghostNorm_, sum);
}

template <typename Visit>
void SampleField::visitSamples(SpanRange spans, Visit visit) const {
  for (const OverhangSpan& span : spans) {
    const auto dy = static_cast<uint32_t>(span.y - group_.yMin);
    if (!lattice_.holdsRow(dy)) continue;
    const uint32_t left = group_.xMin;
    lattice_.visitColumns(dy, span.begin - left, span.end - left,
                          [&](uint32_t dx) { visit(span, left + dx); });
  }
}

// Whether the pixel overhangs and is no sample: its ghost sum does not count.
bool SampleField::isLeftOut(uint16_t x, uint16_t y) const {
  const auto after = std::upper_bound(overhang_.begin(), overhang_.end(), std::pair(y, x),
                                      [](const auto& place, const OverhangSpan& span) {
                                        return place < std::pair(span.y, span.begin);
                                      });
  if (after == overhang_.begin()) return false;
  const OverhangSpan& span = after[-1];
  if (span.y != y || x >= span.begin + span.length()) return false;
  const auto dy = static_cast<uint32_t>(y - group_.yMin);
  return !lattice_.holdsRow(dy) || !lattice_.holds(static_cast<uint32_t>(x - group_.xMin), dy);
}

// A ghost sum that counts, a large one mostly: the largest on some of the ghosts.
float SampleField::ghostFloor() const {
  const std::vector<Voxel*>& ghosts = group_.placement->ghostSupports;
  const std::size_t step = ghosts.size() / mostGhostsTried + 1;
  uint64_t floor = 0;
  for (std::size_t i = 0; i < ghosts.size(); i += step) {
    const Voxel& ghost = *ghosts[i];
    const bool isInBox = ghost.x >= group_.xMin && ghost.x < group_.xMax &&
                         ghost.y >= group_.yMin && ghost.y < group_.yMax;
    if (!isInBox || isLeftOut(ghost.x, ghost.y)) continue;
    floor = std::max(floor, stamp_.sumAt(static_cast<uint32_t>(ghost.x - group_.xMin),
                                         static_cast<uint32_t>(ghost.y - group_.yMin)));
  }
  return floor <= mostInFloat ? static_cast<float>(floor) : 0.0f;
}

// Parts of the band's rows, by tiles side by side: those whose sums may exceed the floor are
// stamped as a whole, of others with samples only the rows of the lattice.
template <typename Sum>
float SampleField::stampBand(const RowBands& bands, std::size_t band, const GhostTiles& tiles,
                             uint32_t firstSample, uint32_t endSample) {
  const auto width = static_cast<uint32_t>(group_.xMax - group_.xMin);
  const uint32_t firstRow = bands.firstRow(band);
  const uint32_t endRow = bands.endRow(band);
  const uint32_t across = stamp_.tilesAcross();
  std::vector<uint8_t> hasSamples(across, 0);
  for (uint32_t s = firstSample; s < endSample; ++s) {
    hasSamples[(x_[s] - group_.xMin) / GhostStamp::tileWidth] = 1;
  }
  const auto mayExceed = [&](uint32_t column) {
    uint64_t most = 0;
    for (uint32_t row = firstRow / GhostStamp::tileHeight; row * GhostStamp::tileHeight < endRow;
         ++row) {
      most = std::max(most, tiles.most[std::size_t{row} * across + column]);
    }
    return most > mostInFloat || static_cast<float>(most) > tiles.floor;
  };

  Plane<Sum> sums(std::size_t{endRow - firstRow} * width);
  const auto rowSums = [&](uint32_t row) {
    return sums.data() + std::size_t{row - firstRow} * width;
  };
  std::vector<GhostStamp::Part> whole;
  for (uint32_t column = 0; column < across;) {
    const uint32_t begin = column;
    const bool isWhole = mayExceed(column);
    const bool isStamped = isWhole || hasSamples[column] != 0;
    while (column < across && mayExceed(column) == isWhole &&
           (isWhole || hasSamples[column] != 0) == isStamped) {
      ++column;
    }
    if (!isStamped) continue;
    const GhostStamp::Part part{firstRow, endRow, begin * GhostStamp::tileWidth,
                                std::min(width, column * GhostStamp::tileWidth),
                                isWhole ? 1 : lattice_.stepY};
    for (uint32_t row = firstRow; row < endRow; ++row) {
      std::fill(rowSums(row) + part.left, rowSums(row) + part.right, Sum{0});
    }
    stamp_.add(part, sums.data());
    if (isWhole) whole.push_back(part);
  }

  float largest = 0.0f;
  for (uint32_t s = firstSample; s < endSample; ++s) {
    score_[s] = static_cast<float>(rowSums(y_[s] - uint32_t{group_.yMin})[x_[s] - group_.xMin]);
    largest = std::max(largest, score_[s]);
  }
  if (whole.empty()) return largest;
  // Of the group's overhanging pixels only the samples are stamped; of the others all.
  for (const OverhangSpan& span : bands.spans(band)) {
    std::fill_n(rowSums(span.y - uint32_t{group_.yMin}) + (span.begin - group_.xMin), span.length(),
                Sum{0});
  }
  for (const GhostStamp::Part& part : whole) {
    for (uint32_t row = firstRow; row < endRow; ++row) {
      const std::span<const Sum> line(rowSums(row) + part.left, part.right - part.left);
      largest = std::max(largest, static_cast<float>(largestOf(line)));
    }
  }
  return largest;
}

void SampleField::score() {
  const ScoreTerms terms(settings_, ghostNorm_);
  const std::size_t tasks = x_.size() / samplesPerTask + 1;
  std::vector<float> largest(tasks, scoreNorm_);
  workers::parallelFor(tasks, [&](std::size_t t) {
    const std::size_t end = x_.size() * (t + 1) / tasks;
    for (std::size_t s = x_.size() * t / tasks; s < end; ++s) {
      score_[s] = terms.score(score_[s], blue_[s], green_[s]);
      largest[t] = std::max(largest[t], score_[s]);
    }
  });
  scoreNorm_ = *std::max_element(largest.begin(), largest.end());
}

}  // namespace stiltforge
