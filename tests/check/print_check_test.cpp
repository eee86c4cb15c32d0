#include "check/print_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "check/sentences.h"
#include "stack.h"

namespace stiltforge::check {
namespace {

// Finds in a stack whose pixels and layers measure a millimetre, see unitSettings().
std::vector<Finding> findingsOf(const Stack& stack) {
  return check(stack, unitSettings(stack)).findings;
}

std::vector<std::string> toldOf(const std::vector<Finding>& findings) {
  std::vector<std::string> told;
  for (const Finding& finding : findings) {
    told.push_back(std::string(nameOf(finding.severity)) + " " + nameOf(finding.kind) + " " +
                   std::to_string(finding.extent.firstLayer) + "-" +
                   std::to_string(finding.extent.lastLayer));
  }
  return told;
}

using Told = std::vector<std::string>;

Rows row(const std::string& pixels) {
  return Rows(3, pixels);
}

TEST(PrintCheck, FindsNothingInABoxOnThePlate) {
  Stack stack;
  stack.addLayers(5, row(".####."));
  const CheckReport report = check(stack, unitSettings(stack));
  EXPECT_TRUE(report.findings.empty());
  EXPECT_EQ(report.layers, 5u);
  EXPECT_EQ(report.volume, 60);
  EXPECT_EQ(report.counts, (Counts{0, 0, 0}));
}

TEST(PrintCheck, TellsOfAnIslandAndAllThatStandsOnItOnce) {
  Stack stack;
  stack.addLayers(2, row("##.............."));
  stack.addLayers(1, row("##..#..........."));
  stack.addLayers(3, row("##..############"));  // would hang over, but swims off with the island
  stack.addLayers(1, row("################"));
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"fails island 2-5"});
  EXPECT_EQ(findings[0].takenIn, 6u);
  EXPECT_EQ(findings[0].area, 3);
  EXPECT_EQ(findings[0].volume, 3 + 3 * 36);
  EXPECT_EQ(findings[0].extent.piece.layer, 2u);
  EXPECT_EQ(findings[0].extent.piece.x, 4);
  EXPECT_EQ(findings[0].extent.piece.y, 1);
  EXPECT_EQ(describe(findings[0]).what,
            "an island of 3.00 mm2 begins in layer 2; nothing holds it before layer 6");
  EXPECT_EQ(describe(findings[0]).remedy, "Put a support under it.");
}

TEST(PrintCheck, TellsOfEachIslandOfAPartThatIsTakenLate) {
  Stack stack;
  stack.addLayers(1, row("##........"));
  stack.addLayers(4, row("##..#..#.."));
  stack.addLayers(4, row("##..####.."));
  stack.addLayers(1, row("########.."));
  EXPECT_EQ(toldOf(findingsOf(stack)), (Told{"fails island 1-8", "fails island 1-8"}));
}

TEST(PrintCheck, TellsOfTheLargerIslandAloneWhereTwoBecomeOneAtOnce) {
  Stack stack;
  stack.addLayers(1, row("##........"));
  stack.addLayers(1, row("##..#..##."));
  stack.addLayers(4, row("##..#####."));
  stack.addLayers(1, row("#########."));
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"fails island 1-5"});
  EXPECT_EQ(findings[0].area, 6);
}

TEST(PrintCheck, OnlyNotesAnIslandThatIsTakenAtOnce) {
  Stack stack;
  stack.addLayers(1, row("##...."));
  stack.addLayers(2, row("##..#."));
  stack.addLayers(2, row("#####."));
  EXPECT_EQ(toldOf(findingsOf(stack)), Told{"note island 1-2"});
}

TEST(PrintCheck, FailsNoTipThatIsLateByTheLayerThatRoundingMayAdd) {
  // The same tip begins a layer earlier where a pixel lies in its middle.
  const auto taken = [](std::size_t layers, const std::string& island) {
    Stack stack;
    stack.addLayers(1, Rows(2, "##......."));
    stack.addLayers(layers, Rows(2, "##.." + island));
    stack.addLayers(2, Rows(2, "########."));
    return toldOf(findingsOf(stack));
  };
  EXPECT_EQ(taken(3, "##..."), Told{"note island 1-3"});
  EXPECT_EQ(taken(4, "##..."), Told{"fails island 1-4"});
  EXPECT_EQ(taken(3, "###.."), Told{"fails island 1-3"}) << "no tip";
}

