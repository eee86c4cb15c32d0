#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "core/random.h"
#include "plain_judge.h"
#include "runtime/worker_pool.h"

namespace stiltforge::hold {
namespace {

// Columns [x, x + sizeX), rows [y, y + sizeY) and layers [z, z + sizeZ).
struct Block {
  uint32_t x = 0;
  uint32_t y = 0;
  uint32_t z = 0;
  uint32_t sizeX = 0;
  uint32_t sizeY = 0;
  uint32_t sizeZ = 0;

  void fill(char what, std::vector<Rows>& layers) const {
    for (uint32_t layer = z; layer < z + sizeZ; ++layer) {
      for (uint32_t row = y; row < y + sizeY; ++row) {
        for (uint32_t column = x; column < x + sizeX; ++column) layers[layer][row][column] = what;
      }
    }
  }
};

Block randomBlock(Random& random, uint32_t width, uint32_t height, uint32_t layers) {
  Block block;
  block.x = random.below(width);
  block.y = random.below(height);
  block.z = random.below(layers);
  block.sizeX = 1 + random.below(width - block.x);
  block.sizeY = 1 + random.below(height - block.y);
  block.sizeZ = 1 + random.below(layers - block.z);
  return block;
}

// Solid but for a void of at least one pixel.
void addHollowBlock(Random& random, std::vector<Rows>& layers, Part& part) {
  const auto width = static_cast<uint32_t>(layers[0][0].size());
  const auto height = static_cast<uint32_t>(layers[0].size());
  const auto count = static_cast<uint32_t>(layers.size());
  if (width < 5 || height < 5 || count < 4) return;
  Block block;
  block.x = block.y = 1;
  block.z = random.below(count - 3);
  block.sizeX = 3 + random.below(width - 4);
  block.sizeY = 3 + random.below(height - 4);
  block.sizeZ = 3 + random.below(count - block.z - 2);
  block.fill('#', layers);
  const Block hollow{block.x + 1,     block.y + 1,     block.z + 1,
                     block.sizeX - 2, block.sizeY - 2, block.sizeZ - 2};
  hollow.fill('.', layers);
  part.addPoint(hollow.z + hollow.sizeZ, static_cast<int>(hollow.x), static_cast<int>(hollow.y));
}

// Blocks that come, grow, shrink and end, some of them hollow, with some noise.
Part randomPart(Random& random) {
  const uint32_t width = 1 + random.below(16);
  const uint32_t height = 1 + random.below(16);
  const uint32_t layers = 1 + random.below(12);
  std::vector<Rows> pictures(layers, Rows(height, std::string(width, '.')));
  const uint32_t blocks = 1 + random.below(6);
  for (uint32_t b = 0; b < blocks; ++b) {
    randomBlock(random, width, height, layers).fill(random.oneIn(3) ? '.' : '#', pictures);
  }
  Part part;
  if (random.oneIn(3)) addHollowBlock(random, pictures, part);
  const uint32_t specks = random.oneIn(2) ? 0 : random.below(width * height);
  for (uint32_t i = 0; i < specks; ++i) {
    char& pixel = pictures[random.below(layers)][random.below(height)][random.below(width)];
    pixel = pixel == '#' ? '.' : '#';
  }
  const uint32_t rarity = 1 + random.below(6);
  for (Rows& rows : pictures) {
    for (std::string& row : rows) {
      for (char& c : row) {
        if (c == '#' && rarity > 1 && random.oneIn(rarity)) c = '+';
      }
    }
    part.addLayer(rows);
  }
  const uint32_t points = random.below(6);
  for (uint32_t i = 0; i < points; ++i) {
    part.addPoint(random.below(layers), static_cast<int>(random.below(width + 1)),
                  static_cast<int>(random.below(height + 1)));
  }
  return part;
}

SurveySettings randomSurvey(Random& random) {
  SurveySettings settings;
  settings.pixelSize = 0.05 * (1 + random.below(4));
  settings.layerHeight = 0.025 * (1 + random.below(6));
  settings.minimumHeight = 0.1 * random.below(6);
  settings.tipRadius = 0.1 * random.below(4);
  return settings;
}

JudgeSettings randomJudge(Random& random) {
  JudgeSettings settings;
  settings.nearReach = 0.1 * random.below(12);
  settings.farReach = settings.nearReach + 0.1 * random.below(12);
  settings.spacing = 0.15 * random.below(8);
  settings.islandHeight = 0.05 * random.below(8);
  return settings;
}

void expectSame(const Surface& actual, const Surface& expected) {
  EXPECT_EQ(actual.pixels, expected.pixels);
  EXPECT_EQ(actual.beyondNear, expected.beyondNear);
  EXPECT_EQ(actual.beyondFar, expected.beyondFar);
}

void expectSame(const Verdict& actual, const Verdict& expected) {
  ASSERT_EQ(actual.islands.size(), expected.islands.size());
  for (std::size_t i = 0; i < actual.islands.size(); ++i) {
    EXPECT_EQ(actual.islands[i].island.place.layer, expected.islands[i].island.place.layer);
    EXPECT_EQ(actual.islands[i].island.pixels, expected.islands[i].island.pixels);
    EXPECT_EQ(actual.islands[i].takenIn, expected.islands[i].takenIn) << "island " << i;
  }
  expectSame(actual.supportable, expected.supportable);
  expectSame(actual.withoutRoom, expected.withoutRoom);
  expectSame(actual.sealed, expected.sealed);
  ASSERT_EQ(actual.worst.empty(), expected.worst.empty());
  if (!actual.worst.empty()) {
    EXPECT_EQ(actual.worst[0].layer, expected.worst[0].layer);
    EXPECT_EQ(actual.worst[0].x, expected.worst[0].x);
    EXPECT_EQ(actual.worst[0].y, expected.worst[0].y);
    EXPECT_EQ(actual.worst[0].distance, expected.worst[0].distance);
  }
  EXPECT_EQ(actual.inNoMaterial, expected.inNoMaterial);
  EXPECT_EQ(actual.onHeldMaterial, expected.onHeldMaterial);
  EXPECT_EQ(actual.pointsWithoutRoom, expected.pointsWithoutRoom);
  EXPECT_EQ(actual.pointsInSealedVoids, expected.pointsInSealedVoids);
  ASSERT_EQ(actual.closePairs.size(), expected.closePairs.size());
  for (std::size_t i = 0; i < actual.closePairs.size(); ++i) {
    EXPECT_EQ(actual.closePairs[i].first, expected.closePairs[i].first);
    EXPECT_EQ(actual.closePairs[i].second, expected.closePairs[i].second);
    EXPECT_EQ(actual.closePairs[i].distance, expected.closePairs[i].distance);
    EXPECT_EQ(actual.closePairs[i].separate, expected.closePairs[i].separate) << "pair " << i;
  }
}

// How often the generated parts show what the judge tells apart.
struct Sightings {
  int heldIslands = 0;
  int floatingIslands = 0;
  int overhangWithoutRoom = 0;
  int sealedVoids = 0;
  int pointsInSealedVoids = 0;
  int separatePairs = 0;
  int joinedPairs = 0;

