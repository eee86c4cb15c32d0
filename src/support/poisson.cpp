#include "support/poisson.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "analysis/byte_pairs.h"
#include "runtime/float_conversion.h"
#include "runtime/worker_pool.h"
#include "support/candidate_snap.h"
#include "support/ghost_stamp.h"
#include "support/score_terms.h"
#include "support/voronoi.h"

namespace stiltforge {

namespace {

constexpr uint32_t largestStep = 3;
// With less of the box unsupported every pixel is a candidate.
constexpr double sparseShare = 0.15;
// Of a support's share of the unsupported pixels, so much is kept as candidates, but no fewer.
constexpr double sampledShare = 0.2;
constexpr uint32_t fewestCandidates = 4;

// Ghost sums of a band of this many pixels stay in the first cache levels.
constexpr std::size_t pixelsPerBand = std::size_t{1} << 14;
constexpr std::size_t samplesPerTask = std::size_t{1} << 15;
constexpr std::size_t supportsPerTask = 64;

uint32_t latticeStep(float s) {
  return s < static_cast<float>(largestStep) ? toUint32(s) : largestStep;
}

template <typename T>
void appendTo(std::vector<T>& all, const std::vector<T>& part) {
  all.insert(all.end(), part.begin(), part.end());
}

}  // namespace

// A range of a group's spans.
struct Poisson::SpanRange {
  const RowSpan* first;
  const RowSpan* last;
  const RowSpan* begin() const { return first; }
  const RowSpan* end() const { return last; }
};

// The rows of a group's box in bands whose pixels stay in the first cache levels; rows count from
// the box's top.
class Poisson::RowBands {
 public:
  RowBands(const std::vector<RowSpan>& spans, Box box)
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
  const RowSpan* firstSpanAt(uint32_t row) const {
    return std::lower_bound(spans_.data(), spans_.data() + spans_.size(), top_ + row,
                            [](const RowSpan& span, uint32_t y) { return span.y < y; });
  }

