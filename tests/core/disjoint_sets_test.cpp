#include "runtime/disjoint_sets.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/random.h"

namespace stiltforge {
namespace {

TEST(DisjointSets, HaveTheSmallestNumberAsRoot) {
  DisjointSets sets(6);
  sets.unite(5, 3);
  sets.unite(4, 5);
  sets.unite(1, 1);
  EXPECT_EQ(sets.root(4), 3u);
  EXPECT_EQ(sets.root(1), 1u);
  sets.unite(4, 0);
  EXPECT_EQ(sets.root(3), 0u);
}

TEST(DisjointSets, GrowByTheNumbersThatAreWanted) {
  DisjointSets sets;
  sets.reserve(3);
  EXPECT_EQ(sets.addIf(true), 0u);
  EXPECT_EQ(sets.addIf(false), 1u) << "not added, so the next gets it too";
  EXPECT_EQ(sets.addIf(true), 1u);
  EXPECT_EQ(sets.size(), 2u);
  sets.unite(0, 1);
  EXPECT_EQ(sets.root(1), 0u);
}

TEST(DisjointSets, TellTheRootOfWhatTheyUnite) {
  DisjointSets sets;
  for (uint32_t i = 0; i < 100; ++i) EXPECT_EQ(sets.add(), i);
  EXPECT_EQ(sets.size(), 100u);
  EXPECT_EQ(sets.unite(90, 40), 40u);
  EXPECT_EQ(sets.unite(7, 90), 7u);
  EXPECT_EQ(sets.unite(40, 7), 7u);
}

TEST(DisjointSets, TakeOthersInAtAnOffset) {
  DisjointSets lower(2);
  lower.unite(0, 1);
  DisjointSets sets(5);
  sets.put(3, lower);
  EXPECT_EQ(sets.root(4), 3u);
  sets.unite(4, 1);
  sets.flatten();
  EXPECT_EQ(sets.flatRoot(3), 1u);
  EXPECT_EQ(sets.flatRoot(4), 1u);
}

TEST(DisjointSets, EqualRelabellingOneByOne) {
  Random random(71);
  for (int i = 0; i < 200; ++i) {
    const uint32_t size = 1 + random.below(40);
    DisjointSets sets(size);
    std::vector<uint32_t> label(size);
    for (uint32_t k = 0; k < size; ++k) label[k] = k;
    for (uint32_t n = random.below(60); n > 0; --n) {
      const uint32_t a = random.below(size);
      const uint32_t b = random.below(size);
      sets.unite(a, b);
      const uint32_t low = std::min(label[a], label[b]);
      const uint32_t high = std::max(label[a], label[b]);
      for (uint32_t& l : label) l = l == high ? low : l;
    }
    sets.flatten();
    for (uint32_t k = 0; k < size; ++k) ASSERT_EQ(sets.flatRoot(k), label[k]);
  }
}

}  // namespace
}  // namespace stiltforge
