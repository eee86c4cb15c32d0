#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "slicing/shapes.h"
#include "slicing/slicer.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {
namespace {

std::string messageOf(const Soup& soup, const SlicerSettings& settings) {
  try {
    Slicer slicer(soup, settings);
  } catch (const SlicingError& error) {
    return error.what();
  }
  return "no error";
}

const Soup tallBox = box({0, 0, 0}, {10, 20, 30});

TEST(SlicerError, NamesTheTriangleWithACoordinateThatIsNotFinite) {
  Soup soup = tallBox;
  soup[9 * 3 + 7] = std::nanf("");
  EXPECT_EQ(messageOf(soup, unitSettings(50)),
            "Triangle 3 (counted from 0) has a corner at (0, nan, 30); every coordinate must be a "
            "finite number. Repair or export the mesh anew.");
  soup = tallBox;
  soup[0] = std::numeric_limits<float>::infinity();
  EXPECT_EQ(messageOf(soup, unitSettings(50)).substr(0, 50),
            "Triangle 0 (counted from 0) has a corner at (inf, ");
}

TEST(SlicerError, RefusesAMeshWithoutTriangles) {
  EXPECT_EQ(messageOf({}, unitSettings(50)),
            "The mesh has no triangles. Check that the file holds a surface mesh.");
}

TEST(SlicerError, RefusesAMeshWithoutArea) {
  EXPECT_EQ(
      messageOf({0, 0, 1, 5, 0, 1, 0, 0, 1, 1, 2, 3, 1, 2, 3, 4, 5, 6}, unitSettings(50)),
      "None of the mesh's 2 triangles has an area. Check that the file holds a surface mesh.");
}

TEST(SlicerError, RefusesHalfATriangle) {
  EXPECT_EQ(
      messageOf({0, 0, 0, 1, 1, 1}, unitSettings(50)),
      "The mesh has 6 coordinates, which is not a multiple of 9 (three corners of x, y, z for a "
      "triangle). The last triangle is incomplete.");
}

TEST(SlicerError, RefusesAFlatModel) {
  EXPECT_EQ(messageOf({0, 0, 1, 5, 0, 1, 0, 7, 1}, unitSettings(50)),
            "The model is flat: 5 x 7 x 0 mm. Only solids can be sliced.");
  EXPECT_EQ(messageOf({0, 0, 1, 5, 0, 1, 5, 0, 3}, unitSettings(50)),
            "The model is flat: 5 x 0 x 2 mm. Only solids can be sliced.");
}

TEST(SlicerError, RefusesAModelBelowHalfALayer) {
  EXPECT_EQ(messageOf(box({0, 0, 0}, {5, 5, 0.25f}), unitSettings(50)),
            "The model is 0.25 mm high, less than half a layer of 1 mm. Check its units or choose "
            "thinner layers.");
}

TEST(SlicerError, RefusesTooManyLayers) {
  SlicerSettings settings = unitSettings(50);
  settings.channels.layerHeight = 1e-4;
  EXPECT_EQ(
      messageOf(tallBox, settings),
      "The model is 30 mm high, which is 300000 layers of 0.0001 mm; the limit is 65535. Check "
      "its units or choose thicker layers.");
}

TEST(SlicerError, RefusesSizesThatAreNotPositive) {
  for (const double size : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    SlicerSettings settings = unitSettings(50);
    settings.channels.layerHeight = size;
    EXPECT_NE(messageOf(tallBox, settings).find("The layer height is "), std::string::npos) << size;
    settings = unitSettings(50);
    settings.screen.pixelSize = size;
    EXPECT_NE(messageOf(tallBox, settings).find("The pixel size is "), std::string::npos) << size;
  }
}

TEST(SlicerError, SaysByHowMuchAModelStandsOutOfTheScreen) {
  SlicerSettings settings = unitSettings(40);
  settings.screen.pixelSize = 0.5;
  settings.screen.offsetX = 8;
  settings.screen.offsetY = -2.25;
  EXPECT_EQ(
      messageOf(tallBox, settings),
      "The model does not fit on the screen: it is 10 x 20 mm, the screen 20 x 20 mm, and it "
      "stands out by 6 pixels (3 mm) on the right, 5 pixels (2.25 mm) at the bottom. Scale or "
      "turn it, or take a larger screen.");
}

TEST(SlicerError, AcceptsAModelAsLargeAsTheScreen) {
  SlicerSettings settings = unitSettings(200);
  settings.screen.pixelSize = 0.1;
  EXPECT_EQ(messageOf(tallBox, settings), "no error");
}

TEST(SlicerError, RefusesACropBeyondTheLimit) {
  SlicerSettings settings = unitSettings(2000000);
  settings.screen.pixelSize = 1e-4;
  settings.channels.inset = 0;
  settings.channels.layerHeight = 0.1;
  EXPECT_EQ(
      messageOf(tallBox, settings),
      "The model covers 100000 x 200000 pixels of 0.0001 mm with its margin; the limit is 65535 "
      "a side. Choose larger pixels or a smaller model.");
}

TEST(SlicerError, RefusesAScreenWithoutPixels) {
  EXPECT_EQ(messageOf(tallBox, unitSettings(0)),
            "The screen is 0 x 0 pixels; both sides must be between 1 and 2147483647.");
}

TEST(SlicerError, RefusesALayerThatIsNotThere) {
  Slicer slicer(tallBox, unitSettings(50));
  uint8_t pixel[4];
  EXPECT_THROW(slicer.slice(30, pixel), SlicingError);
}

TEST(SlicerError, SurvivesCoordinatesAtTheEndOfTheNumberRange) {
  Soup soup = tallBox;
  soup[2] = -3e38f;
  EXPECT_NE(messageOf(soup, unitSettings(50)).find("the limit is 65535"), std::string::npos);
  soup = tallBox;
  soup[1] = -3e38f;
  EXPECT_NE(messageOf(soup, unitSettings(50)).find("does not fit"), std::string::npos);
}

}  // namespace
}  // namespace stiltforge::slicing
