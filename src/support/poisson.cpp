#include "support/poisson.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "runtime/float_conversion.h"
#include "runtime/worker_pool.h"
#include "support/candidate_snap.h"
#include "support/sample_record.h"
#include "support/voronoi.h"

namespace stiltforge {

namespace {

// Of a support's share of the unsupported pixels, so much is kept as candidates, but no fewer.
constexpr double sampledShare = 0.2;
constexpr uint32_t fewestCandidates = 4;

constexpr std::size_t supportsPerTask = 64;

}  // namespace

uint32_t Poisson::generateSupports() {
  const uint32_t placed = placeOnce();
  const std::optional<uint32_t> enlarged = enlargedCount();
  if (!enlarged) return placed;
  secondPass_ = true;
  maxDist2_ = 0;
  nbSupport = nbSupportBase = *enlarged;
  return placeOnce();
}

// The supports of a second pass over an island whose samples lie too far from their supports.
std::optional<uint32_t> Poisson::enlargedCount() const {
  if (!isIsland || secondPass_ || !field_) return std::nullopt;
  const auto radius = static_cast<uint32_t>(std::sqrt(static_cast<double>(maxDist2_)));
  if (!(static_cast<float>(radius) > settings->maxSupportRadiusInIsland)) return std::nullopt;
  return toUint32(static_cast<float>(radius) / settings->maxSupportRadiusInIsland +
                  static_cast<float>(nbSupport));
}

void Poisson::updatePixelStrength() {
  if (layerCount == 1) {
    group->pixelStrength = settings->strengthOfPlatePixel;
  } else if (group->numPixel == 1) {
    group->pixelStrength = 0.0f;
  } else {
    group->pixelStrength =
        (static_cast<float>(nbSupportBase) * settings->supportStrength * strengthPerSupport +
         transmittedStrength) /
        static_cast<float>(group->numPixel);
  }
}

void Poisson::keepRecord() {
  Placement& placement = *group->placement;
  if (!placement.samples) placement.samples = recordOverhang(*layer, *overhang);
  placement.samples->stepX = field_->lattice().stepX;
  placement.samples->stepY = field_->lattice().stepY;
  placement.samples->ghostNorm = field_->ghostNorm();
  placement.samples->scoreNorm = field_->scoreNorm();
}

ScratchVector<Candidate> Poisson::bestCandidates() const {
  ScratchVector<Candidate> candidates(field_->size());
  for (uint32_t s = 0; s < candidates.size(); ++s) candidates[s] = {field_->scores()[s], s};

  const SampleLattice& lattice = field_->lattice();
  const uint32_t perSupport =
      toUint32(settings->numberOfSamplePerVoronoi) / lattice.stepY / lattice.stepX;
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

// Seeds the supports evenly along the ranked candidates, relaxes them over all samples and snaps
// them back; a support that no sample is nearest to is dropped.
void Poisson::placeOn(const ScratchVector<Candidate>& candidates) {
  // With fewer candidates than supports every support is seeded on the first candidate.
  const std::size_t stride = candidates.size() / nbSupport;
  const std::size_t distinctSeeds = stride == 0 ? 1 : nbSupport;
  std::vector<Site> seeds;
  seeds.reserve(distinctSeeds);
  for (std::size_t i = 0; i < distinctSeeds; ++i) {
    const uint32_t sample = candidates[i * stride].sample;
    seeds.push_back({field_->x()[sample], field_->y()[sample]});
  }
  VoronoiRelaxation relaxation(field_->x(), field_->y(), std::move(seeds),
                               nbSupport - distinctSeeds);
  relaxation.run(settings->maxVoronoiIteration, settings->validationDistanceFormVoronoi);
  if (isIsland) maxDist2_ = relaxation.maxDist2();

  std::vector<uint32_t> kept;
  for (uint32_t i = 0; i < relaxation.sites().size(); ++i) {
    if (relaxation.cells()[i].count != 0) kept.push_back(i);
  }
  std::vector<Voxel>& supports = group->placement->supports;
  supports.resize(kept.size());
  const CandidateSnap snap(candidates, field_->x(), field_->y());
  const std::size_t tasks = kept.size() / supportsPerTask + 1;
  workers::parallelFor(tasks, [&](std::size_t t) {
    for (std::size_t k = t; k < kept.size(); k += tasks) {
      const Candidate& seed = candidates[kept[k] * stride];
      const Site place = snap.nearest(relaxation.sites()[kept[k]]);
      Voxel& support = supports[k];
      support.index = uint32_t{layer->width} * field_->y()[seed.sample] + field_->x()[seed.sample];
      support.x = place.x;
      support.y = place.y;
      support.z = static_cast<uint16_t>(layerCount);
      support.isSupport = true;
      support.isMinima = isIsland;
      support.score = seed.score;
    }
  });
}

uint32_t Poisson::placeOnce() {
  updatePixelStrength();
  if (nbSupport == 0) return 0;
  group->ensurePlacement();
  if (!field_) field_.emplace(*settings, *ghostSpread, *group, *layer, *overhang);
  field_->sample(nbSupport);
  keepRecord();
  group->placement->supports.clear();
  const ScratchVector<Candidate> candidates = bestCandidates();
  if (candidates.empty()) {
    secondPass_ = true;  // nothing to enlarge
    return nbSupport = 0;
  }
  placeOn(candidates);
  return nbSupport = static_cast<uint32_t>(group->placement->supports.size());
}

}  // namespace stiltforge