TEST(PrintCheck, TellsOfAPartThatNothingEverTakesWithTheNumberOfItsIslands) {
  Stack stack;
  stack.addLayers(1, row("##......."));
  stack.addLayers(4, row("##..#..#."));
  stack.addLayers(2, row("##..####."));
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"fails floatingPart 1-6"});
  EXPECT_EQ(findings[0].count, 2u);
  EXPECT_EQ(describe(findings[0]).what,
            "a part of 48.0 mm3 in layers 1 to 6 stands on nothing; it begins in 2 places");
}

TEST(PrintCheck, CountsAllAsSpecksWherePixelsAreTooSmallForABody) {
  Stack stack;
  stack.addLayers(2, row("##......"));
  stack.addLayers(4, row("##..###."));
  for (const double pixel : {1e-9, 1e-200}) {
    CheckSettings settings = unitSettings(stack);
    settings.pixelWidth = settings.pixelHeight = settings.layerHeight = pixel;
    settings.nearReach = settings.farReach = pixel;
    settings.tipRadius = settings.islandHeight = 0;
    settings.speckVolume = 0.01;
    EXPECT_EQ(toldOf(check(stack, settings).findings), Told{"note specks 2-5"}) << pixel;
  }
}

TEST(PrintCheck, TakesAReachThatHasNoParts) {
  Stack stack;
  stack.addLayers(2, row("##......"));
  CheckSettings settings = unitSettings(stack);
  settings.nearReach = settings.farReach = std::numeric_limits<double>::denorm_min();
  EXPECT_EQ(toldOf(check(stack, settings).findings), Told{});
}

TEST(PrintCheck, CountsSpecksTogether) {
  Stack stack;
  stack.addLayers(2, row("##......"));
  stack.addLayers(1, {"##......", "##..#...", "##......"});
  stack.addLayers(1, {"##......", "##......", "##....#."});
  CheckSettings settings = unitSettings(stack);
  settings.speckVolume = 1.5;
  const std::vector<Finding> findings = check(stack, settings).findings;
  ASSERT_EQ(toldOf(findings), Told{"note specks 2-3"});
  EXPECT_EQ(findings[0].count, 2u);
  EXPECT_EQ(findings[0].volume, 2);
}

TEST(PrintCheck, HoldsAnIslandByAPoint) {
  Stack stack;
  stack.addLayers(2, row("##....."));
  stack.addLayers(5, row("##..##."));
  stack.points = {{2, 4, 1}};
  EXPECT_EQ(toldOf(findingsOf(stack)), Told{});
}

TEST(PrintCheck, TakesAPointFromALittleBelowOrAboveTheSurface) {
  for (const uint32_t layer : {2u, 3u, 5u, 6u}) {
    Stack stack;
    stack.addLayers(4, row("##....."));
    stack.addLayers(5, row("##..##."));
    stack.points = {{layer, 4, 1}};
    EXPECT_EQ(toldOf(findingsOf(stack)), Told{}) << layer;
  }
}

TEST(PrintCheck, TellsOfPointsThatTouchNothing) {
  Stack stack;
  stack.addLayers(9, row("##....."));
  stack.points = {{4, 4, 1}, {200, 0, 0}, {3, 0, 0}};
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"risk idlePoints 4-200"});
  EXPECT_EQ(findings[0].count, 2u);
}

TEST(PrintCheck, TellsOfLayersWithoutMaterialAndNotOfWhatLiesAboveThem) {
  Stack stack;
  stack.addLayers(1, row("....."));
  stack.addLayers(2, row(".###."));
  stack.addLayers(2, row("....."));
  stack.addLayers(2, row(".###."));
  stack.addLayers(3, row("....."));
  EXPECT_EQ(toldOf(findingsOf(stack)),
            (Told{"fails emptyLayers 0-0", "fails emptyLayers 3-4", "note emptyLayers 7-9"}));
}

