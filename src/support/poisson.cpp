#include "support/poisson.h"

#include <algorithm>
#include <cmath>
#include <limits>

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
constexpr double sparseShare = 0.15;  // of the box unsupported: below it every pixel is a candidate
constexpr double sampledShare =
    0.2;  // of a support's share of unsupported pixels, kept as candidates
constexpr uint32_t fewestCandidates = 4;  // kept per support

// Ghost sums of a band of this many pixels stay in the first cache levels.
constexpr std::size_t pixelsPerBand = std::size_t{1} << 15;
constexpr std::size_t samplesPerTask = std::size_t{1} << 15;

// What one band of box rows contributes, in raster order.
struct SampleBand {
  std::vector<uint16_t> x;
  std::vector<uint16_t> y;
  std::vector<uint8_t> blue;
  std::vector<uint8_t> green;
  std::vector<float> ghostSum;
  float largestGhostSum = 0;
};

uint32_t latticeStep(float s) {
  return s < static_cast<float>(largestStep) ? toUint32(s) : largestStep;
}

template <typename T>
void appendTo(std::vector<T>& all, const std::vector<T>& part) {
  all.insert(all.end(), part.begin(), part.end());
}

// The first span at or below a row of the slice.
const RowSpan* firstSpanAt(const std::vector<RowSpan>& spans, uint32_t row) {
  return std::lower_bound(spans.data(), spans.data() + spans.size(), row,
                          [](const RowSpan& span, uint32_t y) { return span.y < y; });
}

