#include "analysis/support_inheritance.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "core/random.h"
#include "core/stage_test.h"

namespace stiltforge {
namespace {

using Ghosts = std::vector<Voxel*>;

class SupportInheritanceTest : public LayersTest {
 protected:
  // Three lower groups side by side: 1 with one support, 2 with two, 3 with none.
  void layLowerGroups() {
    Layer& below = segment({"#.#.#"});
    for (std::size_t n = 0; n < 2; ++n)
      below.groups[n + 1].ensurePlacement().supports.resize(n + 1);
  }
  Voxel* support(std::size_t group, std::size_t i) {
    return &layers[0].groups[group].placement->supports[i];
  }

  // What the only group of this picture inherits.
  Ghosts inherited(const Rows& rows) {
    layers.resize(1);
    segment(rows);
    return inheritInto(layers.back().groups.at(1));
  }
  Ghosts inheritInto(Group& group) {
    SupportInheritance inheritance;
    inheritance.settings = &settings;
    inheritance.record = &ghosts;
    inheritance.layer = &layers[layers.size() - 1];
    inheritance.previousLayer = &layers[layers.size() - 2];
    inheritance.inherite(group);
    return group.placement ? group.placement->ghostSupports : Ghosts();
  }

  GhostRecord ghosts;
};

TEST_F(SupportInheritanceTest, HoldsNothingWhereThereIsNothingToHold) {
  layLowerGroups();
  inherited({"....#"});
  EXPECT_EQ(layers.back().groups[1].placement, nullptr);
}

TEST_F(SupportInheritanceTest, RefusesTheNewestOnceAGroupIsFull) {
  layLowerGroups();
  settings.maxGhost = 2;
  ghosts.ghostIterator = 0;
  EXPECT_EQ(inherited({"###.."}), (Ghosts{support(1, 0), support(2, 0)}));
  EXPECT_EQ(ghosts.ghostIterator, 1);
}

TEST_F(SupportInheritanceTest, CountsRefusalsRoundTheLimit) {
  layLowerGroups();
  layers[0].groups[2].placement->supports.resize(6);
  settings.maxGhost = 3;
  ghosts.ghostIterator = 2;
  inherited({"###.."});  // seven are offered, four of them refused
  EXPECT_EQ(ghosts.ghostIterator, (2 + 4) % 3);
}

TEST_F(SupportInheritanceTest, ALimitOfNothingRefusesEveryGhostWithoutCounting) {
  layLowerGroups();
  settings.maxGhost = 0;
  ghosts.ghostIterator = 5;
  EXPECT_EQ(inherited({"###.."}), Ghosts{});
  EXPECT_EQ(ghosts.ghostIterator, 5);
}

TEST_F(SupportInheritanceTest, ANegativeLimitRefusesEveryGhostAndCounts) {
  layLowerGroups();
  settings.maxGhost = -2;
  ghosts.ghostIterator = 0;
  EXPECT_EQ(inherited({"###.."}), Ghosts{});
  EXPECT_EQ(ghosts.ghostIterator, 1) << "three refusals modulo two";
  settings.maxGhost = std::numeric_limits<int32_t>::min();
  ghosts.ghostIterator = std::numeric_limits<int32_t>::max();
  EXPECT_EQ(inherited({"#...."}), Ghosts{});
  EXPECT_EQ(ghosts.ghostIterator, 0);
}

TEST_F(SupportInheritanceTest, HoldsAGhostReachedTwiceOnce) {
  layLowerGroups();
  Voxel old;
  layers[0].groups[1].placement->ghostSupports = {&old};
  layers[0].groups[2].placement->ghostSupports = {&old};
  settings.maxGhost = 3;
  ghosts.ghostIterator = 0;
  EXPECT_EQ(inherited({"###.."}), (Ghosts{&old, support(1, 0), support(2, 0)}));
  EXPECT_EQ(ghosts.ghostIterator, 1) << "a ghost that is held is not refused";
}

TEST_F(SupportInheritanceTest, CarriesGhostsThroughAnyNumberOfLayersWhereverTheyStand) {
  layLowerGroups();
  Voxel* const first = support(1, 0);
  first->x = 60000;
  for (int n = 0; n < 300; ++n) {
    segment({"##..."});
    ASSERT_EQ(inheritInto(layers.back().groups[1]), Ghosts{first});
    layers[layers.size() - 2].archive();
  }
}

// Offering one by one, the duplicates searched for in the whole list.
Ghosts plainlyInherited(const Group& group, const Layer& layer, Layer& below, int32_t maxGhost,
                        int32_t& iterator) {
  Ghosts held;
  const auto offer = [&](Voxel* ghost) {
    if (std::find(held.begin(), held.end(), ghost) != held.end() || ghost->toDelete) return;
    if (maxGhost > static_cast<int32_t>(held.size())) {
      held.push_back(ghost);
    } else {
      iterator = (iterator + 1) % maxGhost;
    }
  };
  for (uint32_t i = 0; i < group.overlapEntries; ++i) {
    Placement* lower = below.groups[layer.overlaps[group.firstOverlap + i].lower].placement.get();
    if (!lower) continue;
    for (Voxel* ghost : lower->ghostSupports) offer(ghost);
    for (Voxel& own : lower->supports) offer(&own);
  }
  return held;
}

TEST_F(SupportInheritanceTest, EqualsOneByOneOffersOfSharedGhosts) {
  Random random(51);
  for (int i = 0; i < 2000; ++i) {
    layers.clear();
    Layer& below = segment({"#.#.#.#.#.#.#.#"});
    std::vector<Voxel> pool(random.below(30));
    for (Voxel& voxel : pool) voxel.toDelete = random.oneIn(10);
    for (std::size_t id = 1; id < below.groups.size(); ++id) {
      if (random.oneIn(4)) continue;
      Placement& placement = below.groups[id].ensurePlacement();
      for (Voxel& voxel : pool) {
        if (random.oneIn(3)) placement.ghostSupports.push_back(&voxel);
      }
      placement.supports.resize(random.below(4));
    }
    std::string row(15, '.');
    for (char& c : row) c = random.below(100) < 70 ? '#' : '.';
    Layer& layer = segment({row});
    settings.maxGhost = random.between(1, 20);
    ghosts.ghostIterator = 0;
    int32_t iterator = 0;
    for (std::size_t id = 1; id < layer.groups.size(); ++id) {
      const Ghosts expected =
          plainlyInherited(layer.groups[id], layer, layers[0], settings.maxGhost, iterator);
      ASSERT_EQ(inheritInto(layer.groups[id]), expected) << i;
      ASSERT_EQ(ghosts.ghostIterator, iterator) << i;
    }
  }
}

// The walk over listed ghosts: nothing in the analysis lists one, so tests do.
class GhostRetirement : public SupportInheritanceTest {
 protected:
  std::string retire(const Rows& rows, std::size_t historySize) {
    layers.clear();
    segment(rows);
    std::ostringstream printed;
    SupportInheritance inheritance;
    inheritance.settings = &settings;
    inheritance.record = &ghosts;
    inheritance.layer = &layers.back();
    inheritance.retireGhosts(historySize, printed);
    return printed.str();
  }
  Voxel ghostAt(uint32_t index, uint16_t z) {
    Voxel ghost;
    ghost.index = index;
    ghost.z = z;
    return ghost;
  }
};

TEST_F(GhostRetirement, RetiresAGhostWithoutMaterialAboveAtOnce) {
  Voxel ghost = ghostAt(4, 1000);
  ghosts.ghostSupportArray = {&ghost};
  EXPECT_EQ(retire({"##.", "#.#"}, 2), "maxZGhost 1 1\n");
  EXPECT_TRUE(ghost.toDelete);
  EXPECT_EQ(ghosts.deleteGhostIndex, std::vector<int32_t>{0});
}

TEST_F(GhostRetirement, RetiresAGhostBelowMaterialByItsAge) {
  Voxel ghost = ghostAt(0, 3);
  ghosts.ghostSupportArray = {&ghost};
  EXPECT_EQ(retire({"#"}, 4), "") << "4 - 1 does not exceed 3";
  EXPECT_FALSE(ghost.toDelete);
  EXPECT_EQ(retire({"#"}, 5), "maxZGhost 1 0\n");
  EXPECT_TRUE(ghost.toDelete);
}

TEST_F(GhostRetirement, VisitsRetiredGhostsAgain) {
  Voxel kept = ghostAt(0, 9);
  Voxel retired = ghostAt(1, 9);
  ghosts.ghostSupportArray = {&kept, &retired};
  settings.maxZGhost = 0.5f;
  EXPECT_EQ(retire({"#."}, 2), "maxZGhost 0.5 1\n");
  EXPECT_EQ(retire({"#."}, 3), "maxZGhost 0.5 1\n");
  EXPECT_EQ(ghosts.deleteGhostIndex, (std::vector<int32_t>{1, 1}));
  EXPECT_EQ(ghosts.ghostSupportArray.size(), 2u);
}

TEST_F(GhostRetirement, PrintsTheLimitWithSixDigits) {
  Voxel ghost = ghostAt(0, 0);
  ghosts.ghostSupportArray = {&ghost};
  settings.maxZGhost = 1.23456789f;
  EXPECT_EQ(retire({"."}, 2), "maxZGhost 1.23457 1\n");
  settings.maxZGhost = -1e10f;
  EXPECT_EQ(retire({"#"}, 2), "maxZGhost -1e+10 0\n");
}

TEST_F(GhostRetirement, TakesAPlaceOutsideTheSliceForBackground) {
  Voxel ghost = ghostAt(4000000000, 100);
  ghosts.ghostSupportArray = {&ghost};
  EXPECT_EQ(retire({"##", "##"}, 2), "maxZGhost 1 1\n");
}

TEST_F(GhostRetirement, PrintsNothingForAnEmptyList) {
  EXPECT_EQ(retire({"."}, 2), "");
}

TEST(LayerBackground, IsWhatNoRunCovers) {
  Random random(52);
  for (int i = 0; i < 300; ++i) {
    const auto width = static_cast<uint16_t>(random.between(1, 20));
    const auto height = static_cast<uint16_t>(random.between(1, 20));
    Picture picture = emptyPicture(width, height);
    for (uint32_t& pixel : picture.pixels) {
      if (random.oneIn(2)) pixel = materialPixel();
    }
    const Layer layer(sliceOf(picture));
    for (uint32_t k = 0; k < picture.pixels.size(); ++k) {
      ASSERT_EQ(layer.isBackground(k), (picture.pixels[k] & 0xFF) == 0);
    }
    EXPECT_TRUE(layer.isBackground(static_cast<uint32_t>(picture.pixels.size())));
  }
}

}  // namespace
}  // namespace stiltforge
