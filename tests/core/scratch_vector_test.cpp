#include "runtime/scratch_vector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "runtime/worker_pool.h"

namespace stiltforge {
namespace {

#ifndef __has_feature
#define __has_feature(x) 0
#endif

constexpr std::size_t mebibyte = std::size_t{1} << 20;

class ScratchMemory : public testing::Test {
 protected:
  void SetUp() override { scratch_memory::release(); }
  void TearDown() override { scratch_memory::release(); }
};

class KeptScratchMemory : public ScratchMemory {
 protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
    GTEST_SKIP() << "the address sanitizer must see where each block ends, so none is kept";
#endif
    ScratchMemory::SetUp();
  }
};

TEST_F(KeptScratchMemory, HandsAFreedBlockToTheNextListOfLikeSize) {
  const void* first = nullptr;
  {
    const ScratchVector<uint32_t> list(200'000);
    first = list.data();
  }
  EXPECT_EQ(scratch_memory::kept(), mebibyte);
  const ScratchVector<uint64_t> next(100'000);
  EXPECT_EQ(next.data(), first);
  EXPECT_EQ(scratch_memory::kept(), 0u);
}

TEST_F(ScratchMemory, LeavesSmallBlocksToTheSystem) {
  { const ScratchVector<uint8_t> list(1000); }
  EXPECT_EQ(scratch_memory::kept(), 0u);
}

TEST_F(KeptScratchMemory, FillsUpToItsBound) {
  {
    const std::vector<ScratchVector<uint8_t>> lists(40, ScratchVector<uint8_t>(4 * mebibyte));
    const ScratchVector<uint8_t> huge(200 * mebibyte);
  }
  EXPECT_EQ(scratch_memory::kept(), 64 * mebibyte);
}

TEST_F(KeptScratchMemory, DropsSizesOutOfUseForThoseInUse) {
  { const std::vector<ScratchVector<uint8_t>> early(16, ScratchVector<uint8_t>(4 * mebibyte)); }
  const void* first = nullptr;
  {
    const ScratchVector<uint8_t> list(8 * mebibyte);
    first = list.data();
  }
  EXPECT_EQ(scratch_memory::kept(), 64 * mebibyte);
  const ScratchVector<uint8_t> next(8 * mebibyte);
  EXPECT_EQ(next.data(), first);
}

TEST_F(KeptScratchMemory, ReleaseGivesAllBack) {
  { const ScratchVector<uint8_t> list(mebibyte); }
  EXPECT_EQ(scratch_memory::kept(), mebibyte);
  scratch_memory::release();
  EXPECT_EQ(scratch_memory::kept(), 0u);
}

TEST_F(ScratchMemory, NeverHandsABlockToTwoOwners) {
  std::vector<int> torn(64);
  workers::parallelFor(torn.size(), [&](std::size_t i) {
    for (std::size_t round = 0; round < 50; ++round) {
      const auto mark = static_cast<uint32_t>(i * 1000 + round);
      const ScratchVector<uint32_t> list(20'000 + 997 * round, mark);
      for (const uint32_t entry : list) torn[i] += entry != mark;
    }
  });
  for (const int entries : torn) EXPECT_EQ(entries, 0);
}

}  // namespace
}  // namespace stiltforge
