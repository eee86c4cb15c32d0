#include "runtime/vector_units.h"

#include <gtest/gtest.h>

namespace stiltforge {
namespace {

#ifdef __x86_64__

TEST(VectorUnits, AreThoseThatTheCompilersRuntimeFinds) {
  EXPECT_EQ(hasAvx2(), __builtin_cpu_supports("avx2") != 0);
}

#else

TEST(VectorUnits, OfOtherProcessorsAreNotAvx2) {
  EXPECT_FALSE(hasAvx2());
}

#endif

}  // namespace
}  // namespace stiltforge
