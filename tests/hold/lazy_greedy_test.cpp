#include "hold/lazy_greedy.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

#include "core/random.h"

namespace stiltforge::hold {
namespace {

using Order = std::vector<std::size_t>;

// In which order candidates of a fixed worth are taken, `most` at most.
Order taken(const std::vector<double>& worth, std::size_t most) {
  Order order;
  takeGreedily(
      worth.size(), [&](std::size_t candidate) { return worth[candidate]; },
      [&] { return order.size() == most; },
      [&](std::size_t candidate) { order.push_back(candidate); });
  return order;
}

TEST(LazyGreedy, TakesTheHighestWorthFirstAndOfEqualOnesTheFirst) {
  EXPECT_EQ(taken({2, 5, 3, 5}, 4), (Order{1, 3, 2, 0}));
}

TEST(LazyGreedy, EndsWhenItIsEnough) {
  EXPECT_EQ(taken({2, 5, 3, 5}, 2), (Order{1, 3}));
}

TEST(LazyGreedy, TakesNothingThatIsWorthNothing) {
  EXPECT_EQ(taken({0, 1, 0}, 3), Order{1});
}

// Sets of some of 24 items, one bit each; each is worth the items that none before it had.
class SetCover {
 public:
  explicit SetCover(Random& random) : sets_(2 + random.below(12)) {
    for (uint32_t& set : sets_) set = random.below(1 << 24) & random.below(1 << 24);
  }

  std::size_t size() const { return sets_.size(); }
  double worthOf(std::size_t set) const { return std::popcount(sets_[set] & ~covered_); }
  void take(std::size_t set) { covered_ |= sets_[set]; }

 private:
  std::vector<uint32_t> sets_;
  uint32_t covered_ = 0;
};

// Weighs all of them anew each time.
Order takenPlainly(SetCover cover) {
  Order order;
  while (true) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < cover.size(); ++i) {
      if (cover.worthOf(i) > cover.worthOf(best)) best = i;
    }
    if (cover.worthOf(best) <= 0) return order;
    cover.take(best);
    order.push_back(best);
  }
}

TEST(LazyGreedyProperty, TakesWhatWeighingAllAnewWouldTake) {
  Random random(93);
  for (int i = 0; i < 1000; ++i) {
    SetCover cover(random);
    const Order expected = takenPlainly(cover);
    Order order;
    takeGreedily(
        cover.size(), [&](std::size_t set) { return cover.worthOf(set); }, [] { return false; },
        [&](std::size_t set) {
          cover.take(set);
          order.push_back(set);
        });
    ASSERT_EQ(order, expected) << "cover " << i;
  }
}

}  // namespace
}  // namespace stiltforge::hold
