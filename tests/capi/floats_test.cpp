// A host that was built with -ffast-math, or changes the rounding, gets the same results.

#include <gtest/gtest.h>

#include <cfenv>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

class HostFloats : public testing::Test {
 protected:
  HostFloats() { std::fegetenv(&before_); }
  ~HostFloats() override { std::fesetenv(&before_); }

  const std::vector<Place> expected_ = placesOf(table(), coarsePrint());

 private:
  std::fenv_t before_;
};

TEST_F(HostFloats, MayRoundInAnyDirection) {
  for (const int rounding : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(rounding);
    EXPECT_EQ(placesOf(table(), coarsePrint()), expected_) << rounding;
    EXPECT_EQ(std::fegetround(), rounding) << "it is the host's again";
  }
}

TEST_F(HostFloats, AreTheHostsDuringACallback) {
  std::fesetround(FE_UPWARD);
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  host::Model model(slicer.parameters());
  int layers = 0;
  model.analyse(slicer, [&](const host::LayerView&) {
    ++layers;
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
  });
  EXPECT_EQ(layers, 45);
  EXPECT_EQ(places(model.supports()), expected_);
}

#if defined(__x86_64__)
TEST_F(HostFloats, MayFlushSubnormalNumbersToZero) {
  constexpr unsigned flushing = 0x8040;
  _mm_setcsr(_mm_getcsr() | flushing);
  stiltforge_stop_workers(nullptr);  // so that they are started in this environment
  EXPECT_EQ(placesOf(table(), coarsePrint()), expected_);
  EXPECT_EQ(_mm_getcsr() & flushing, flushing);
  const float smallest = 1e-40f;
  float box[9] = {0, 0, 0, smallest, 0, 0, 0, smallest, smallest};
  stiltforge_mesh* mesh = nullptr;
  ASSERT_EQ(stiltforge_mesh_create(box, 1, &mesh, nullptr), STILTFORGE_OK);
  EXPECT_EQ(stiltforge_mesh_scale(mesh, 4.0, nullptr), STILTFORGE_OK);
  uint32_t bits = 0;
  std::memcpy(&bits, stiltforge_mesh_positions(mesh) + 3, sizeof bits);
  EXPECT_NE(bits, 0u);
  stiltforge_mesh_destroy(mesh);
}
#endif

}  // namespace
}  // namespace stiltforge::capi_test