  void add(const Verdict& verdict) {
    for (const IslandVerdict& island : verdict.islands) {
      ++(island.isHeld() ? heldIslands : floatingIslands);
    }
    overhangWithoutRoom += verdict.withoutRoom.pixels > 0 ? 1 : 0;
    sealedVoids += verdict.sealed.pixels > 0 ? 1 : 0;
    pointsInSealedVoids += verdict.pointsInSealedVoids.empty() ? 0 : 1;
    for (const ClosePair& pair : verdict.closePairs)
      ++(pair.separate ? separatePairs : joinedPairs);
  }
  int rarest() const {
    return std::min({heldIslands, floatingIslands, overhangWithoutRoom, sealedVoids,
                     pointsInSealedVoids, separatePairs, joinedPairs});
  }
};

TEST(JudgeProperty, EqualsAVerdictVoxelByVoxelForAnyNumberOfWorkers) {
  const int workersBefore = workers::count();
  Random random(81);
  Sightings sightings;
  for (int i = 0; i < 4000; ++i) {
    workers::setCount(1 + i % 3);
    const Part part = randomPart(random);
    const SurveySettings settings = randomSurvey(random);
    const JudgeSettings limits = randomJudge(random);
    const Survey survey = part.survey(settings);
    const Verdict verdict = judge(survey, survey.points(), limits);
    expectSame(verdict, judgePlainly(part, settings, limits));
    if (testing::Test::HasFailure()) FAIL() << "part " << i;
    sightings.add(verdict);
  }
  workers::setCount(workersBefore);
  EXPECT_GE(sightings.rarest(), 20);
}

}  // namespace
}  // namespace stiltforge::hold
