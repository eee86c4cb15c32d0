#include "support/voronoi.h"

#include <algorithm>

#include "runtime/apart.h"
#include "runtime/float_conversion.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

// Work below this many samples is not worth waking a worker for.
constexpr std::size_t samplesPerTask = std::size_t{1} << 13;
// Fewer would leave lanes of CellMeans empty.
constexpr std::size_t sitesPerTask = 16;
constexpr std::size_t mostTasks = 64;
// More could not be told apart from endless.
constexpr float mostIterations = 4.0e18f;

std::vector<SampleRow> rowsOf(const Plane<uint16_t>& sampleY) {
  std::vector<SampleRow> rows;
  for (uint32_t s = 0; s < sampleY.size(); ++s) {
    if (rows.empty() || rows.back().y != sampleY[s]) rows.push_back({sampleY[s], s, s});
    rows.back().end = s + 1;
  }
  return rows;
}

bool samePlace(const Site& a, const Site& b) {
  return a.x == b.x && a.y == b.y;
}

bool samePlaces(const std::vector<Site>& a, const std::vector<Site>& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), samePlace);
}

// Skips whole cycles of `length` while further iterations are due.
STILTFORGE_APART uint64_t skipCycles(uint64_t iteration, uint64_t length, float maxIterations) {
  for (int shift = 40; shift >= 0; --shift) {
    const uint64_t step = length << shift;
    while (maxIterations > static_cast<float>(iteration + step)) iteration += step;
  }
  return iteration;
}

}  // namespace

VoronoiRelaxation::VoronoiRelaxation(const Plane<uint16_t>& sampleX, const Plane<uint16_t>& sampleY,
                                     std::vector<Site> sites, std::size_t idleSites)
    : sampleX_(sampleX),
      sampleY_(sampleY),
      rows_(rowsOf(sampleY)),
      sites_(std::move(sites)),
      cells_(sites_.size()),
      idleSites_(idleSites),
      idleSite_(sites_.back()) {}

void VoronoiRelaxation::assign() {
  const std::size_t tasks = std::clamp<std::size_t>(sampleX_.size() / samplesPerTask, 1,
                                                    std::min(rows_.size(), mostTasks));
  std::vector<std::vector<SiteInterval>> parts(tasks);
  workers::parallelFor(tasks, [&](std::size_t t) {
    NearestSite nearest(sites_);
    const std::size_t end = rows_.size() * (t + 1) / tasks;
    for (std::size_t r = rows_.size() * t / tasks; r < end; ++r) {
      nearest.assignRow(rows_[r], sampleX_.data(), parts[t]);
    }
  });
  intervals_ = std::move(parts[0]);
  for (std::size_t t = 1; t < tasks; ++t) {
    intervals_.insert(intervals_.end(), parts[t].begin(), parts[t].end());
  }
}

void VoronoiRelaxation::accumulate() {
  // A mean depends on its order, so each cell takes its intervals in raster order, whichever thread
  // it is on.
  std::vector<uint32_t> first(sites_.size() + 1, 0);
  for (const SiteInterval& interval : intervals_) ++first[interval.site + 1];
  for (std::size_t i = 0; i < sites_.size(); ++i) first[i + 1] += first[i];
  std::vector<uint32_t> next(first.begin(), first.end() - 1);
  std::vector<uint32_t> order(intervals_.size());
  for (uint32_t i = 0; i < intervals_.size(); ++i) order[next[intervals_[i].site]++] = i;

  const std::size_t tasks = std::clamp<std::size_t>(
      std::min(sampleX_.size() / samplesPerTask, sites_.size() / sitesPerTask), 1, mostTasks);
  workers::parallelFor(tasks, [&](std::size_t t) {
    CellMeans means(sampleX_, sampleY_);
    for (std::size_t site = t; site < sites_.size(); site += tasks) {
      means.add(intervals_, order.data() + first[site], order.data() + first[site + 1],
                cells_[site]);
    }
    means.finish();
  });

  for (const SiteInterval& interval : intervals_) {
    const Site site = sites_[interval.site];
    // Along a row the distance is convex, so the farther end is the farthest.
    for (const uint32_t s : {interval.begin, interval.end - 1}) {
      const float distance = NearestSite::squaredDistance(sampleX_[s], sampleY_[s], site);
      if (distance > static_cast<float>(maxDist2_)) maxDist2_ = toUint32(distance);
    }
  }
}

bool VoronoiRelaxation::move(float settledDistance) {
  const float limit = settledDistance * settledDistance;
  bool settled = true;
  const auto moveSite = [&](Site& site, Site target) {
    if (NearestSite::squaredDistance(site.x, site.y, target) > limit) settled = false;
    site = target;
  };
  for (std::size_t i = 0; i < sites_.size(); ++i) {
    moveSite(sites_[i], {toUint16(cells_[i].sumX), toUint16(cells_[i].sumY)});
  }
  if (idleSites_ > 0) moveSite(idleSite_, {0, 0});
  return settled;
}

void VoronoiRelaxation::run(float maxIterations, float settledDistance) {
  // The iteration is a function of the sites alone, so sites that return have entered a cycle, and
  // any number of further iterations is the rest after whole cycles (R. P. Brent, "An improved
  // Monte Carlo factorization algorithm", 1980).
  const float limit = std::min(maxIterations, mostIterations);
  std::vector<Site> marked = sites_;
  Site markedIdle = idleSite_;
  uint64_t markedAt = 0;
  uint64_t markAgainAt = 1;
  bool skipped = false;
  for (uint64_t iteration = 0; limit > static_cast<float>(iteration);) {
    if (idleSites_ > 0 && !samePlace(sites_.back(), idleSite_)) {
      sites_.push_back(idleSite_);
      --idleSites_;
    }
    cells_.assign(sites_.size(), {});
    assign();
    accumulate();
    if (move(settledDistance)) return;
    ++iteration;
    if (skipped) continue;
    if (samePlaces(sites_, marked) && samePlace(idleSite_, markedIdle)) {
      iteration = skipCycles(iteration, iteration - markedAt, limit);
      skipped = true;
    } else if (iteration == markAgainAt) {
      marked = sites_;
      markedIdle = idleSite_;
      markedAt = iteration;
      markAgainAt = 2 * iteration;
    }
  }
}

}  // namespace stiltforge
