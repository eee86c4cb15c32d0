#include <gtest/gtest.h>

#include <random>

#include "slicing/shapes.h"
#include "slicing/slicer.h"

namespace stiltforge::slicing {
namespace {

using Picture = std::vector<std::string>;

std::vector<Picture> allPictures(const Soup& soup, const SlicerSettings& settings) {
  Slicer slicer(soup, settings);
  std::vector<Picture> pictures;
  for (uint32_t i = 0; i < slicer.layerCount(); ++i) pictures.push_back(slicePicture(slicer, i));
  return pictures;
}

TEST(BadMesh, AFlippedSolidIsSolid) {
  const Soup soup = ball({0, 0, 6}, 6, 16, 9);
  EXPECT_EQ(allPictures(flipped(soup), unitSettings(20)), allPictures(soup, unitSettings(20)));
}

TEST(BadMesh, AnyMissingTriangleOfABoxIsFilledIn) {
  const Soup soup = box({0, 0, 0}, {5, 5, 5});
  for (std::size_t t = 0; t < 12; ++t) {
    EXPECT_EQ(allPictures(withoutTriangle(soup, t), unitSettings(20)),
              allPictures(soup, unitSettings(20)))
        << "without triangle " << t;
  }
}

TEST(BadMesh, AnyFlippedTriangleOfABoxIsTurnedBack) {
  const Soup soup = box({0, 0, 0}, {5, 5, 5});
  for (std::size_t t = 0; t < 12; ++t) {
    Soup damaged = soup;
    for (std::size_t k = 0; k < 3; ++k) std::swap(damaged[9 * t + k], damaged[9 * t + 3 + k]);
    EXPECT_EQ(allPictures(damaged, unitSettings(20)), allPictures(soup, unitSettings(20)))
        << "flipped triangle " << t;
  }
}

TEST(BadMesh, ABallWithoutSomeTrianglesLosesLittleAndFloodsNothing) {
  SlicerSettings settings = unitSettings(220);
  settings.screen.pixelSize = 0.1;
  settings.screen.margin = 3;
  settings.channels.layerHeight = 0.1;
  Soup soup = ball({0, 0, 8}, 8, 40, 20);
  Slicer whole(soup, settings);
  const double volume = sliceVolume(whole, settings);
  for (std::size_t t = 1500; t > 100; t -= 97) soup = withoutTriangle(soup, t);
  Slicer slicer(soup, settings);
  EXPECT_EQ(slicer.report().openEdges, 45u);
  EXPECT_NEAR(sliceVolume(slicer, settings) / volume, 1, 2e-3);
}

TEST(BadMesh, TwoHalvesThatOnlyAlmostMeetAreOneSolid) {
  // The right half is shifted by a hundredth of a pixel: no corner is shared, each half is open.
  Soup left = box({0, 0, 0}, {3, 6, 3});
  Soup right = box({3.01f, 0, 0}, {6, 6, 3});
  left = withoutTriangle(withoutTriangle(left, 11), 10);  // its face at x = 3
  right = withoutTriangle(withoutTriangle(right, 9), 8);  // its face at x = 3.01
  const Soup soup = joined({left, right});
  EXPECT_EQ(TriangleMesh::fromSoup(soup).triangles.size(), 20u);
  EXPECT_EQ(allPictures(soup, unitSettings(20)),
            allPictures(box({0, 0, 0}, {6, 6, 3}), unitSettings(20)));
}

TEST(BadMesh, ASheetWithoutThicknessHoldsNoMaterialAndFloodsNothing) {
  Soup sheet;
  append(sheet, {Vertex{0, 0, 0}, Vertex{6, 0, 0}, Vertex{6, 0, 5}});
  append(sheet, {Vertex{0, 0, 0}, Vertex{6, 0, 5}, Vertex{0, 0, 5}});
  const Soup soup = joined({sheet, box({0, 3, 0}, {2, 4, 5})});
  for (const Picture& layer : allPictures(soup, unitSettings(20))) {
    EXPECT_EQ(layer, (Picture{"##....", "......", "......", "......"}));
  }
}

// With memory or time for every pair of them it would not end.
TEST(BadMesh, AHeapOfLooseTrianglesHasNoVolume) {
  const int count = 20000;
  Soup soup;
  for (int i = 0; i < count; ++i) {
    const float y = static_cast<float>(i) * 0.01f;
    append(soup, {Vertex{0, y, 0}, Vertex{200, y, 0}, Vertex{100, y, 3}});
  }
  SlicerSettings settings = unitSettings(220);
  settings.channels.layerHeight = 3;
  Slicer slicer(soup, settings);
  EXPECT_EQ(sliceVolume(slicer, settings), 0);
}

TEST(BadMesh, DegenerateTrianglesChangeNothing) {
  const Soup soup = box({0, 0, 0}, {4, 4, 4});
  Soup spoilt = soup;
  append(spoilt, {Vertex{1, 1, 1}, Vertex{1, 1, 1}, Vertex{1, 1, 1}});
  append(spoilt, {Vertex{0, 0, 0}, Vertex{4, 4, 4}, Vertex{0, 0, 0}});
  append(spoilt, {Vertex{0, 0, 0}, Vertex{2, 2, 2}, Vertex{4, 4, 4}});
  EXPECT_EQ(allPictures(spoilt, unitSettings(20)), allPictures(soup, unitSettings(20)));
  EXPECT_EQ(Slicer(spoilt, unitSettings(20)).report().degenerateTriangles, 3u);
}

TEST(BadMesh, DoubledTrianglesChangeNothing) {
  const Soup soup = octahedron({0, 0, 4}, 4);
  EXPECT_EQ(allPictures(joined({soup, soup}), unitSettings(20)),
            allPictures(soup, unitSettings(20)));
}

TEST(BadMesh, RandomTrianglesNeverReachTheMargin) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> coordinate(0, 30);
  for (int round = 0; round < 20; ++round) {
    Soup soup(9 * static_cast<std::size_t>(1 + round * 20));
    for (float& value : soup) {
      // Every other soup snaps to pixel centres and layer planes.
      value = round % 2 == 0 ? coordinate(random)
                             : static_cast<float>(static_cast<int>(coordinate(random))) + 0.5f;
    }
    SlicerSettings settings = unitSettings(50);
    settings.screen.margin = 2;
    for (const Picture& layer : allPictures(soup, settings)) {
      for (const std::string& row : layer) {
        EXPECT_EQ(row.substr(0, 2), "..");
        EXPECT_EQ(row.substr(row.size() - 2), "..");
      }
      EXPECT_EQ(layer.front().find('#'), std::string::npos);
      EXPECT_EQ(layer.back().find('#'), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace stiltforge::slicing
