#include "support/candidate_snap.h"

#include <gtest/gtest.h>

#include "core/drawing.h"
#include "core/random.h"

namespace stiltforge {
namespace {

bool samePlace(Site a, Site b) {
  return a.x == b.x && a.y == b.y;
}

TEST(CandidateSnap, LeavesAPlaceThatIsACandidate) {
  const Plane<uint16_t> x = planeOf<uint16_t>({3, 5, 9});
  const Plane<uint16_t> y = planeOf<uint16_t>({1, 1, 2});
  const CandidateSnap snap({{0.0f, 2}, {0.0f, 1}}, x, y);
  EXPECT_TRUE(samePlace(snap.nearest({9, 2}), {9, 2}));
  EXPECT_TRUE(samePlace(snap.nearest({5, 1}), {5, 1}));
  EXPECT_TRUE(samePlace(snap.nearest({3, 1}), {5, 1})) << "a sample, but no candidate";
}

TEST(CandidateSnap, TakesTheFirstOfEquallyNearCandidates) {
  const Plane<uint16_t> x = planeOf<uint16_t>({2, 0, 4, 2});
  const Plane<uint16_t> y = planeOf<uint16_t>({0, 2, 2, 4});
  EXPECT_TRUE(
      samePlace(CandidateSnap({{0, 2}, {0, 1}, {0, 0}, {0, 3}}, x, y).nearest({2, 2}), {4, 2}));
  EXPECT_TRUE(
      samePlace(CandidateSnap({{0, 3}, {0, 0}, {0, 2}, {0, 1}}, x, y).nearest({2, 2}), {2, 4}));
}

TEST(CandidateSnap, EqualsASearchThroughAll) {
  Random random(71);
  for (int i = 0; i < 3000; ++i) {
    // Samples stand in raster order, as the generator collects them.
    // Far apart, distances are rounded and tie where exact ones would not.
    const uint32_t spacing = random.oneIn(3) ? 4000 : 1;
    const uint32_t side = random.oneIn(10) ? 16 : 12;
    const uint32_t candidateOneIn = random.oneIn(2) ? 3 : random.oneIn(2) ? 1 : 50;
    std::vector<uint16_t> columns;
    std::vector<uint16_t> rows;
    ScratchVector<Candidate> candidates;
    for (uint32_t row = 0; row < side; ++row) {
      for (uint32_t column = 0; column < side; ++column) {
        if (random.oneIn(3)) continue;
        columns.push_back(static_cast<uint16_t>(column * spacing));
        rows.push_back(static_cast<uint16_t>(row * spacing));
        if (!random.oneIn(candidateOneIn)) continue;
        const auto position = random.below(static_cast<uint32_t>(candidates.size()) + 1);
        candidates.insert(candidates.begin() + position,
                          {0.0f, static_cast<uint32_t>(columns.size() - 1)});
      }
    }
    if (candidates.empty()) continue;
    const Plane<uint16_t> x = planeOf(columns);
    const Plane<uint16_t> y = planeOf(rows);
    const CandidateSnap snap(candidates, x, y);
    for (int k = 0; k < 30; ++k) {
      const Site place{static_cast<uint16_t>(random.below(side + 2) * spacing),
                       static_cast<uint16_t>(random.below(side + 2) * spacing)};
      const Candidate* nearest = &candidates[0];
      const auto distance = [&](const Candidate& c) {
        return NearestSite::squaredDistance(place.x, place.y, {x[c.sample], y[c.sample]});
      };
      for (const Candidate& candidate : candidates) {
        if (distance(candidate) < distance(*nearest)) nearest = &candidate;
      }
      ASSERT_TRUE(samePlace(snap.nearest(place), {x[nearest->sample], y[nearest->sample]}));
    }
  }
}

}  // namespace
}  // namespace stiltforge
