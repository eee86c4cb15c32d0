#include "analysis/voxel.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

namespace stiltforge {
namespace {

TEST(Voxel, IsWrittenAsItsScore) {
  Voxel voxel;
  voxel.x = 3;
  voxel.score = 0.25f;
  std::ostringstream text;
  text << voxel << Voxel();
  EXPECT_EQ(text.str(), "(0.25)(0)");
}

TEST(Voxel, IsWrittenInTheFormatOfTheStream) {
  Voxel voxel;
  voxel.score = 0.1f;
  std::ostringstream text;
  text << std::setprecision(17) << voxel;
  EXPECT_EQ(text.str(), "(0.10000000149011612)") << "the single-precision score, widened";
}

}  // namespace
}  // namespace stiltforge
