#include "runtime/thread_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace ctpl {
namespace {

template <typename R>
bool isBroken(std::future<R>& future) {
  try {
    future.get();
  } catch (const std::future_error& error) {
    return error.code() == std::future_errc::broken_promise;
  }
  return false;
}

template <typename R>
bool isReady(const std::future<R>& future) {
  return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

TEST(ThreadPool, AWaitingStopRunsEveryQueuedTask) {
  thread_pool pool(4);
  std::atomic<int> ran{0};
  std::vector<std::future<int>> workers;
  for (int i = 0; i < 10; ++i) {
    workers.push_back(pool.push([&](int worker) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      ++ran;
      return worker;
    }));
  }
  pool.stop(true);
  EXPECT_EQ(ran, 10);
  for (std::future<int>& worker : workers) {
    const int index = worker.get();
    EXPECT_GE(index, 0);
    EXPECT_LT(index, 4);
  }
  EXPECT_EQ(pool.size(), 0);
}

TEST(ThreadPool, WithoutWorkersAcceptsTasksAndDiscardsThemUnrun) {
  thread_pool pool(0);
  bool ran = false;
  std::future<void> first = pool.push([&](int) { ran = true; });
  std::future<void> second = pool.push([&](int) { ran = true; });
  EXPECT_FALSE(isReady(first));
  pool.stop(true);
  EXPECT_FALSE(ran);
  EXPECT_TRUE(isBroken(first));
  EXPECT_TRUE(isBroken(second));
}

TEST(ThreadPool, TakesANegativeCountForNone) {
  thread_pool pool(-3);
  EXPECT_EQ(pool.size(), 0);
}

TEST(ThreadPool, ANonWaitingStopLetsRunningTasksFinishAndDiscardsTheRest) {
  thread_pool pool(1);
  std::promise<void> started;
  std::promise<void> gate;
  std::future<int> running = pool.push([&](int) {
    started.set_value();
    gate.get_future().wait();
    return 7;
  });
  std::vector<std::future<void>> queued;
  bool ran = false;
  for (int i = 0; i < 5; ++i) queued.push_back(pool.push([&](int) { ran = true; }));
  started.get_future().wait();

  std::thread stopper([&] { pool.stop(false); });
  for (std::future<void>& future : queued) future.wait();  // discarded before the worker is joined
  EXPECT_FALSE(isReady(running));
  gate.set_value();
  stopper.join();

  EXPECT_EQ(running.get(), 7);
  EXPECT_FALSE(ran);
  for (std::future<void>& future : queued) EXPECT_TRUE(isBroken(future));
}

TEST(ThreadPool, StopsAtOnceASecondTime) {
  thread_pool pool(2);
  std::future<void> task = pool.push([](int) {});
  pool.stop(true);
  EXPECT_TRUE(isReady(task));
  pool.stop(true);
  pool.stop(false);
  pool.stop(false);
  EXPECT_EQ(pool.size(), 0);
}

TEST(ThreadPool, ANonWaitingStopMakesAWaitingOneReturn) {
  thread_pool pool(3);
  pool.stop(false);
  pool.stop(true);
  EXPECT_EQ(pool.size(), 0);
}

TEST(ThreadPool, TheDestructorRunsWhatIsQueued) {
  std::atomic<int> ran{0};
  {
    thread_pool pool(2);
    for (int i = 0; i < 40; ++i) pool.push([&](int) { ++ran; });
  }
  EXPECT_EQ(ran, 40);
}

TEST(ThreadPool, HoldsManyMoreTasksThanItsFirstHundredNodes) {
  thread_pool pool(2);
  std::atomic<uint64_t> sum{0};
  for (uint64_t i = 0; i < 20000; ++i) {
    pool.push([&sum, i](int) { sum += i; });
  }
  pool.stop(true);
  EXPECT_EQ(sum, 19999u * 20000u / 2);
}

TEST(ThreadPool, TakesTasksInTheOrderOfTheirPush) {
  thread_pool pool(1);
  std::vector<int> order;
  for (int i = 0; i < 300; ++i) {
    pool.push([&order, i](int) { order.push_back(i); });
  }
  pool.stop(true);
  ASSERT_EQ(order.size(), 300u);
  for (int i = 0; i < 300; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(ThreadPool, KeepsAnExceptionInTheFutureAndTheWorkerAlive) {
  thread_pool pool(1);
  std::future<void> failing = pool.push([](int) { throw std::runtime_error("no material"); });
  std::future<int> next = pool.push([](int) { return 3; });
  EXPECT_EQ(next.get(), 3);
  try {
    failing.get();
    FAIL() << "the exception was lost";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "no material");
  }
}

TEST(ThreadPool, WakesSleepingWorkers) {
  thread_pool pool(2);
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(pool.push([i](int) { return i; }).get(), i);
  }
}

TEST(ThreadPool, TakesTasksFromManyThreads) {
  thread_pool pool(3);
  std::atomic<int> ran{0};
  std::vector<std::thread> producers;
  for (int p = 0; p < 4; ++p) {
    producers.emplace_back([&] {
      for (int i = 0; i < 500; ++i) pool.push([&](int) { ++ran; });
    });
  }
  for (std::thread& producer : producers) producer.join();
  pool.stop(true);
  EXPECT_EQ(ran, 2000);
}

TEST(ThreadPool, NeverRunsWhatIsPushedAfterAStopAndFreesIt) {
  const auto held = std::make_shared<int>(0);
  std::future<void> late;
  {
    thread_pool pool(2);
    pool.stop(true);
    late = pool.push([held](int) { *held = 1; });
    EXPECT_FALSE(isReady(late));
    EXPECT_EQ(held.use_count(), 2);
  }
  ASSERT_TRUE(isReady(late));
  EXPECT_TRUE(isBroken(late));
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(*held, 0);
}

}  // namespace
}  // namespace ctpl
