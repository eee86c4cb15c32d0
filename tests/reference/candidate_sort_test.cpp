#include "reference/candidate_sort.h"

#include <gtest/gtest.h>

namespace stiltforge::reference {
namespace {

// Sorts voxels with these scores; returns their original positions in the new order.
std::vector<uint32_t> sortedPositions(const std::vector<float>& scores) {
  std::vector<Voxel> voxels(scores.size());
  std::vector<Voxel*> candidates;
  for (uint32_t i = 0; i < voxels.size(); ++i) {
    voxels[i].index = i;
    voxels[i].score = scores[i];
    candidates.push_back(&voxels[i]);
  }
  sortCandidates(candidates);
  std::vector<uint32_t> positions;
  for (const Voxel* voxel : candidates) positions.push_back(voxel->index);
  return positions;
}

TEST(CandidateSort, PutsTheLowestScoreFirst) {
  EXPECT_EQ(sortedPositions({0.5f, -1.0f, 0.25f}), (std::vector<uint32_t>{1, 2, 0}));
}

TEST(CandidateSort, LeavesUpToSixteenEqualScoresInPlace) {
  const std::vector<uint32_t> positions = sortedPositions(std::vector<float>(16, 0.5f));
  for (uint32_t i = 0; i < 16; ++i) EXPECT_EQ(positions[i], i);
}

TEST(CandidateSort, ReordersMoreThanSixteenEqualScoresByItsPartition) {
  EXPECT_EQ(sortedPositions(std::vector<float>(17, 0.5f)),
            (std::vector<uint32_t>{8, 16, 15, 14, 13, 12, 11, 10, 9, 0, 7, 6, 5, 4, 3, 2, 1}));
}

}  // namespace
}  // namespace stiltforge::reference
