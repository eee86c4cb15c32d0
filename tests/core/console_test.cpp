#include "runtime/console.h"

#include <gtest/gtest.h>

#include <chrono>
#include <iostream>
#include <sstream>
#include <string>

namespace stiltforge {
namespace {

using Clock = std::chrono::system_clock;

// Reads what is written to std::cout, and starts and ends every test without stopwatches.
class ConsoleTest : public testing::Test {
 protected:
  void SetUp() override { std::cout.rdbuf(printed.rdbuf()); }
  void TearDown() override {
    std::cout.rdbuf(usual_);
    Console::timeMap.clear();
    Console::timeMapTotal.clear();
    Console::_timeSpendForOneTimeClassic = 0.0;
  }

  static void startedAgo(const std::string& name, std::chrono::nanoseconds ago) {
    Console::timeMap[name] = Clock::now() - std::chrono::duration_cast<Clock::duration>(ago);
  }
  static std::string line(const std::string& name, double value, const std::string& unit) {
    std::ostringstream text;
    text << name << ": " << value << unit << "\n";
    return text.str();
  }

  std::ostringstream printed;

 private:
  std::streambuf* usual_ = std::cout.rdbuf();
};

using std::chrono::milliseconds;

TEST_F(ConsoleTest, WritesTheFourBytesOfAPixel) {
  EXPECT_EQ(Console::color(0xFF0000FF), "r255 g0 b0 a255");
  EXPECT_EQ(Console::color(0), "r0 g0 b0 a0");
  EXPECT_EQ(Console::color(0x80FF0001), "r1 g0 b255 a128");
}

TEST_F(ConsoleTest, WritesHexadecimalWithoutLeadingZeros) {
  EXPECT_EQ(Console::hex(255), "0xff");
  EXPECT_EQ(Console::hex(0), "0x0");
  EXPECT_EQ(Console::hex(4096), "0x1000");
  EXPECT_EQ(Console::hex(0xFFFFFFFF), "0xffffffff");
}

TEST_F(ConsoleTest, PrintsTheTimeSinceTheStartAndForgetsIt) {
  startedAgo("load", milliseconds(5));
  const double shown = Console::timeEnd("load", "ms");
  EXPECT_GE(shown, 5.0);
  EXPECT_LT(shown, 1000.0);
  EXPECT_EQ(printed.str(), line("load", shown, "ms"));
  EXPECT_EQ(Console::timeMap.count("load"), 0u);
}

TEST_F(ConsoleTest, StartsAgainWithTheLastStart) {
  startedAgo("load", std::chrono::hours(1));
  Console::time("load");
  EXPECT_LT(Console::timeEnd("load", "s"), 60.0);
}

TEST_F(ConsoleTest, MeasuresAnUnknownNameFromTheEpoch) {
  const double shown = Console::timeEnd("load", "ms");
  const double now = static_cast<double>(
      std::chrono::duration_cast<milliseconds>(Clock::now().time_since_epoch()).count());
  EXPECT_NEAR(shown, now, 60000.0);
  EXPECT_EQ(printed.str(), "load: none\n" + line("load", shown, "ms"));
  EXPECT_EQ(Console::timeMap.count("load"), 0u);
}

TEST_F(ConsoleTest, ConvertsByTheUnit) {
  Console::timeMapTotal["t"] = 0.002;
  Console::timeMap["t"] = Clock::now();
  EXPECT_DOUBLE_EQ(Console::timeEnd("t", "ns"), 2000.0);
  for (const char* unit : {"s", "us", "", "MS"}) {
    Console::timeMapTotal["t"] = 0.002;
    Console::timeMap["t"] = Clock::now();
    EXPECT_DOUBLE_EQ(Console::timeEnd("t", unit), 0.002) << unit;
  }
  EXPECT_EQ(printed.str(), "t: 2000ns\nt: 0.002s\nt: 0.002us\nt: 0.002\nt: 0.002MS\n");
}

TEST_F(ConsoleTest, AddsUpStepsFromOneStart) {
  startedAgo("fill", milliseconds(10));
  Console::timeStep("fill");
  startedAgo("fill", milliseconds(25));
  Console::timeStep("fill");
  const double total = Console::timeMapTotal["fill"];
  EXPECT_GE(total, 0.035);
  EXPECT_LT(total, 1.0);
  EXPECT_TRUE(printed.str().empty());
  startedAgo("fill", std::chrono::hours(1));
  EXPECT_EQ(Console::timeEnd("fill", "s"), total) << "the total is printed, not measured again";
  EXPECT_TRUE(Console::timeMapTotal.empty());
}

TEST_F(ConsoleTest, AStepKeepsTheStart) {
  startedAgo("fill", milliseconds(10));
  const Clock::time_point start = Console::timeMap["fill"];
  Console::timeStep("fill");
  EXPECT_EQ(Console::timeMap["fill"], start);
}

TEST_F(ConsoleTest, AStepWithoutAStartMeasuresFromTheEpoch) {
  Console::timeStep("fill");
  EXPECT_GT(Console::timeMapTotal["fill"], 1e9);
  EXPECT_EQ(Console::timeMap["fill"], Clock::time_point());
}

TEST_F(ConsoleTest, TakesTheOverheadOffEveryInterval) {
  Console::_timeSpendForOneTimeClassic = 100.0;
  startedAgo("a", milliseconds(0));
  Console::timeStep("a");
  Console::timeStep("a");
  EXPECT_NEAR(Console::timeMapTotal["a"], -200.0, 1.0);
  startedAgo("b", milliseconds(0));
  EXPECT_NEAR(Console::timeEnd("b", "s"), -100.0, 1.0);
}

TEST_F(ConsoleTest, SleepsAtLeastThatLong) {
  const auto start = std::chrono::steady_clock::now();
  Console::sleep(3.0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(2900));
  Console::sleep(0.0);
  Console::sleep(-5.0);
}

}  // namespace
}  // namespace stiltforge