TEST(PrintCheck, TellsNothingOfTheLayersBelowALiftedPartThatPointsHold) {
  Stack stack;
  stack.addLayers(4, row("........"));
  stack.addLayers(5, row(".######."));
  stack.points = {{4, 2, 1}, {4, 5, 1}};
  CheckSettings settings = unitSettings(stack);
  settings.liftedLayers = 4;
  EXPECT_EQ(toldOf(check(stack, settings).findings), Told{});
  settings.liftedLayers = 3;  // a tip finer than a pixel
  EXPECT_EQ(toldOf(check(stack, settings).findings), Told{});
  settings.liftedLayers = 2;
  EXPECT_EQ(toldOf(check(stack, settings).findings), Told{"fails emptyLayers 0-3"});
}

TEST(PrintCheck, TellsOfALiftedPartThatNothingHolds) {
  Stack stack;
  stack.addLayers(4, row("........"));
  stack.addLayers(5, row(".##..##."));
  stack.points = {{4, 2, 1}};
  CheckSettings settings = unitSettings(stack);
  settings.liftedLayers = 4;
  EXPECT_EQ(toldOf(check(stack, settings).findings), Told{"fails floatingPart 4-8"});
}

TEST(PrintCheck, TellsOfAPrintWithoutMaterial) {
  Stack stack;
  stack.addLayers(3, row("....."));
  EXPECT_EQ(toldOf(findingsOf(stack)), Told{"fails emptyLayers 0-2"});
}

TEST(PrintCheck, TellsOfMaterialAtTheEdgeOfTheScreenOncePerPlace) {
  Stack stack;
  stack.addLayers(2, row(".###."));
  stack.addLayers(3, row("####."));
  stack.addLayers(2, row(".###."));
  stack.addLayers(2, row(".####"));
  CheckSettings settings = unitSettings(stack);
  settings.cropX = 0;
  settings.screenWidth = 5;
  EXPECT_EQ(toldOf(check(stack, settings).findings),
            (Told{"risk screenEdge 2-4", "risk screenEdge 7-8"}));
  settings.cropX = 1;
  settings.screenWidth = 7;
  EXPECT_EQ(toldOf(check(stack, settings).findings), Told{});
}

// A shelf at half the height of a wall, millimetres of pixels.
Stack shelf(std::size_t length, std::size_t thickness) {
  Stack stack;
  stack.addLayers(10, row("##" + std::string(length, '.')));
  stack.addLayers(thickness, row("##" + std::string(length, '#')));
  return stack;
}

TEST(PrintCheck, JudgesAShelfByItsDistanceFromWhatCarriesIt) {
  // One pixel more: material carries itself so far from one layer to the next.
  EXPECT_EQ(toldOf(findingsOf(shelf(5, 9))), Told{});
  EXPECT_EQ(toldOf(findingsOf(shelf(6, 9))), Told{"note overhang 10-10"});
  EXPECT_EQ(toldOf(findingsOf(shelf(7, 9))), Told{"risk overhang 10-11"});
  const std::vector<Finding> findings = findingsOf(shelf(9, 9));
  ASSERT_EQ(toldOf(findings), Told{"fails overhang 10-13"});
  EXPECT_EQ(findings[0].area, 12);
  EXPECT_EQ(
      describe(findings[0]).what,
      "an overhang in layers 10 to 13 is too far from what carries it, 12.0 mm2 in one layer");
}

TEST(PrintCheck, TakesAnOverhangForLessThatIsTakenSoon) {
  CheckSettings settings = unitSettings(shelf(9, 9));
  settings.islandHeight = 3;
  EXPECT_EQ(toldOf(check(shelf(9, 9), settings).findings), Told{"risk overhang 10-13"});
  settings.farReach = 6;
  EXPECT_EQ(toldOf(check(shelf(7, 9), settings).findings), Told{"note overhang 10-11"});
  settings.islandHeight = 1;
  EXPECT_EQ(toldOf(check(shelf(7, 9), settings).findings), Told{"risk overhang 10-11"});
}

