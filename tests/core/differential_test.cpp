#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "analysis/pixel_masks.h"
#include "core/core_stack.h"
#include "core/random.h"
#include "golden/golden_stack.h"
#include "reference/stack_generator.h"
#include "runtime/worker_pool.h"

namespace stiltforge {
namespace {

// A longer hunt: STILTFORGE_STACKS=1000000 build/tests/core/core_test --gtest_filter=Differential*
uint64_t stackCount() {
  const char* wanted = std::getenv("STILTFORGE_STACKS");  // NOLINT(concurrency-mt-unsafe)
  return wanted ? std::strtoull(wanted, nullptr, 10) : 3000;
}

TEST(Differential, GeneratedStacksAgreeWithThePlainVersionToTheBit) {
  for (uint64_t seed = 0; seed < stackCount(); ++seed) {
    const reference::Stack stack = reference::generateStack(seed);
    const std::string difference =
        firstDifference(analyseWithCore(stack), reference::analyseStack(stack));
    ASSERT_EQ(difference, "") << "seed " << seed << ", " << stack.width << " x " << stack.height;
  }
}

// Two layers of noise, each pixel material with its layer's chance in percent: so many runs, groups
// and samples that every stage splits its work. Far supports, since the plain version compares
// every sample with each of its group's.
reference::Stack noise(uint64_t seed, uint32_t lowerPercent, uint32_t upperPercent) {
  Random random(seed);
  reference::Stack stack;
  stack.width = 700;
  stack.height = 500;
  stack.parameters = golden::load("03-noise").stack.parameters;
  stack.parameters["supportStrength"] = 900;
  for (const uint32_t percent : {lowerPercent, upperPercent}) {
    std::vector<uint8_t>& slice = stack.slices.emplace_back();
    for (std::size_t i = 0; i < std::size_t{stack.width} * stack.height; ++i) {
      const bool solid = random.below(100) < percent;
      const uint32_t green = solid ? random.below(256) : 0;
      const uint32_t blue = !solid ? 0 : random.oneIn(3) ? 255 : random.below(256);
      slice.insert(slice.end(), {static_cast<uint8_t>(solid), static_cast<uint8_t>(green),
                                 static_cast<uint8_t>(blue), 255});
    }
  }
  return stack;
}

TEST(Differential, LargeStacksOfNoiseAgreeWithThePlainVersionToTheBit) {
  const int usual = workers::count();
  using Percents = std::pair<uint32_t, uint32_t>;
  for (const auto& [lower, upper] : {Percents{50, 50}, Percents{3, 60}, Percents{60, 20}}) {
    const reference::Stack stack = noise(lower, lower, upper);
    const auto plain = reference::analyseStack(stack);
    for (const int n : {1, 2, 7}) {
      workers::setCount(n);
      EXPECT_EQ(firstDifference(analyseWithCore(stack), plain), "")
          << lower << " % below " << upper << " %, " << n << " workers";
    }
  }
  workers::setCount(usual);
}

class GoldenDifferential : public testing::TestWithParam<std::string> {};

TEST_P(GoldenDifferential, AgreesWithThePlainVersionToTheBit) {
  const golden::GoldenStack golden = golden::load(GetParam());
  EXPECT_EQ(firstDifference(analyseWithCore(golden.stack), reference::analyseStack(golden.stack)),
            "");
}

INSTANTIATE_TEST_SUITE_P(Stacks, GoldenDifferential, testing::ValuesIn(golden::stackNames()),
                         [](const auto& stack) {
                           std::string name = stack.param;
                           for (char& c : name) c = c == '-' ? '_' : c;
                           return name;
                         });

TEST(Determinism, AnyNumberOfWorkersGivesTheSameBytes) {
  const int usual = workers::count();
  for (uint64_t seed = 0; seed < 200; ++seed) {
    const reference::Stack stack = reference::generateStack(seed);
    workers::setCount(1);
    const auto single = analyseWithCore(stack);
    for (const int n : {2, 7}) {
      workers::setCount(n);
      ASSERT_EQ(firstDifference(analyseWithCore(stack), single), "")
          << "seed " << seed << ", " << n << " workers";
    }
  }
  workers::setCount(usual);
}

TEST(Determinism, EveryVectorVariantGivesTheSameBytes) {
  for (uint64_t seed = 0; seed < 200; ++seed) {
    const reference::Stack stack = reference::generateStack(seed);
    const auto chosen = analyseWithCore(stack);
    for (const PixelMaskVariant& variant : pixelMaskVariants()) {
      forcePixelMaskFunction(variant.function);
      EXPECT_EQ(firstDifference(analyseWithCore(stack), chosen), "") << variant.name << " " << seed;
    }
    forcePixelMaskFunction(nullptr);
  }
}

}  // namespace
}  // namespace stiltforge
