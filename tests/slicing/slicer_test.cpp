#include "slicing/slicer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <numeric>

#include "slicing/shapes.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {
namespace {

using Picture = std::vector<std::string>;

TEST(Slicer, CutsABoxIntoFullLayers) {
  Slicer slicer(box({0, 0, 0}, {4, 2, 2}), unitSettings(20));
  EXPECT_EQ(slicer.layerCount(), 2u);
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"####", "####"}));
  EXPECT_EQ(slicePicture(slicer, 1), (Picture{"####", "####"}));
}

// The box without the triangles whose corners all are on a side.
Soup openBox(const Soup& box, const std::function<bool(const Vertex&)>& isOnSide) {
  Soup open;
  for (std::size_t i = 0; i < box.size(); i += 9) {
    const Triangle triangle{Vertex{box[i], box[i + 1], box[i + 2]},
                            Vertex{box[i + 3], box[i + 4], box[i + 5]},
                            Vertex{box[i + 6], box[i + 7], box[i + 8]}};
    if (!std::all_of(triangle.begin(), triangle.end(), isOnSide)) append(open, triangle);
  }
  return open;
}

TEST(Slicer, ReportsTheWidestGapThatSlicesClose) {
  const Soup whole = box({0, 0, 0}, {4, 2, 3});
  const auto gap = [](const Soup& soup) {
    SlicerSettings settings = unitSettings(20);
    settings.screen.pixelSize = 0.5;
    return Slicer(soup, settings).report().widestGap;
  };
  EXPECT_EQ(gap(whole), 0);
  EXPECT_EQ(gap(openBox(whole, [](const Vertex& corner) { return corner.x == 4; })), 2);
  EXPECT_EQ(gap(openBox(whole, [](const Vertex& corner) { return corner.y == 0; })), 4);
  EXPECT_EQ(gap(openBox(whole, [](const Vertex& corner) { return corner.z == 3; })), 0)
      << "no slice shows a level hole";
}

TEST(Slicer, FindsTheWidestGapOfVeryManyLooseTriangles) {
  // More ends than are looked at: three for each triangle in each of 100 layers.
  Soup soup;
  for (int i = 0; i < 3000; ++i) {
    const float x = static_cast<float>(i % 50);
    const float y = static_cast<float>(i / 50);
    append(soup, {Vertex{x, y, 0}, Vertex{x + 0.5f, y, 0}, Vertex{x, y, 100}});
  }
  const double gap = Slicer(soup, unitSettings(80)).report().widestGap;
  EXPECT_GT(gap, 0.4);
  EXPECT_LT(gap, 0.5);
}

TEST(Slicer, ReportsTheMaterialAndTheMiddleOfTheLayer) {
  Slicer slicer(box({0, 0, 7}, {4, 2, 9}), unitSettings(20));
  std::vector<uint8_t> rgba(4 * 2 * 4);
  const SliceInfo info = slicer.slice(1, rgba.data());
  EXPECT_EQ(info.materialPixels, 8u);
  EXPECT_EQ(info.z, 1.5);
}

TEST(Slicer, DrawsTheLargestYAtTheTop) {
  // A prism over the triangle (0, 0), (4, 0), (0, 4): its right angle is at the lower left.
  Soup prism;
  const Vertex low[3] = {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}};
  const Vertex high[3] = {{0, 0, 1}, {4, 0, 1}, {0, 4, 1}};
  append(prism, {low[0], low[2], low[1]});
  append(prism, {high[0], high[1], high[2]});
  for (int i = 0; i < 3; ++i) {
    const int next = (i + 1) % 3;
    append(prism, {low[i], low[next], high[next]});
    append(prism, {low[i], high[next], high[i]});
  }
  Slicer slicer(prism, unitSettings(20));
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"....", "#...", "##..", "###."}));
}

TEST(Slicer, LeavesTheMarginFree) {
  SlicerSettings settings = unitSettings(20);
  settings.screen.margin = 1;
  Slicer slicer(box({0, 0, 0}, {2, 2, 1}), settings);
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"....", ".##.", ".##.", "...."}));
}