TEST(PrintCheck, HoldsAShelfByPillarsOrPoints) {
  Stack byPillar = shelf(9, 9);
  for (std::size_t z = 0; z < 10; ++z) byPillar.layers[z][1][8] = '#';
  EXPECT_EQ(toldOf(findingsOf(byPillar)), Told{});
  Stack byPoint = shelf(9, 9);
  byPoint.points = {{10, 8, 1}};
  EXPECT_EQ(toldOf(findingsOf(byPoint)), Told{});
}

TEST(PrintCheck, MissesASupportThatEndsBelowTheSurface) {
  Stack stack = shelf(9, 9);
  for (std::size_t z = 0; z < 9; ++z) stack.layers[z][1][8] = '#';
  EXPECT_EQ(toldOf(findingsOf(stack)), Told{"fails overhang 10-13"});
}

TEST(PrintCheck, DoesNotHoldASurfaceByANeighbourThatItDoesNotTouch) {
  const std::string wall(24, '#');
  Stack stack;
  stack.addLayers(4, Rows{"##......................", "........................", wall});
  stack.addLayers(6, Rows{wall, "........................", wall});
  CheckSettings settings = unitSettings(stack);
  settings.nearReach = 12;  // walked in steps of 3, which would reach the wall
  settings.farReach = 15;
  EXPECT_EQ(toldOf(check(stack, settings).findings), Told{"fails overhang 4-8"});
}

// Material of size x size pixels where x cos + y sin < reach, counted from the middle.
RunRows halfPlane(int size, double direction, double reach) {
  const double across = std::cos(direction);
  RunRows rows;
  for (int y = 0; y < size; ++y) {
    const double limit = (reach - (y - size / 2.0) * std::sin(direction)) / across + size / 2.0;
    const auto column = static_cast<int>(std::clamp<double>(std::ceil(limit), 0, size));
    across > 0 ? rows.add(0, column) : rows.add(column, size);
    rows.endRow();
  }
  return rows;
}

CheckReport checkSlope(double degrees, double direction, double pixelSize, double layerHeight,
                       double height) {
  constexpr int size = 400;
  CheckSettings settings;
  settings.pixelWidth = settings.pixelHeight = pixelSize;
  settings.layerHeight = layerHeight;
  settings.screenWidth = settings.screenHeight = size + 2;
  settings.cropX = settings.cropY = 1;
  PrintCheck check(settings);
  const double growth = layerHeight / std::tan(degrees * std::numbers::pi / 180) / pixelSize;
  for (int i = 0; i * layerHeight < height; ++i) {
    check.add(halfPlane(size, direction, i * growth - size / 3.0), size);
  }
  return check.finish();
}

// A sanitizer takes a second for each slope.
#ifdef STILTFORGE_SANITIZED
constexpr int degreesApart = 130;
#else
constexpr int degreesApart = 13;
#endif

TEST(PrintCheck, GivesNoAlarmForASlopeThatCarriesItselfWhateverItsDirectionAndRounding) {
  for (const double pixelSize : {0.05, 0.047, 0.035}) {
    for (const double layerHeight : {0.02, 0.05, 0.1}) {
      for (int degrees = 0; degrees < 360; degrees += degreesApart) {
        const CheckReport report =
            checkSlope(45, degrees * std::numbers::pi / 180, pixelSize, layerHeight, 10);
        EXPECT_TRUE(report.findings.empty()) << pixelSize << " " << layerHeight << " " << degrees
                                             << " " << describe(report.findings[0]).what;
      }
    }
  }
}

TEST(PrintCheck, TellsOfASlopeThatIsTooFlatOnceItIsLongEnough) {
  EXPECT_EQ(toldOf(checkSlope(20, 0.4, 0.05, 0.05, 1).findings), Told{});
  EXPECT_EQ(checkSlope(20, 0.4, 0.05, 0.05, 2.9).counts, (Counts{0, 1, 0}));
  EXPECT_EQ(checkSlope(20, 0.4, 0.05, 0.05, 4).counts, (Counts{1, 0, 0}));
}

const Rows full = Rows(7, "#######");
const Rows ring = {"#######", "#.....#", "#.....#", "#.....#", "#.....#", "#.....#", "#######"};

