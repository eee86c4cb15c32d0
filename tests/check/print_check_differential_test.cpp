#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <tuple>

#include "check/print_check.h"
#include "check/sentences.h"
#include "core/random.h"
#include "generated_stack.h"
#include "plain_check.h"
#include "runtime/worker_pool.h"

namespace stiltforge::check {
namespace {

CheckSettings randomSettings(Random& random, const Stack& stack) {
  CheckSettings settings = unitSettings(stack);
  settings.pixelWidth = 0.25 * (1 + random.below(4));
  settings.pixelHeight = random.oneIn(2) ? settings.pixelWidth : 0.25 * (1 + random.below(4));
  settings.layerHeight = 0.25 * (1 + random.below(4));
  settings.criticalAngle = 20 + random.below(60);
  settings.nearReach = 1 + random.below(3);
  settings.farReach = settings.nearReach * (1 + random.below(9) / 4.0);
  settings.tipRadius = 0.25 * random.below(4);
  settings.islandHeight = 0.25 * random.below(6);
  settings.speckVolume = random.oneIn(2) ? 0 : random.unit();
  settings.leastOverhang = random.oneIn(2) ? 0 : random.unit();
  settings.leastTrap = random.oneIn(2) ? 0 : random.unit();
  settings.leastCup = random.oneIn(2) ? 0 : random.unit();
  settings.riskyTrap = random.below(3);
  settings.riskyCup = random.below(3);
  settings.cropX = random.below(2);
  settings.cropY = random.below(2);
  settings.liftedLayers = random.oneIn(6) ? random.below(4) : 0;
  settings.screenWidth = settings.cropX + static_cast<uint32_t>(stack.width()) + random.below(2);
  settings.screenHeight = settings.cropY + static_cast<uint32_t>(stack.height()) + random.below(2);
  return settings;
}

auto identityOf(const Finding& f) {
  const Extent& e = f.extent;
  return std::tuple(f.kind, f.severity, e.firstLayer, e.lastLayer, e.left, e.right, e.top, e.bottom,
                    e.pixels, e.pieceSize, e.piece.layer, e.piece.y, e.piece.x, f.count, f.area,
                    f.takenIn, f.reachesPlate);
}

void expectSame(CheckReport actual, CheckReport expected) {
  EXPECT_EQ(actual.layers, expected.layers);
  EXPECT_NEAR(actual.volume, expected.volume, 1e-9);
  EXPECT_EQ(actual.counts, expected.counts);
  ASSERT_EQ(actual.findings.size(), expected.findings.size());
  for (CheckReport* report : {&actual, &expected}) {
    std::sort(report->findings.begin(), report->findings.end(),
              [](const Finding& a, const Finding& b) { return identityOf(a) < identityOf(b); });
  }
  for (std::size_t i = 0; i < actual.findings.size(); ++i) {
    EXPECT_TRUE(identityOf(actual.findings[i]) == identityOf(expected.findings[i]))
        << describe(actual.findings[i]).what << " / " << describe(expected.findings[i]).what;
    EXPECT_NEAR(actual.findings[i].volume, expected.findings[i].volume, 1e-9);
  }
}

TEST(PrintCheckProperty, EqualsACheckVoxelByVoxelForAnyNumberOfWorkers) {
  const int workersBefore = workers::count();
  Random random(20);
  std::array<std::array<int, severities>, kinds> seen{};
  for (int i = 0; i < 5000; ++i) {
    workers::setCount(1 + i % 3);
    const Stack stack = randomStack(random);
    const CheckSettings settings = randomSettings(random, stack);
    const CheckReport report = check(stack, settings);
    expectSame(report, checkPlainly(stack, settings));
    if (testing::Test::HasFailure()) FAIL() << "stack " << i;
    for (const Finding& finding : report.findings) {
      ++seen[static_cast<std::size_t>(finding.kind)][static_cast<std::size_t>(finding.severity)];
    }
  }
  workers::setCount(workersBefore);
  // Each kind of finding was there, in each severity that it can have.
  const auto expectSeen = [&](Kind kind, std::initializer_list<Severity> all) {
    for (const Severity severity : all) {
      EXPECT_GE(seen[static_cast<std::size_t>(kind)][static_cast<std::size_t>(severity)], 10)
          << nameOf(kind) << ", " << nameOf(severity);
    }
  };
  expectSeen(Kind::emptyLayers, {Severity::fails, Severity::note});
  expectSeen(Kind::floatingPart, {Severity::fails});
  expectSeen(Kind::island, {Severity::fails, Severity::note});
  expectSeen(Kind::overhang, {Severity::fails, Severity::risk, Severity::note});
  expectSeen(Kind::screenEdge, {Severity::risk});
  expectSeen(Kind::resinTrap, {Severity::risk, Severity::note});
  expectSeen(Kind::suctionCup, {Severity::risk, Severity::note});
  expectSeen(Kind::specks, {Severity::note});
  expectSeen(Kind::idlePoints, {Severity::risk});
}

}  // namespace
}  // namespace stiltforge::check
