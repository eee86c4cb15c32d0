// Which supports of lower layers a region holds as ghosts.

#include "stages/stages.h"

namespace stiltforge::stages {
namespace {

template <typename Version>
class Inheritance : public StagesTest<Version> {
 protected:
  using Ghost = typename Version::Ghost;
  using Ghosts = std::vector<const Ghost*>;

  // Three lower regions side by side: 1 with one support, 2 with two, 3 with none.
  void layLowerRegions() {
    this->segment({"#.#.#"});
    this->stages.addLowerSupports(1, 1);
    this->stages.addLowerSupports(2, 2);
  }
  // What the only region of this slice inherits.
  Ghosts inherited(const Rows& rows) {
    this->segment(rows);
    return this->stages.inherited();
  }
  const Ghost* support(uint32_t group, std::size_t i) {
    return this->stages.lowerSupport(group, i);
  }
};
TYPED_TEST_SUITE(Inheritance, Versions, VersionName);

TYPED_TEST(Inheritance, TakesTheSupportsOfEveryTouchedRegionInOrder) {
  using List = typename TestFixture::Ghosts;
  this->layLowerRegions();
  const List ghosts = this->inherited({"###.."});
  EXPECT_EQ(ghosts, (List{this->support(1, 0), this->support(2, 0), this->support(2, 1)}));
}

TYPED_TEST(Inheritance, OfARegionThatTouchesNoSupportIsEmpty) {
  using List = typename TestFixture::Ghosts;
  this->layLowerRegions();
  EXPECT_EQ(this->inherited({"....#"}), List{});
  this->stages.startAnew();
  this->layLowerRegions();
  EXPECT_EQ(this->inherited({".#..."}), List{}) << "an island inherits nothing";
}

TYPED_TEST(Inheritance, RefusesTheNewestOnceARegionIsFull) {
  using List = typename TestFixture::Ghosts;
  this->layLowerRegions();
  this->settings.maxGhost = 2;
  const List ghosts = this->inherited({"###.."});
  EXPECT_EQ(ghosts, (List{this->support(1, 0), this->support(2, 0)}));
}

TYPED_TEST(Inheritance, WithALimitOfNothingOrLessIsEmpty) {
  using List = typename TestFixture::Ghosts;
  for (const int32_t limit : {0, -1, -2000000000}) {
    this->stages.startAnew();
    this->layLowerRegions();
    this->settings.maxGhost = limit;
    EXPECT_EQ(this->inherited({"###.."}), List{}) << limit;
  }
}

TYPED_TEST(Inheritance, OffersOldGhostsBeforeNewSupports) {
  using List = typename TestFixture::Ghosts;
  typename TestFixture::Ghost old;
  this->layLowerRegions();
  this->stages.setLowerGhosts(1, {&old});
  const List ghosts = this->inherited({"#...."});
  EXPECT_EQ(ghosts, (List{&old, this->support(1, 0)}));
}

TYPED_TEST(Inheritance, HoldsAGhostReachedTwiceOnce) {
  using List = typename TestFixture::Ghosts;
  typename TestFixture::Ghost old;
  this->layLowerRegions();
  this->stages.setLowerGhosts(1, {&old});
  this->stages.setLowerGhosts(2, {&old});
  const List ghosts = this->inherited({"###.."});
  EXPECT_EQ(ghosts, (List{&old, this->support(1, 0), this->support(2, 0), this->support(2, 1)}));
}

TYPED_TEST(Inheritance, SkipsRetiredGhosts) {
  using List = typename TestFixture::Ghosts;
  this->layLowerRegions();
  this->segment({"..#.."});
  this->stages.lowerSupport(2, 0)->toDelete = true;
  EXPECT_EQ(this->stages.inherited(), List{this->support(2, 1)});
}

}  // namespace
}  // namespace stiltforge::stages