Rows framed(const Rows& rows) {
  Rows result(rows.size() + 2, std::string(rows[0].size() + 2, '.'));
  for (std::size_t y = 0; y < rows.size(); ++y) result[y + 1] = "." + rows[y] + ".";
  return result;
}

TEST(PrintCheck, TellsOfACavityWithoutAnOpening) {
  Stack stack;
  stack.addLayers(2, framed(full));
  stack.addLayers(4, framed(ring));
  stack.addLayers(8, framed(full));
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"risk resinTrap 2-5"});
  EXPECT_EQ(findings[0].volume, 100);
  EXPECT_EQ(findings[0].area, 25);
  EXPECT_EQ(describe(findings[0]).what,
            "a cavity of 100 mm3 in layers 2 to 5 has no opening: liquid resin stays in it");
}

// The part hangs from the plate: what is open upwards in the file is open towards the film.
TEST(PrintCheck, TellsOfABowlThatIsOpenTowardsTheFilm) {
  Stack stack;
  stack.addLayers(2, framed(full));
  stack.addLayers(4, framed(ring));
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"risk suctionCup 2-5"});
  EXPECT_EQ(findings[0].area, 25);
  EXPECT_FALSE(findings[0].reachesPlate);
}

TEST(PrintCheck, TellsOfADomeThatThePlateCloses) {
  Stack stack;
  stack.addLayers(4, framed(ring));
  stack.addLayers(2, framed(full));
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"risk suctionCup 0-3"});
  EXPECT_TRUE(findings[0].reachesPlate);
}

TEST(PrintCheck, LetsADomeBreatheThatStandsOnLegs) {
  Rows legs(7, ".......");
  legs[0] = legs[3] = legs[6] = "#..#..#";
  Stack stack;
  stack.addLayers(3, framed(legs));
  stack.addLayers(4, framed(ring));
  stack.addLayers(6, framed(full));
  EXPECT_EQ(toldOf(findingsOf(stack)), Told{});
}

TEST(PrintCheck, EndsACupWhereAHoleLetsItBreathe) {
  Rows hole = ring;
  hole[3] = "......#";
  Stack stack;
  stack.addLayers(2, framed(full));
  stack.addLayers(2, framed(ring));
  stack.addLayers(1, framed(hole));
  stack.addLayers(3, framed(ring));
  const std::vector<Finding> findings = findingsOf(stack);
  ASSERT_EQ(toldOf(findings), Told{"risk suctionCup 2-3"});
  EXPECT_EQ(findings[0].volume, 50);
}

TEST(PrintCheck, CountsWhatItDoesNotKeep) {
  Stack stack;
  stack.addLayers(1, row("#..........."));
  stack.addLayers(4, row("#.#.#.#.#.#."));
  CheckSettings settings = unitSettings(stack);
  settings.mostFindings = 2;
  const CheckReport report = check(stack, settings);
  EXPECT_EQ(report.findings.size(), 2u);
  EXPECT_EQ(report.counts, (Counts{5, 0, 0}));
}

TEST(PrintCheck, CountsTheFirstLayerByItsOwnHeight) {
  Stack stack;
  stack.addLayers(3, row(".####."));
  CheckSettings settings = unitSettings(stack);
  EXPECT_EQ(check(stack, settings).volume, 36);
  settings.firstLayerHeight = 2.5;
  EXPECT_EQ(check(stack, settings).volume, 54);
}

TEST(PrintCheck, CountsACavityInTheFirstLayerByTheHeightOfThatLayer) {
  Stack stack;
  stack.addLayers(4, framed(ring));
  stack.addLayers(2, framed(full));
  CheckSettings settings = unitSettings(stack);
  settings.firstLayerHeight = 2.5;
  const std::vector<Finding> findings = check(stack, settings).findings;
  ASSERT_EQ(toldOf(findings), Told{"risk suctionCup 0-3"});
  EXPECT_EQ(findings[0].volume, 25 * (2.5 + 3));
}

