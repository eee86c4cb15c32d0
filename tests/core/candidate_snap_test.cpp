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
  const Plane<uint16_t> x = planeOf<uint16_t>({5, 3, 9});
  const Plane<uint16_t> y = planeOf<uint16_t>({1, 1, 2});
  const CandidateSnap snap({{0.0f, 0}, {0.0f, 2}}, x, y);
  EXPECT_TRUE(samePlace(snap.nearest({9, 2}), {9, 2}));
  EXPECT_TRUE(samePlace(snap.nearest({3, 1}), {5, 1})) << "sample 1 is no candidate";
}

TEST(CandidateSnap, TakesTheFirstOfEquallyNearCandidates) {
  const Plane<uint16_t> x = planeOf<uint16_t>({0, 4, 2, 2});
  const Plane<uint16_t> y = planeOf<uint16_t>({2, 2, 0, 4});
  EXPECT_TRUE(
      samePlace(CandidateSnap({{0, 1}, {0, 0}, {0, 2}, {0, 3}}, x, y).nearest({2, 2}), {4, 2}));
  EXPECT_TRUE(
      samePlace(CandidateSnap({{0, 3}, {0, 2}, {0, 1}, {0, 0}}, x, y).nearest({2, 2}), {2, 4}));
}

TEST(CandidateSnap, EqualsASearchThroughAll) {
  Random random(71);
  for (int i = 0; i < 3000; ++i) {
    const uint32_t extent = random.oneIn(3) ? 65536 : 12;
    Plane<uint16_t> x(1 + random.below(30));
    Plane<uint16_t> y(x.size());
    std::vector<Candidate> candidates;
    for (uint32_t s = 0; s < x.size(); ++s) {
      x[s] = static_cast<uint16_t>(random.below(extent));
      y[s] = static_cast<uint16_t>(random.below(extent));
      candidates.insert(candidates.begin() + random.below(s + 1), {0.0f, s});
    }
    const CandidateSnap snap(candidates, x, y);
    for (int k = 0; k < 10; ++k) {
      const Site place{static_cast<uint16_t>(random.below(extent)),
                       static_cast<uint16_t>(random.below(extent))};
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
