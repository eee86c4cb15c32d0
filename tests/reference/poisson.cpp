#include "reference/poisson.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "reference/candidate_sort.h"
#include "reference/conversions.h"

namespace stiltforge::reference {
namespace {

float squaredDistance(int32_t ax, int32_t ay, int32_t bx, int32_t by) {
  const auto dx = static_cast<float>(ax - bx);
  const auto dy = static_cast<float>(ay - by);
  return dx * dx + dy * dy;
}

uint16_t truncatedCoordinate(float value) {
  return static_cast<uint16_t>(toInt32(value));
}

}  // namespace

Poisson::Poisson(Group& group_, const Layer& layer_, const std::vector<Layer>& layers_,
                 const Parameters& parameters_, const GhostSpread& ghostSpread_)
    : group(group_),
      layer(layer_),
      layers(layers_),
      parameters(parameters_),
      ghostSpread(ghostSpread_),
      groupWidth(static_cast<uint32_t>(group_.xMax - group_.xMin)),
      groupHeight(static_cast<uint32_t>(group_.yMax - group_.yMin)) {}

uint32_t Poisson::generateSupports() {
  do {
    setPixelStrength();
    if (nbSupport == 0) return 0;
    setLatticeSteps();
    fillSample(false);
    stampGhosts();
    scoreSamples();
    sortCandidates(candidates);
    cutCandidates();
    seedSites();
    if (group.supports.empty()) return 0;
    relaxSites();
    snapSupports();
  } while (enlargeIsland());
  return nbSupport;
}

void Poisson::setPixelStrength() {
  if (layers.size() == 1) {
    group.pixelStrength = parameters.strengthOfPlatePixel;
  } else if (group.numPixel == 1) {
    group.pixelStrength = 0.0f;
  } else {
    group.pixelStrength =
        (static_cast<float>(nbSupportBase) * parameters.supportStrength * strengthPerSupport +
         transmittedStrength) /
        static_cast<float>(group.numPixel);
  }
}

void Poisson::setLatticeSteps() {
  if (groupWidth == 1 || groupHeight == 1) stepX = stepY = 1;
  const auto unsupported = static_cast<float>(group.unsupportedPixelCount);
  const float target = static_cast<float>(nbSupport) * parameters.numberOfSamplePerSupport;
  const float density = unsupported / static_cast<float>(groupWidth * groupHeight);
  if (unsupported > target && static_cast<double>(density) > 0.15) {
    const float s = std::sqrt(unsupported / target);
    if (s < 1.0f) {
      stepX = stepY = 1;
    } else {
      // The steps end at 3; s may be more than an integer holds, or NaN.
      const float bounded = s < 4.0f ? s : 4.0f;
      const uint32_t coarse = toUint32(std::ceil(bounded));
      const uint32_t fine = toUint32(std::floor(bounded));
      const bool wide = groupWidth >= groupHeight;
      stepX = wide ? coarse : fine;
      stepY = wide ? fine : coarse;
    }
  }
  stepX = std::min(stepX, 3u);
  stepY = std::min(stepY, 3u);
}

void Poisson::fillSample(bool retried) {
  group.samples.clear();
  candidates.clear();
  for (uint32_t y = group.yMin; y < group.yMax; ++y) {
    for (uint32_t x = group.xMin; x < group.xMax; ++x) {
      auto voxel = std::make_unique<Voxel>();
      voxel->index = layer.width * y + x;
      voxel->x = static_cast<uint16_t>(x);
      voxel->y = static_cast<uint16_t>(y);
      voxel->z = static_cast<uint16_t>(layers.size());
      if (layer.labels[voxel->index] == group.id && layer.supportedPixels[voxel->index] != 255) {
        voxel->inGroup = true;
        if (isOnLattice(x - group.xMin, y - group.yMin)) {
          voxel->isSample = true;
          candidates.push_back(voxel.get());
          sampleCount += 1;
        } else {
          voxel->offLattice = true;
        }
      }
      group.samples.push_back(std::move(voxel));
    }
  }
  if (sampleCount == 0 && !retried) {
    stepX = stepY = 1;
    fillSample(true);
  }
}

bool Poisson::isOnLattice(uint32_t dx, uint32_t dy) const {
  if (stepX == 1 && stepY == 1) return true;
  const uint32_t shift = dy / stepY % 2 * stepX / 2;
  // dx - shift wraps below zero, and 2^32 - 1 is a multiple of 3: the last test takes out the
  // column that this lets in, but only in odd rows.
  return dy % stepY == 0 && (dx - shift) % stepX == 0 && !(dy % 2 == 1 && dx == 0);
}

void Poisson::stampGhosts() {
  const float radius = ghostSpread.radius;
  for (const Voxel* ghost : group.ghostSupports) {
    if (ghost->toDelete) continue;
    for (uint32_t i = 0; i < ghostSpread.side; ++i) {
      for (uint32_t j = 0; j < ghostSpread.side; ++j) {
        const uint16_t px =
            truncatedCoordinate(static_cast<float>(ghost->x) - radius + static_cast<float>(j) -
                                static_cast<float>(group.xMin));
        const uint16_t py =
            truncatedCoordinate(static_cast<float>(ghost->y) - radius + static_cast<float>(i) -
                                static_cast<float>(group.yMin));
        if (px >= groupWidth || py >= groupHeight) continue;
        Voxel& voxel = *group.samples[py * groupWidth + px];
        if (voxel.offLattice) continue;
        const auto weight = static_cast<float>(toInt32(ghostSpread.weight(i, j)) & 0xFF);
        voxel.ghostSum += weight;
        voxel.ghostMax = std::max(voxel.ghostMax, weight);
        group.ghostNorm = std::max(group.ghostNorm, voxel.ghostSum);
      }
    }
  }
  group.angleNorm = 255.0f;
}

void Poisson::scoreSamples() {
  for (const auto& voxel : group.samples) {
    if (!voxel->offLattice)
      voxel->angleSum += static_cast<float>(layer.supportedPixels[voxel->index]);
  }
  for (const auto& voxel : group.samples) {
    if (!voxel->offLattice)
      voxel->strokeSum += static_cast<float>(layer.strokePixels[voxel->index]);
  }
  group.strokeNorm = 255.0f;
  const float whole = parameters.ghostPart + parameters.strokePart + parameters.anglePart;
  for (const auto& voxel : group.samples) {
    if (!voxel->isSample) continue;
    voxel->score = (voxel->ghostSum / group.ghostNorm) * parameters.ghostPart / whole +
                   (voxel->angleSum / 255.0f) * parameters.anglePart / whole +
                   (voxel->strokeSum / 255.0f) * parameters.strokePart / whole;
    group.scoreNorm = std::max(group.scoreNorm, voxel->score);
    group.maxScore = group.scoreNorm;
  }
}

void Poisson::cutCandidates() {
  const uint32_t perVoronoi = toUint32(parameters.numberOfSamplePerVoronoi) / stepY / stepX;
  const uint32_t perSupport = group.unsupportedPixelCount / nbSupport;
  const uint32_t fifth = toUint32(static_cast<double>(perSupport) * 0.2);
  const uint64_t keep = uint64_t{std::max(std::min(fifth, perVoronoi), 4u)} * nbSupport;
  if (keep >= sampleCount) return;
  const float lastKept = candidates[keep - 1]->score;
  size_t length = keep;
  if (std::isnan(lastKept)) {
    length = keep - 1;
  } else {
    while (candidates[length]->score == lastKept && length != candidates.size() - 1) ++length;
  }
  candidates.resize(length);
}

void Poisson::seedSites() {
  group.supports.clear();
  voronois.clear();
  if (candidates.empty()) {
    nbSupport = 0;
    return;
  }
  const size_t stride = candidates.size() / nbSupport;
  for (size_t i = 0; i < nbSupport; ++i) {
    const Voxel& candidate = *candidates[i * stride];
    auto support = std::make_unique<Voxel>();
    support->index = candidate.index;
    support->x = candidate.x;
    support->y = candidate.y;
    support->z = candidate.z;
    support->score = candidate.score;
    support->isSupport = true;
    support->isMinima = isIsland;
    auto cell = std::make_unique<Voronoi>();
    cell->siteX = candidate.x;
    cell->siteY = candidate.y;
    cell->group = &group;
    group.supports.push_back(std::move(support));
    voronois.push_back(std::move(cell));
  }
}

void Poisson::relaxSites() {
  if (!(parameters.maxVoronoiIteration > 0.0f)) return;
  uint32_t iteration = 0;
  do {
    for (size_t i = 0; i < voronois.size(); ++i) {
      voronois[i]->sumX = voronois[i]->sumY = 0.0f;
      voronois[i]->count = 0;
      voronois[i]->siteX = group.supports[i]->x;
      voronois[i]->siteY = group.supports[i]->y;
    }
    for (const auto& voxel : group.samples) {
      if (voxel->isSample) assignSample(*voxel);
    }
    if (moveSupportsToCentroids()) return;
    iteration += 1;
  } while (parameters.maxVoronoiIteration > static_cast<float>(iteration));
}

uint32_t Poisson::nearestSupport(const Voxel& voxel, float& distance2) const {
  uint32_t nearest = 0;
  distance2 = std::numeric_limits<float>::infinity();
  for (uint32_t i = 0; i < group.supports.size(); ++i) {
    const Voxel& support = *group.supports[i];
    const float d2 = squaredDistance(support.x, support.y, voxel.x, voxel.y);
    if (d2 < distance2) {
      distance2 = d2;
      nearest = i;
    }
  }
  return nearest;
}

void Poisson::assignSample(const Voxel& voxel) {
  float d2 = 0.0f;
  const uint32_t i = nearestSupport(voxel, d2);
  const Voxel& support = *group.supports[i];
  Voronoi& cell = *voronois[i];
  if (isIsland && d2 > static_cast<float>(maxDist2)) maxDist2 = toUint32(d2);

  const auto oldCount = static_cast<float>(cell.count);
  cell.count += 1;
  const auto newCount = static_cast<float>(cell.count);
  cell.sumX = (cell.sumX * oldCount + static_cast<float>(voxel.x)) / newCount;
  cell.sumY = (cell.sumY * oldCount + static_cast<float>(voxel.y)) / newCount;

  if (cell.bestScore > voxel.score) {
    cell.bestSample = voxel.x | uint32_t{voxel.y} << 16;
    cell.bestScore = voxel.score;
  }
  const float ghost = voxel.ghostSum / group.ghostNorm;
  const float reach = d2 / (cell.radius * cell.radius);
  cell.siteX += static_cast<float>(support.x - voxel.x) * ghost * reach;
  cell.siteY += static_cast<float>(support.y - voxel.y) * ghost * reach;
  cell.maxDist2 = std::max(cell.maxDist2, d2);
}

// Returns whether every support was within the validation distance of its centroid.
bool Poisson::moveSupportsToCentroids() {
  const float limit =
      parameters.validationDistanceFormVoronoi * parameters.validationDistanceFormVoronoi;
  bool settled = true;
  for (size_t i = 0; i < voronois.size(); ++i) {
    Voxel& support = *group.supports[i];
    const uint16_t cx = truncatedCoordinate(voronois[i]->sumX);
    const uint16_t cy = truncatedCoordinate(voronois[i]->sumY);
    if (squaredDistance(support.x, support.y, cx, cy) > limit) settled = false;
    support.x = cx;
    support.y = cy;
  }
  return settled;
}

void Poisson::snapSupports() {
  size_t i = 0;
  while (i < group.supports.size()) {
    if (voronois[i]->count == 0) {
      group.supports.erase(group.supports.begin() + static_cast<std::ptrdiff_t>(i));
      voronois.erase(voronois.begin() + static_cast<std::ptrdiff_t>(i));
      nbSupport -= 1;
      continue;
    }
    Voxel& support = *group.supports[i];
    support.x = truncatedCoordinate(voronois[i]->sumX);
    support.y = truncatedCoordinate(voronois[i]->sumY);
    // The mean of many equal coordinates can round to just below the box: no voxel, no candidate.
    const Voxel* voxel = nullptr;
    if (support.x >= group.xMin && support.x < group.xMax && support.y >= group.yMin &&
        support.y < group.yMax) {
      const auto column = static_cast<uint32_t>(support.x - group.xMin);
      const auto row = static_cast<uint32_t>(support.y - group.yMin);
      voxel = group.samples[row * groupWidth + column].get();
    }
    if (std::find(candidates.begin(), candidates.end(), voxel) == candidates.end()) {
      const Voxel* nearest = nullptr;
      float nearestDistance2 = std::numeric_limits<float>::infinity();
      for (const Voxel* candidate : candidates) {
        const float d2 = squaredDistance(support.x, support.y, candidate->x, candidate->y);
        if (d2 < nearestDistance2) {
          nearestDistance2 = d2;
          nearest = candidate;
        }
      }
      support.x = nearest->x;
      support.y = nearest->y;
    }
    i += 1;
  }
}

// Prepares the second pass of an island whose widest cell exceeds the allowed radius; returns
// whether there is one.
bool Poisson::enlargeIsland() {
  if (!isIsland || secondPass) return false;
  const int32_t radius = toInt32(std::sqrt(static_cast<double>(maxDist2)));
  if (!(static_cast<float>(radius) > parameters.maxSupportRadiusInIsland)) return false;
  secondPass = true;
  maxDist2 = 0;
  candidates.clear();
  sampleCount = 0;
  nbSupport = nbSupportBase =
      toUint32(static_cast<float>(radius) / parameters.maxSupportRadiusInIsland +
               static_cast<float>(nbSupport));
  return true;
}

}  // namespace stiltforge::reference