  const std::vector<RowSpan>& spans_;
  uint32_t top_;
  uint32_t height_;
  uint32_t rowsPerBand_;
};

uint32_t Poisson::generateSupports() {
  const uint32_t placed = placeOnce();
  if (!needsEnlargement()) return placed;
  const auto radius = static_cast<uint32_t>(std::sqrt(static_cast<double>(maxDist2_)));
  secondPass_ = true;
  maxDist2_ = 0;
  nbSupport = nbSupportBase = toUint32(static_cast<float>(radius) / maxSupportRadiusInIsland +
                                       static_cast<float>(nbSupport));
  return placeOnce();
}

bool Poisson::needsEnlargement() const {
  if (!isIsland || secondPass_ || !group->placement || !group->placement->samples) return false;
  const auto radius = static_cast<uint32_t>(std::sqrt(static_cast<double>(maxDist2_)));
  return static_cast<float>(radius) > maxSupportRadiusInIsland;
}

void Poisson::updatePixelStrength() {
  if (layerCount == 1) {
    group->pixelStrength = strengthOfPlatePixel;
  } else if (group->numPixel == 1) {
    group->pixelStrength = 0.0f;
  } else {
    group->pixelStrength =
        (static_cast<float>(nbSupportBase) * supportStrength * strengthPerSupport +
         transmittedStrength) /
        static_cast<float>(group->numPixel);
  }
}

void Poisson::recordSamples() {
  const RowBands bands(*pixels, group->box());
  std::vector<SampleRecord> parts(bands.count());
  workers::parallelFor(bands.count(), [&](std::size_t b) {
    SampleRecord& part = parts[b];
    for (const RowSpan& span : bands.spans(b)) {
      const std::size_t base = std::size_t{span.y} * layer->width;
      const uint8_t* blue = layer->supportedPixels.data() + base;
      const uint8_t* green = layer->strokePixels.data() + base;
      for (uint32_t x = span.begin; x < span.end;) {
        const uint32_t begin = x;
        while (x < span.end && blue[x] != 255) ++x;
        if (x > begin) {
          part.rows.push_back({span.y, static_cast<uint16_t>(begin), static_cast<uint16_t>(x)});
          packPairs(blue + begin, green + begin, x - begin, part.packed);
        }
        while (x < span.end && blue[x] == 255) ++x;
      }
    }
  });
  auto record = std::make_unique<SampleRecord>();
  for (const SampleRecord& part : parts) {
    appendTo(record->rows, part.rows);
    appendTo(record->packed, part.packed);
  }
  record->rows.shrink_to_fit();
  record->packed.shrink_to_fit();
  group->placement->samples = std::move(record);
}

void Poisson::chooseSteps() {
  const auto width = static_cast<uint32_t>(group->xMax - group->xMin);
  const auto height = static_cast<uint32_t>(group->yMax - group->yMin);
  if (width == 1 || height == 1) lattice_ = {1, 1};
  const auto unsupported = static_cast<float>(group->unsupportedPixelCount);
  const float wanted = static_cast<float>(nbSupport) * numberOfSamplePerSupport;
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

void Poisson::collectSamples() {
  collectSamplesOnLattice();
  if (!sampleX_.empty()) return;
  lattice_ = {1, 1};
  collectSamplesOnLattice();
}

void Poisson::collectSamplesOnLattice() {
  const Box box = group->box();
  const GhostStamp stamp(group->placement->ghostSupports, box);
  const RowBands bands(*pixels, box);
  std::vector<uint32_t> first(bands.count() + 1, 0);
  workers::parallelFor(bands.count(), [&](std::size_t b) {
    uint32_t samples = 0;
    visitSamples(bands.spans(b), [&](const RowSpan&, uint32_t) { ++samples; });
    first[b + 1] = samples;
  });
  for (std::size_t b = 0; b < bands.count(); ++b) first[b + 1] += first[b];

  sampleX_ = Plane<uint16_t>(first.back());
  sampleY_ = Plane<uint16_t>(first.back());
  sampleScore_ = Plane<float>(first.back());
  std::vector<float> largestGhostSum(bands.count(), 0.0f);
  workers::parallelFor(bands.count(), [&](std::size_t b) {
    uint32_t next = first[b];
    visitSamples(bands.spans(b), [&](const RowSpan& span, uint32_t x) {
      sampleX_[next] = static_cast<uint16_t>(x);
      sampleY_[next++] = span.y;
    });
    if (stamp.empty()) {
      std::fill(sampleScore_.data() + first[b], sampleScore_.data() + first[b + 1], 0.0f);
      return;
    }
    largestGhostSum[b] = stampBand(stamp, bands, b, first[b], first[b + 1]);
  });
  for (const float sum : largestGhostSum) group->ghostNorm = std::max(group->ghostNorm, sum);
}

template <typename Visit>
void Poisson::visitSamples(SpanRange spans, Visit visit) const {
  for (const RowSpan& span : spans) {
    const auto dy = static_cast<uint32_t>(span.y - group->yMin);
    if (!lattice_.holdsRow(dy)) continue;
    const uint8_t* blue = layer->supportedPixels.data() + std::size_t{span.y} * layer->width;
    const uint32_t left = group->xMin;
    lattice_.visitColumns(dy, span.begin - left, span.end - left, [&](uint32_t dx) {
      if (blue[left + dx] != 255) visit(span, left + dx);
    });
  }
}

float Poisson::stampBand(const GhostStamp& stamp, const RowBands& bands, std::size_t band,
                         uint32_t firstSample, uint32_t endSample) {
  const auto width = static_cast<uint32_t>(group->xMax - group->xMin);
  const uint32_t firstRow = bands.firstRow(band);
  std::vector<float> sums(std::size_t{bands.endRow(band) - firstRow} * width, 0.0f);
  stamp.addRows(firstRow, bands.endRow(band), sums.data());
  const auto rowSums = [&](uint32_t y) {
    return sums.data() + std::size_t{y - group->yMin - firstRow} * width;
  };
  float largest = 0.0f;
  for (uint32_t s = firstSample; s < endSample; ++s) {
    sampleScore_[s] = rowSums(sampleY_[s])[sampleX_[s] - group->xMin];
    largest = std::max(largest, sampleScore_[s]);
  }
  // Of the group's unsupported pixels only the samples are stamped; of the others all.
  for (const RowSpan& span : bands.spans(band)) {
    const uint8_t* blue = layer->supportedPixels.data() + std::size_t{span.y} * layer->width;
    float* row = rowSums(span.y);
    for (uint32_t x = span.begin; x < span.end; ++x) {
      row[x - group->xMin] = blue[x] == 255 ? row[x - group->xMin] : 0.0f;
    }
  }
  for (const float sum : sums) largest = std::max(largest, sum);
  return largest;
}

void Poisson::scoreSamples() {
  const ScoreTerms terms(group->ghostNorm);
  const std::size_t tasks = sampleX_.size() / samplesPerTask + 1;
  std::vector<float> largest(tasks, group->scoreNorm);
  workers::parallelFor(tasks, [&](std::size_t t) {
    const std::size_t end = sampleX_.size() * (t + 1) / tasks;
    for (std::size_t s = sampleX_.size() * t / tasks; s < end; ++s) {
      const std::size_t index = std::size_t{sampleY_[s]} * layer->width + sampleX_[s];
      sampleScore_[s] =
          terms.score(sampleScore_[s], layer->supportedPixels[index], layer->strokePixels[index]);
      largest[t] = std::max(largest[t], sampleScore_[s]);
    }
  });
  if (sampleX_.empty()) return;
  group->scoreNorm = *std::max_element(largest.begin(), largest.end());
  group->maxScore = group->scoreNorm;
}

std::vector<Candidate> Poisson::bestCandidates() const {
  std::vector<Candidate> candidates(sampleScore_.size());
  for (uint32_t s = 0; s < candidates.size(); ++s) candidates[s] = {sampleScore_[s], s};

  const uint32_t perSupport = toUint32(numberOfSamplePerVoronoi) / lattice_.stepY / lattice_.stepX;
  const auto share =
      toUint32(static_cast<double>(group->unsupportedPixelCount / nbSupport) * sampledShare);
  const std::size_t keep =
      std::size_t{std::max(std::min(share, perSupport), fewestCandidates)} * nbSupport;
  if (keep >= candidates.size()) {
    sortCandidates(candidates);
    return candidates;
  }
  sortLowestCandidates(candidates, keep);
  const float last = candidates[keep - 1].score;
  std::size_t length = keep;
  while (length + 1 < candidates.size() && candidates[length].score == last) ++length;
  candidates.resize(std::isnan(last) ? keep - 1 : length);
  return candidates;
}

uint32_t Poisson::placeOnce() {
  updatePixelStrength();
  if (nbSupport == 0) return 0;
  Placement& placement = group->ensurePlacement();
  chooseSteps();
  collectSamples();
  group->angleNorm = 255.0f;
  group->strokeNorm = 255.0f;
  scoreSamples();
  if (!placement.samples) recordSamples();
  placement.samples->stepX = lattice_.stepX;
  placement.samples->stepY = lattice_.stepY;
  placement.samples->ghostNorm = group->ghostNorm;
  placement.samples->scoreNorm = group->scoreNorm;

  placement.supports.clear();
  const std::vector<Candidate> candidates = bestCandidates();
  if (candidates.empty()) {
    secondPass_ = true;  // nothing to enlarge
    return nbSupport = 0;
  }

  // With fewer candidates than supports every support is seeded on the first candidate.
  const std::size_t stride = candidates.size() / nbSupport;
  const std::size_t distinctSeeds = stride == 0 ? 1 : nbSupport;
  std::vector<Site> seeds;
  seeds.reserve(distinctSeeds);
  for (std::size_t i = 0; i < distinctSeeds; ++i) {
    const uint32_t sample = candidates[i * stride].sample;
    seeds.push_back({sampleX_[sample], sampleY_[sample]});
  }
  VoronoiRelaxation relaxation(sampleX_, sampleY_, std::move(seeds), nbSupport - distinctSeeds);
  relaxation.run(maxVoronoiIteration, validationDistanceFormVoronoi);
  if (isIsland) maxDist2_ = relaxation.maxDist2();

  std::vector<uint32_t> kept;
  for (uint32_t i = 0; i < relaxation.sites().size(); ++i) {
    if (relaxation.cells()[i].count != 0) kept.push_back(i);
  }
  placement.supports.resize(kept.size());
  const CandidateSnap snap(candidates, sampleX_, sampleY_);
  const std::size_t tasks = kept.size() / supportsPerTask + 1;
  workers::parallelFor(tasks, [&](std::size_t t) {
    for (std::size_t k = t; k < kept.size(); k += tasks) {
      const Candidate& seed = candidates[kept[k] * stride];
      const Site place = snap.nearest(relaxation.sites()[kept[k]]);
      Voxel& support = placement.supports[k];
      support.index = uint32_t{layer->width} * sampleY_[seed.sample] + sampleX_[seed.sample];
      support.x = place.x;
      support.y = place.y;
      support.z = static_cast<uint16_t>(layerCount);
      support.isSupport = true;
      support.isMinima = isIsland;
      support.score = seed.score;
    }
  });
  return nbSupport = static_cast<uint32_t>(placement.supports.size());
}

}  // namespace stiltforge
