#include "analysis/byte_pairs.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/random.h"

namespace stiltforge {
namespace {

struct Pairs {
  std::vector<uint8_t> first;
  std::vector<uint8_t> second;
  std::size_t size() const { return first.size(); }
  void add(std::size_t n, uint8_t a, uint8_t b) {
    first.insert(first.end(), n, a);
    second.insert(second.end(), n, b);
  }
};

std::vector<uint8_t> packed(const Pairs& pairs) {
  std::vector<uint8_t> code;
  packPairs(pairs.first.data(), pairs.second.data(), pairs.size(), code);
  return code;
}

// Reads the pairs back in pieces of random lengths.
Pairs unpacked(const std::vector<uint8_t>& code, std::size_t n, Random& random) {
  Pairs pairs;
  pairs.add(n, 0, 0);
  PairReader reader(code);
  for (std::size_t i = 0; i < n;) {
    const std::size_t piece = std::min<std::size_t>(n - i, random.below(n > 5000 ? 50000 : 40));
    reader.read(pairs.first.data() + i, pairs.second.data() + i, piece);
    i += piece;
  }
  return pairs;
}

// Stretches of equal pairs of all lengths, from none to beyond the longest block.
Pairs randomPairs(Random& random) {
  Pairs pairs;
  const uint32_t stretches = random.below(12);
  for (uint32_t s = 0; s < stretches; ++s) {
    const uint32_t kind = random.below(20);
    const uint32_t length = kind == 0 ? random.below(80000) : random.below(kind < 10 ? 6 : 300);
    if (random.oneIn(2)) {
      for (uint32_t i = 0; i < length; ++i) {
        pairs.add(1, static_cast<uint8_t>(random.below(3)), static_cast<uint8_t>(random.below(3)));
      }
    } else {
      pairs.add(length, static_cast<uint8_t>(random.below(256)),
                static_cast<uint8_t>(random.below(256)));
    }
  }
  return pairs;
}

TEST(BytePairs, ComeBackAsTheyWere) {
  Random random(1);
  for (int i = 0; i < 2000; ++i) {
    const Pairs pairs = randomPairs(random);
    const Pairs back = unpacked(packed(pairs), pairs.size(), random);
    ASSERT_EQ(back.first, pairs.first) << i;
    ASSERT_EQ(back.second, pairs.second) << i;
  }
}

TEST(BytePairs, MayBeConcatenated) {
  Random random(2);
  for (int i = 0; i < 200; ++i) {
    const Pairs one = randomPairs(random);
    const Pairs two = randomPairs(random);
    std::vector<uint8_t> code = packed(one);
    packPairs(two.first.data(), two.second.data(), two.size(), code);
    Pairs both = one;
    both.first.insert(both.first.end(), two.first.begin(), two.first.end());
    both.second.insert(both.second.end(), two.second.begin(), two.second.end());
    const Pairs back = unpacked(code, both.size(), random);
    ASSERT_EQ(back.first, both.first);
    ASSERT_EQ(back.second, both.second);
  }
}

TEST(BytePairs, OfNothingTakeNothing) {
  EXPECT_TRUE(packed({}).empty());
}

TEST(BytePairs, ThatRepeatTakeFourBytesABlock) {
  Pairs pairs;
  pairs.add(32767, 7, 9);
  EXPECT_EQ(packed(pairs), (std::vector<uint8_t>{0xFF, 0xFF, 7, 9}));
  pairs.add(1, 7, 9);
  EXPECT_EQ(packed(pairs).size(), 8u);
  Pairs four;
  four.add(4, 1, 2);
  EXPECT_EQ(packed(four), (std::vector<uint8_t>{0x04, 0x80, 1, 2}));
}

TEST(BytePairs, ThatDifferStandAsTheyAre) {
  Pairs pairs;
  pairs.add(3, 1, 2);
  pairs.add(1, 1, 3);
  EXPECT_EQ(packed(pairs), (std::vector<uint8_t>{4, 0, 1, 2, 1, 2, 1, 2, 1, 3}));
}

TEST(BytePairs, NeverTakeMoreThanTwoBytesABlockBesidesTheirOwn) {
  Random random(3);
  Pairs pairs;
  for (int i = 0; i < 100000; ++i) {
    pairs.add(1, static_cast<uint8_t>(random.below(256)), static_cast<uint8_t>(random.below(256)));
  }
  const std::vector<uint8_t> code = packed(pairs);
  EXPECT_LE(code.size(), 2 * pairs.size() + 2 * (pairs.size() / 32000 + 1) + 8);
  const Pairs back = unpacked(code, pairs.size(), random);
  EXPECT_EQ(back.first, pairs.first);
  EXPECT_EQ(back.second, pairs.second);
}

}  // namespace
}  // namespace stiltforge
