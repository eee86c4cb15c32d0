#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "analysis/solid_mask.h"
#include "core/core_stack.h"
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
    for (const SolidMaskVariant& variant : solidMaskVariants()) {
      forceSolidMaskFunction(variant.function);
      EXPECT_EQ(firstDifference(analyseWithCore(stack), chosen), "") << variant.name << " " << seed;
    }
    forceSolidMaskFunction(nullptr);
  }
}

}  // namespace
}  // namespace stiltforge