TEST(Slicer, LeavesTheLayersBelowALiftedModelEmpty) {
  SlicerSettings settings = unitSettings(20);
  settings.lift = 2;
  Slicer slicer(box({0, 0, 7}, {4, 2, 9}), settings);
  EXPECT_EQ(slicer.layerCount(), 4u);
  EXPECT_EQ(slicer.plateZ(), 5);
  for (const uint32_t empty : {0u, 1u}) {
    EXPECT_EQ(slicePicture(slicer, empty), (Picture{"....", "...."}));
  }
  EXPECT_EQ(slicePicture(slicer, 2), (Picture{"####", "####"}));
  EXPECT_EQ(slicePicture(slicer, 3), (Picture{"####", "####"}));
}

TEST(Slicer, FindsNothingUnderALiftedModel) {
  SlicerSettings settings = unitSettings(20);
  settings.lift = 1;
  Slicer slicer(box({0, 0, 0}, {4, 2, 2}), settings);
  std::vector<Slice> slices(3);
  slicer.slice(0, slices);
  EXPECT_EQ(slices[1].overhang.pixelCount(), 8u) << "the bottom hangs free";
  EXPECT_EQ(slices[2].overhang.pixelCount(), 0u);
}

TEST(Slicer, CutsALiftedModelWhereItsLayersAre) {
  SlicerSettings settings = unitSettings(9);
  settings.lift = 0.7;
  // 0.7 to 2.7 mm: the middle of the first layer, 0.5 mm, lies below it.
  Slicer slicer(box({0, 0, 0}, {1, 1, 2}), settings);
  EXPECT_EQ(slicer.layerCount(), 3u);
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"."}));
  EXPECT_EQ(slicePicture(slicer, 1), (Picture{"#"}));
  EXPECT_EQ(slicePicture(slicer, 2), (Picture{"#"}));
}

TEST(Slicer, RefusesALiftThatIsNoHeight) {
  for (const double lift : {-1.0, std::nan(""), HUGE_VAL}) {
    SlicerSettings settings = unitSettings(9);
    settings.lift = lift;
    EXPECT_THROW(Slicer(box({0, 0, 0}, {1, 1, 2}), settings), SlicingError);
  }
  SlicerSettings settings = unitSettings(9);
  settings.lift = 70000;
  EXPECT_THROW(Slicer(box({0, 0, 0}, {1, 1, 2}), settings), SlicingError);
}

TEST(Slicer, CountsTheLayersWhoseMiddleLiesInTheModel) {
  EXPECT_EQ(Slicer(box({0, 0, 0}, {1, 1, 2.4f}), unitSettings(9)).layerCount(), 2u);
  EXPECT_EQ(Slicer(box({0, 0, 0}, {1, 1, 2.6f}), unitSettings(9)).layerCount(), 3u);
  SlicerSettings fine = unitSettings(9);
  fine.channels.layerHeight = 0.05;
  EXPECT_EQ(Slicer(box({0, 0, 0}, {1, 1, 60}), fine).layerCount(), 1200u);
}

TEST(Slicer, PlacesAModelByTheTrianglesThatHaveAnArea) {
  const Soup plain = box({2, 2, 8}, {6, 4, 10});
  Soup spoilt(9, 0.0f);
  append(spoilt, {Vertex{-9, 0, 0}, Vertex{-8, 0, 1}, Vertex{-7, 0, 2}});
  spoilt.insert(spoilt.end(), plain.begin(), plain.end());
  append(spoilt, {Vertex{4, 3, 9}, Vertex{90, 3, 9}, Vertex{4, 3, 9}});
  Slicer expected(plain, unitSettings(20));
  Slicer slicer(spoilt, unitSettings(20));
  EXPECT_EQ(slicer.layerCount(), 2u);
  EXPECT_EQ(slicer.placement().originX, expected.placement().originX);
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"####", "####"}));
  EXPECT_EQ(slicePicture(slicer, 1), (Picture{"####", "####"}));
}