TEST(PrintCheck, RefusesWhatIsNoPrint) {
  Stack stack;
  stack.addLayers(1, row(".###."));
  const auto expectRefused = [&](const std::function<void(CheckSettings&)>& spoil) {
    CheckSettings settings = unitSettings(stack);
    spoil(settings);
    EXPECT_THROW(PrintCheck{settings}, std::invalid_argument);
  };
  expectRefused([](CheckSettings& s) { s.pixelWidth = 0; });
  expectRefused([](CheckSettings& s) { s.pixelHeight = std::nan(""); });
  expectRefused([](CheckSettings& s) { s.layerHeight = -1; });
  expectRefused([](CheckSettings& s) { s.firstLayerHeight = 0; });
  expectRefused([](CheckSettings& s) { s.criticalAngle = 0; });
  expectRefused([](CheckSettings& s) { s.criticalAngle = 0.001; });
  expectRefused([](CheckSettings& s) { s.nearReach = 0; });
  expectRefused([](CheckSettings& s) { s.farReach = 1; });
  expectRefused([](CheckSettings& s) { s.tipRadius = 1e9; });
  expectRefused([](CheckSettings& s) { s.islandHeight = -1; });
  expectRefused([](CheckSettings& s) { s.speckVolume = std::nan(""); });
  expectRefused([](CheckSettings& s) { s.screenWidth = 0; });
  expectRefused([](CheckSettings& s) { s.screenHeight = 65536; });
}

TEST(PrintCheck, NamesTheNumberThatItRefusesAsAPersonWouldWriteIt) {
  Stack stack;
  stack.addLayers(1, row(".###."));
  const auto refusalOf = [&](const std::function<void(CheckSettings&)>& spoil) -> std::string {
    CheckSettings settings = unitSettings(stack);
    spoil(settings);
    try {
      const PrintCheck check(settings);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ(refusalOf([](CheckSettings& s) { s.layerHeight = -1; }),
            "the layer height must be above 0 mm, not -1 mm");
  EXPECT_EQ(refusalOf([](CheckSettings& s) { s.criticalAngle = 90.5; }),
            "the critical angle must be above 0 and at most 90 degrees, not 90.5");
}

TEST(PrintCheck, RefusesALayerOfAnotherSizeOrBesideTheScreenAndGoesOn) {
  Stack stack;
  stack.addLayers(1, row(".###."));
  PrintCheck check(unitSettings(stack));
  EXPECT_THROW(check.add(runsOf(Rows(3, "#########")), 9), std::invalid_argument);
  check.add(runsOf(stack.layers[0]), 5);
  EXPECT_THROW(check.add(runsOf(row(".##.")), 4), std::invalid_argument);
  check.add(runsOf(stack.layers[0]), 5);
  EXPECT_EQ(check.finish().layers, 2u);
}

// As many runs as a layer can have, none of which anything carries.
TEST(PrintCheck, TakesACombWithoutASupport) {
  constexpr int side = 600;
  CheckSettings settings;
  settings.pixelWidth = settings.pixelHeight = settings.layerHeight = 0.05;
  settings.screenWidth = settings.screenHeight = side + 2;
  settings.cropX = settings.cropY = 1;
  RunRows foot;
  RunRows comb;
  for (int y = 0; y < side; ++y) {
    foot.add(0, 10);
    foot.endRow();
    for (int x = 0; x < side; x += 2) comb.add(x, y % 50 == 0 ? x + 2 : x + 1);
    comb.endRow();
  }
  PrintCheck check(settings);
  check.add(foot, side);
  for (int i = 0; i < 6; ++i) check.add(comb, side);
  EXPECT_EQ(toldOf(check.finish().findings), Told{"fails overhang 1-6"});
}

TEST(PrintCheck, TakesTheLargestScreen) {
  constexpr uint32_t side = 65535;
  CheckSettings settings;
  settings.pixelWidth = settings.pixelHeight = 0.01;
  settings.layerHeight = 0.05;
  settings.screenWidth = settings.screenHeight = side;
  RunRows whole;
  for (uint32_t y = 0; y < side; ++y) {
    whole.add(0, side);
    whole.endRow();
  }
  PrintCheck check(settings);
  check.add(whole, side);
  check.add(whole, side);
  EXPECT_EQ(toldOf(check.finish().findings), Told{"risk screenEdge 0-1"});
}

}  // namespace
}  // namespace stiltforge::check
