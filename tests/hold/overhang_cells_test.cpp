#include "hold/overhang_cells.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "hold/survey.h"
#include "part.h"

namespace stiltforge::hold {
namespace {

TEST(OverhangCells, LieInTheMiddleOfTheirPixels) {
  OverhangCells cells({1, 1}, 4);
  RunRows overhang;
  overhang.add(0, 6);
  overhang.endRow();
  overhang.add(0, 2);
  overhang.endRow();
  cells.add(overhang, 0);
  cells.add(overhang, 2);
  cells.finish();
  ASSERT_EQ(cells.cells().size(), 2u);
  EXPECT_EQ(cells.cells()[0].pixels, 12u);
  EXPECT_EQ(cells.cells()[0].x, 1);
  EXPECT_EQ(cells.cells()[0].layer, 1u);
  EXPECT_EQ(cells.cells()[1].pixels, 4u);
  EXPECT_EQ(cells.cells()[1].x, 4);
}

TEST(OverhangCells, EndWithTheirStorey) {
  OverhangCells cells({1, 1}, 4);
  RunRows overhang;
  overhang.add(0, 2);
  overhang.endRow();
  for (uint32_t layer = 0; layer < 9; ++layer) cells.add(overhang, layer);
  cells.finish();
  ASSERT_EQ(cells.cells().size(), 3u);
  EXPECT_EQ(cells.cells()[1].pixels, 8u);
  EXPECT_EQ(cells.cells()[2].layer, 8u);
}

// mm2 of overhang of a slope that grows by 0.2 mm in 0.05 mm.
double areaOfSlope(double pixelSize, double layerHeight) {
  const auto grows = static_cast<std::size_t>(std::lround(layerHeight / 0.05 * 0.2 / pixelSize));
  const auto width = static_cast<std::size_t>(std::lround(2 / pixelSize));
  Part part;
  for (std::size_t material = grows; material <= width; material += grows) {
    std::string row(width, '.');
    std::fill_n(row.begin(), material, '#');
    part.addLayer(Rows(1, row));
  }
  SurveySettings settings;
  settings.pixelSize = pixelSize;
  settings.layerHeight = layerHeight;
  const Survey survey = part.survey(settings);
  uint64_t pixels = 0;
  for (const OverhangCell& cell : survey.overhangCells()) pixels += cell.pixels;
  return static_cast<double>(pixels) * pixelSize;
}

TEST(OverhangCells, HaveAboutAsMuchAtEveryPixelAndLayer) {
  const double area = areaOfSlope(0.05, 0.05);
  EXPECT_NEAR(area, 9 * 0.15, 1e-9) << "one of the four pixels of a layer carries itself";
  EXPECT_NEAR(areaOfSlope(0.05, 0.025), area, 0.25);
  EXPECT_NEAR(areaOfSlope(0.025, 0.05), area, 0.25);
  EXPECT_NEAR(areaOfSlope(0.025, 0.025), area, 0.25);
  EXPECT_NEAR(areaOfSlope(0.1, 0.05), area, 0.25);
}

}  // namespace
}  // namespace stiltforge::hold
