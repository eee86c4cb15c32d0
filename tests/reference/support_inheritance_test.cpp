#include "reference/support_inheritance.h"

#include <gtest/gtest.h>

namespace stiltforge::reference {
namespace {

class SupportInheritanceTest : public testing::Test {
 protected:
  // Lower groups 1 (one support) and 2 (two supports).
  void SetUp() override {
    for (const size_t supports : {0, 1, 2}) {
      below.groups.push_back(std::make_unique<Group>());
      for (size_t i = 0; i < supports; ++i) {
        below.groups.back()->supports.push_back(std::make_unique<Voxel>());
      }
    }
  }

  const Voxel* support(size_t group, size_t i) { return below.groups[group]->supports[i].get(); }

  std::vector<const Voxel*> inherited(const std::vector<uint32_t>& overlap, int32_t maxGhost) {
    Group group;
    group.overlap = overlap;
    inheritSupports(group, below, maxGhost);
    return group.ghostSupports;
  }

  using Ghosts = std::vector<const Voxel*>;
  Layer below;
};

TEST_F(SupportInheritanceTest, TakesTheSupportsOfEveryTouchedGroupInOrder) {
  EXPECT_EQ(inherited({0, 1, 9}, 200), (Ghosts{support(1, 0), support(2, 0), support(2, 1)}));
  EXPECT_EQ(inherited({0, 0, 1}, 200), (Ghosts{support(2, 0), support(2, 1)}));
  EXPECT_EQ(inherited({0, 0, 0}, 200), Ghosts{});
}

TEST_F(SupportInheritanceTest, RefusesTheNewestBeyondTheLimit) {
  EXPECT_EQ(inherited({0, 1, 1}, 2), (Ghosts{support(1, 0), support(2, 0)}));
  EXPECT_EQ(inherited({0, 1, 1}, 0), Ghosts{});
  EXPECT_EQ(inherited({0, 1, 1}, -3), Ghosts{});
}

TEST_F(SupportInheritanceTest, OffersOldGhostsBeforeNewSupports) {
  const Voxel old;
  below.groups[1]->ghostSupports = {&old};
  EXPECT_EQ(inherited({0, 1, 0}, 200), (Ghosts{&old, support(1, 0)}));
}

TEST_F(SupportInheritanceTest, HoldsAGhostReachedTwiceOnce) {
  const Voxel old;
  below.groups[1]->ghostSupports = {&old};
  below.groups[2]->ghostSupports = {&old};
  EXPECT_EQ(inherited({0, 1, 1}, 200), (Ghosts{&old, support(1, 0), support(2, 0), support(2, 1)}));
}

TEST_F(SupportInheritanceTest, SkipsRetiredGhosts) {
  below.groups[2]->supports[0]->toDelete = true;
  EXPECT_EQ(inherited({0, 0, 1}, 200), Ghosts{support(2, 1)});
}

}  // namespace
}  // namespace stiltforge::reference
