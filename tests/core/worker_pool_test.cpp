#include "runtime/worker_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace stiltforge {
namespace {

class WorkerPool : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { workers::setCount(GetParam()); }
  void TearDown() override { workers::setCount(usual_); }

 private:
  const int usual_ = workers::count();
};

TEST_P(WorkerPool, CallsTheBodyOnceForEveryIndex) {
  for (const std::size_t n : {0, 1, 2, 3, 64, 1000}) {
    std::vector<std::atomic<int>> calls(n);
    workers::parallelFor(n, [&](std::size_t i) { ++calls[i]; });
    for (std::size_t i = 0; i < n; ++i) EXPECT_EQ(calls[i], 1) << i << " of " << n;
  }
}

TEST_P(WorkerPool, RunsLoopsWithinLoops) {
  std::vector<std::atomic<int>> calls(30 * 40);
  workers::parallelFor(30, [&](std::size_t i) {
    workers::parallelFor(40, [&](std::size_t j) { ++calls[40 * i + j]; });
  });
  for (const std::atomic<int>& count : calls) EXPECT_EQ(count, 1);
}

TEST_P(WorkerPool, RethrowsTheFailureOfTheLowestIndexAfterAllHaveRun) {
  for (int repetition = 0; repetition < 50; ++repetition) {
    std::atomic<int> ran{0};
    try {
      workers::parallelFor(100, [&](std::size_t i) {
        ++ran;
        if (i >= 17 && i % 3 == 2) throw std::runtime_error(std::to_string(i));
      });
      FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "17");
    }
    EXPECT_EQ(ran, 100);
  }
}

TEST_P(WorkerPool, CarriesAFailureOutOfNestedLoops) {
  EXPECT_THROW(workers::parallelFor(4,
                                    [](std::size_t) {
                                      workers::parallelFor(4, [](std::size_t j) {
                                        if (j == 2) throw std::out_of_range("inner");
                                      });
                                    }),
               std::out_of_range);
}

TEST_P(WorkerPool, StartsAgainAfterAShutdown) {
  std::atomic<int> ran{0};
  workers::parallelFor(10, [&](std::size_t) { ++ran; });
  workers::shutdown();
  workers::shutdown();
  EXPECT_EQ(workers::count(), std::max(1, GetParam())) << "at least one";
  workers::parallelFor(10, [&](std::size_t) { ++ran; });
  EXPECT_EQ(ran, 20);
}

TEST_P(WorkerPool, ServesSeveralThreadsAtOnce) {
  std::atomic<int> ran{0};
  std::vector<std::thread> callers;
  for (int t = 0; t < 3; ++t) {
    callers.emplace_back([&] {
      for (int i = 0; i < 50; ++i) workers::parallelFor(20, [&](std::size_t) { ++ran; });
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(ran, 3 * 50 * 20);
}

INSTANTIATE_TEST_SUITE_P(Workers, WorkerPool, testing::Values(-1, 0, 1, 2, 7),
                         [](const auto& count) {
                           return count.param < 0 ? "Negative" : "Of" + std::to_string(count.param);
                         });

TEST(WorkerCount, SpreadsALoopOverSeveralThreads) {
  const int usual = workers::count();
  workers::setCount(3);
  // Every index waits for the others, so that this only ends when as many threads take part.
  std::atomic<int> arrived{0};
  workers::parallelFor(3, [&](std::size_t) {
    ++arrived;
    while (arrived < 3) std::this_thread::yield();
  });
  EXPECT_EQ(arrived, 3);
  workers::setCount(usual);
}

TEST(WorkerCount, PrefersTheFailureOfTheLowestIndexOverAnEarlierOne) {
  const int usual = workers::count();
  workers::setCount(3);
  std::atomic<bool> failedFirst{false};
  try {
    workers::parallelFor(2, [&](std::size_t i) {
      if (i == 1) {
        failedFirst = true;
        throw std::runtime_error("1");
      }
      while (!failedFirst) std::this_thread::yield();
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      throw std::runtime_error("0");
    });
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "0");
  }
  workers::setCount(usual);
}

}  // namespace
}  // namespace stiltforge