// The maximal runs of unsupported pixels of a group and their packed channels, band by band.
std::unique_ptr<SampleRecord> recordSamples(const Layer& layer, const std::vector<RowSpan>& spans,
                                            Box box) {
  const uint32_t width = static_cast<uint32_t>(box.xMax - box.xMin);
  const uint32_t height = static_cast<uint32_t>(box.yMax - box.yMin);
  const uint32_t rowsPerBand =
      static_cast<uint32_t>(std::max<std::size_t>(1, pixelsPerBand / width));
  std::vector<SampleRecord> bands((height + rowsPerBand - 1) / rowsPerBand);
  workers::parallelFor(bands.size(), [&](std::size_t b) {
    SampleRecord& band = bands[b];
    std::vector<uint8_t> blues;
    std::vector<uint8_t> greens;
    const uint32_t firstRow = box.yMin + static_cast<uint32_t>(b) * rowsPerBand;
    const RowSpan* const end = firstSpanAt(spans, firstRow + rowsPerBand);
    for (const RowSpan* span = firstSpanAt(spans, firstRow); span != end; ++span) {
      const std::size_t base = std::size_t{span->y} * layer.width;
      const uint8_t* blue = layer.supportedPixels.data() + base;
      for (uint32_t x = span->begin; x < span->end;) {
        if (blue[x] == 255) {
          ++x;
          continue;
        }
        const uint32_t begin = x;
        while (x < span->end && blue[x] != 255) ++x;
        band.rows.push_back({span->y, static_cast<uint16_t>(begin), static_cast<uint16_t>(x)});
        blues.insert(blues.end(), blue + begin, blue + x);
        greens.insert(greens.end(), layer.strokePixels.data() + base + begin,
                      layer.strokePixels.data() + base + x);
      }
    }
    packPairs(blues.data(), greens.data(), blues.size(), band.packed);
  });
  auto record = std::make_unique<SampleRecord>();
  for (const SampleRecord& band : bands) {
    appendTo(record->rows, band.rows);
    appendTo(record->packed, band.packed);
  }
  record->rows.shrink_to_fit();
  record->packed.shrink_to_fit();
  return record;
}

}  // namespace

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
  const uint32_t width = static_cast<uint32_t>(box.xMax - box.xMin);
  const uint32_t height = static_cast<uint32_t>(box.yMax - box.yMin);
  const GhostStamp stamp(group->placement->ghostSupports, box);
  const uint32_t rowsPerBand =
      static_cast<uint32_t>(std::max<std::size_t>(1, pixelsPerBand / width));
  std::vector<SampleBand> bands((height + rowsPerBand - 1) / rowsPerBand);
  workers::parallelFor(bands.size(), [&](std::size_t b) {
    SampleBand& band = bands[b];
    const uint32_t firstRow = static_cast<uint32_t>(b) * rowsPerBand;
    const uint32_t endRow = std::min(height, firstRow + rowsPerBand);
    std::vector<float> sums;
    if (!stamp.empty()) {
      sums.assign(std::size_t{endRow - firstRow} * width, 0.0f);
      stamp.addRows(firstRow, endRow, sums.data());
    }
    const RowSpan* const end = firstSpanAt(*pixels, box.yMin + endRow);
    for (const RowSpan* span = firstSpanAt(*pixels, box.yMin + firstRow); span != end; ++span) {
      const std::size_t base = std::size_t{span->y} * layer->width;
      const uint8_t* blue = layer->supportedPixels.data() + base;
      const uint8_t* green = layer->strokePixels.data() + base;
      const uint32_t dy = static_cast<uint32_t>(span->y - box.yMin);
      float* rowSums = sums.empty() ? nullptr : sums.data() + std::size_t{dy - firstRow} * width;
      const bool onLatticeRow = lattice_.holdsRow(dy);
      if (!onLatticeRow && !rowSums) continue;
      for (uint32_t x = span->begin; x < span->end; ++x) {
        if (blue[x] == 255) continue;
        const uint32_t dx = x - box.xMin;
        if (onLatticeRow && lattice_.holds(dx, dy)) {
          band.x.push_back(static_cast<uint16_t>(x));
          band.y.push_back(span->y);
          band.blue.push_back(blue[x]);
          band.green.push_back(green[x]);
          band.ghostSum.push_back(rowSums ? rowSums[dx] : 0.0f);
        } else if (rowSums) {
          rowSums[dx] = 0.0f;  // off the lattice nothing is stamped
        }
      }
    }
    for (const float sum : sums) band.largestGhostSum = std::max(band.largestGhostSum, sum);
  });

  sampleX_.clear();
  sampleY_.clear();
  sampleBlue_.clear();
  sampleGreen_.clear();
  sampleScore_.clear();
  for (SampleBand& band : bands) {
    group->ghostNorm = std::max(group->ghostNorm, band.largestGhostSum);
    appendTo(sampleX_, band.x);
    appendTo(sampleY_, band.y);
    appendTo(sampleBlue_, band.blue);
    appendTo(sampleGreen_, band.green);
    appendTo(sampleScore_, band.ghostSum);
    band = {};
  }
}

void Poisson::scoreSamples() {
  const ScoreTerms terms(group->ghostNorm);
  const std::size_t tasks = sampleX_.size() / samplesPerTask + 1;
  std::vector<float> largest(tasks, group->scoreNorm);
  workers::parallelFor(tasks, [&](std::size_t t) {
    const std::size_t end = sampleX_.size() * (t + 1) / tasks;
    for (std::size_t s = sampleX_.size() * t / tasks; s < end; ++s) {
      sampleScore_[s] = terms.score(sampleScore_[s], sampleBlue_[s], sampleGreen_[s]);
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
  if (!placement.samples) placement.samples = recordSamples(*layer, *pixels, group->box());
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

  const CandidateSnap snap(candidates, sampleX_, sampleY_);
  for (std::size_t i = 0; i < relaxation.sites().size(); ++i) {
    if (relaxation.cells()[i].count == 0) continue;
    const Candidate& seed = candidates[i * stride];
    const Site place = snap.nearest(relaxation.sites()[i]);
    Voxel support;
    support.index = uint32_t{layer->width} * sampleY_[seed.sample] + sampleX_[seed.sample];
    support.x = place.x;
    support.y = place.y;
    support.z = static_cast<uint16_t>(layerCount);
    support.isSupport = true;
    support.isMinima = isIsland;
    support.score = seed.score;
    placement.supports.push_back(support);
  }
  return nbSupport = static_cast<uint32_t>(placement.supports.size());
}

}  // namespace stiltforge