TEST(Slicer, ReportsPartsThatNoLayerConnectsWithThePlate) {
  SlicerSettings settings = unitSettings(40);
  settings.screen.pixelSize = 0.5;
  settings.channels.layerHeight = 0.25;
  const Soup soup = joined({box({0, 0, 1}, {2, 2, 3}), box({2.5f, 0, 2}, {4, 2, 3}),
                            box({0, 0, 3.25f}, {2, 2, 4}), box({6, 0, 2.5f}, {7, 2, 3})});
  const Slicer slicer(soup, settings);
  EXPECT_EQ(slicer.report().floatingParts, 1u);
  EXPECT_EQ(slicer.report().floatingFrom, 1.5);
}

TEST(Slicer, GivesCornersOnPixelCentresToOneSideOnly) {
  for (const double offset : {0.0, 0.25, 0.5, 0.75}) {
    SlicerSettings settings = unitSettings(20);
    settings.screen.margin = 1;
    settings.screen.offsetX = offset;
    settings.screen.offsetY = offset;
    Slicer slicer(box({0, 0, 0}, {4, 4, 1}), settings);
    std::vector<uint8_t> rgba = sliceBytes(slicer, 0);
    const Picture rows = picture(rgba, slicer.placement().width);
    const auto pixels = std::accumulate(rows.begin(), rows.end(), std::ptrdiff_t{0},
                                        [](std::ptrdiff_t sum, const std::string& row) {
                                          return sum + std::count(row.begin(), row.end(), '#');
                                        });
    EXPECT_EQ(pixels, 16) << "offset " << offset;
  }
}

TEST(Slicer, CutsThroughCornersOnALayersPlane) {
  // The waist, the widest cross-section, lies exactly in the plane of the third layer.
  Slicer slicer(octahedron({0, 0, 2.5f}, 2.5f), unitSettings(21));
  EXPECT_EQ(slicer.layerCount(), 5u);
  EXPECT_EQ(slicePicture(slicer, 2), (Picture{"..#..", ".###.", "#####", ".###.", "..#.."}));
}

TEST(Slicer, GivesAPlaneBetweenTwoSolidsToTheUpperOne) {
  const Soup tower = joined({box({0, 0, 0}, {4, 2, 1.5f}), box({0, 0, 1.5f}, {2, 2, 3})});
  Slicer slicer(tower, unitSettings(20));
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"####", "####"}));
  EXPECT_EQ(slicePicture(slicer, 1), (Picture{"##..", "##.."}));
}

TEST(Slicer, KeepsAWallOfOnePixelOneColumnWideWhereverItStands) {
  for (int step = 0; step < 20; ++step) {
    SlicerSettings settings = unitSettings(20);
    settings.screen.offsetX = step * 0.05 + 0.013;
    Slicer slicer(box({0, 0, 0}, {1, 2, 1}), settings);
    for (const std::string& row : slicePicture(slicer, 0)) {
      EXPECT_EQ(std::count(row.begin(), row.end(), '#'), 1) << row;
    }
  }
}

TEST(Slicer, LosesOnlyWallsThatHoldNoPixelCentre) {
  SlicerSettings settings = unitSettings(20);
  settings.screen.offsetX = 0.5;
  Slicer on(box({0, 0, 0}, {0.1f, 2, 1}), settings);
  EXPECT_EQ(slicePicture(on, 0), (Picture{"#", "#"}));
  settings.screen.offsetX = 0.2;
  Slicer between(box({0, 0, 0}, {0.1f, 2, 1}), settings);
  EXPECT_EQ(slicePicture(between, 0), (Picture{".", "."}));
}

TEST(Slicer, UnitesSolidsThatOverlap) {
  const Soup two = joined({box({0, 0, 0}, {4, 2, 1}), box({2, 0, 0}, {6, 2, 1})});
  Slicer slicer(two, unitSettings(20));
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"######", "######"}));
}

TEST(Slicer, HollowsASolidByACavityTurnedInwards) {
  const Soup hollow = joined({box({0, 0, 0}, {4, 4, 4}), flipped(box({1, 1, 1}, {3, 3, 3}))});
  Slicer slicer(hollow, unitSettings(20));
  EXPECT_EQ(slicePicture(slicer, 0), (Picture{"####", "####", "####", "####"}));
  EXPECT_EQ(slicePicture(slicer, 1), (Picture{"####", "#..#", "#..#", "####"}));
  EXPECT_EQ(sliceVolume(slicer, unitSettings(20)), slicer.report().expectedVolume);
}

TEST(Slicer, KeepsASolidInsideASolidSolid) {
  const Soup nested = joined({box({0, 0, 0}, {4, 4, 4}), box({1, 1, 1}, {3, 3, 3})});
  Slicer slicer(nested, unitSettings(20));
  EXPECT_EQ(sliceVolume(slicer, unitSettings(20)), 64);
  EXPECT_EQ(slicer.report().expectedVolume, 64);
}

TEST(Slicer, ApproachesTheVolumeOfABall) {
  const Soup soup = ball({0, 0, 5}, 5, 96, 48);
  double lastError = 1;
  for (const double size : {0.5, 0.1, 0.02}) {
    SlicerSettings settings = unitSettings(1000);
    settings.screen.pixelSize = size;
    settings.channels.layerHeight = size;
    Slicer slicer(soup, settings);
    const double expected = slicer.report().expectedVolume;
    const double error = std::fabs(sliceVolume(slicer, settings) - expected) / expected;
    EXPECT_LT(error, lastError);
    lastError = error;
  }
  EXPECT_LT(lastError, 1e-4);
}

TEST(Slicer, GivesTheSameBytesInAnyOrder) {
  SlicerSettings settings = unitSettings(200);
  settings.screen.pixelSize = 0.1;
  settings.channels.layerHeight = 0.1;
  const Soup soup =
      joined({ball({0, 0, 3}, 3, 24, 12), withoutTriangle(ball({2, 1, 3}, 2, 9, 7), 4)});
  Slicer ascending(soup, settings);
  std::vector<std::vector<uint8_t>> expected;
  for (uint32_t i = 0; i < ascending.layerCount(); ++i)
    expected.push_back(sliceBytes(ascending, i));
  Slicer jumping(soup, settings);
  const uint32_t count = jumping.layerCount();
  for (uint32_t i = 0; i < 3 * count; ++i) {
    const uint32_t index = (i * i + 7 * i) % count;
    EXPECT_EQ(sliceBytes(jumping, index), expected[index]) << "layer " << index;
  }
}

TEST(Slicer, MarksWhatStandsOnThePlateAsSupported) {
  Slicer slicer(box({0, 0, 0}, {3, 1, 1}), unitSettings(21));
  const std::vector<uint8_t> rgba = sliceBytes(slicer, 0);
  EXPECT_EQ(rgba,
            (std::vector<uint8_t>{255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255}));
}

TEST(Slicer, LetsTheSupportValueFallBeyondTheLayerBelow) {
  // A pillar two pixels wide carries a beam; layers are a tenth of a pixel high.
  SlicerSettings settings = unitSettings(21);
  settings.channels.layerHeight = 0.1;
  settings.channels.criticalAngle = 5.0;  // reach 1.14 pixels
  settings.channels.fullOverhang = 3.1430052302761343;
  const Soup crane = joined({box({0, 0, 0}, {2, 1, 0.1f}), box({0, 0, 0.1f}, {7, 1, 0.2f})});
  Slicer slicer(crane, settings);
  const std::vector<uint8_t> rgba = sliceBytes(slicer, 1);
  std::vector<int> blue;
  for (std::size_t i = 2; i < rgba.size(); i += 4) blue.push_back(rgba[i]);
  EXPECT_EQ(blue, (std::vector<int>{255, 255, 255, 146, 18, 0, 0}));
}

TEST(Slicer, TakesAMillionTriangles) {
  const Soup soup = ball({0, 0, 20}, 20, 1000, 501);
  ASSERT_EQ(soup.size(), std::size_t{9} * 1000 * 1000);
  SlicerSettings settings = unitSettings(400);
  settings.screen.pixelSize = 0.1;
  settings.channels.layerHeight = 0.25;
  Slicer slicer(soup, settings);
  EXPECT_EQ(slicer.report().triangles, 1000000u);
  EXPECT_EQ(slicer.report().openEdges, 0u);
  EXPECT_EQ(slicer.report().parts, 1u);
  const double expected = slicer.report().expectedVolume;
  EXPECT_NEAR(sliceVolume(slicer, settings) / expected, 1, 1e-4);
}

}  // namespace
}  // namespace stiltforge::slicing
