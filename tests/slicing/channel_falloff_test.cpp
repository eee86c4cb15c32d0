#include "slicing/channel_falloff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "slicing/slicing_error.h"

namespace stiltforge::slicing {
namespace {

using Bytes = std::vector<uint8_t>;

ChannelSettings settingsOf(double layerHeight, double pixelSize) {
  ChannelSettings settings;
  settings.layerHeight = layerHeight;
  settings.pixelSize = pixelSize;
  return settings;
}

TEST(ChannelFalloff, StrokeFallsLinearlyFromTheContourToTheInset) {
  ChannelSettings settings = settingsOf(0.05, 0.1);
  settings.inset = 0.3;
  // 255 * (1 - d / 3 pixels) for d = 0, 1, sqrt 2, ..., sqrt 8; zero from the inset on.
  EXPECT_EQ(ChannelFalloff(settings).stroke, (Bytes{255, 170, 135, 108, 85, 65, 47, 30, 15}));
}

TEST(ChannelFalloff, StrokeWithoutInsetMarksTheContourOnly) {
  ChannelSettings settings = settingsOf(0.05, 0.1);
  settings.inset = 0;
  EXPECT_EQ(ChannelFalloff(settings).stroke, Bytes{255});
}

TEST(ChannelFalloff, SupportIsFullUpToTheReachAndNeverBeyond) {
  ChannelSettings settings = settingsOf(0.2, 0.1);  // 45 degrees: reach 2 pixels
  settings.fullOverhang = 1000 * 0.1;
  const ChannelFalloff falloff(settings);
  EXPECT_EQ(Bytes(falloff.support.begin(), falloff.support.begin() + 6),
            (Bytes{255, 255, 255, 255, 255, 254}));
}

TEST(ChannelFalloff, SupportReachDoesNotHangOnARoundedDivision) {
  ChannelSettings settings = settingsOf(0.15, 0.05);  // 2.9999999999999996 pixels in doubles
  settings.fullOverhang = 0;
  EXPECT_EQ(ChannelFalloff(settings).support, Bytes(10, 255));
}

TEST(ChannelFalloff, SupportFallsToNothingAtTheFullOverhang) {
  ChannelSettings settings = settingsOf(0.1, 0.1);
  settings.fullOverhang = 0.3;
  // 255 * (3 - d) / 2 beyond 1 pixel.
  EXPECT_EQ(ChannelFalloff(settings).support, (Bytes{255, 255, 202, 162, 128, 97, 70, 45, 22}));
}

TEST(ChannelFalloff, EveryEntryFollowsFromItsOwnDistance) {
  for (const double layerHeight : {0.05, 0.3, 10.0}) {
    for (const double pixelSize : {0.019, 0.05}) {
      const std::vector<uint8_t> table = ChannelFalloff(settingsOf(layerHeight, pixelSize)).support;
      const double reach = layerHeight / pixelSize * (1 + 1e-9);
      const double zero = std::max(0.5, 2 * layerHeight) / pixelSize;
      for (std::size_t squared = 0; squared < table.size(); ++squared) {
        const double distance = std::sqrt(static_cast<double>(squared));
        const double falling = 255 * (zero - distance) / (zero - reach) + 0.5;
        const double byte = distance <= reach ? 255 : std::min(254.0, falling);
        ASSERT_EQ(table[squared], static_cast<uint8_t>(byte)) << layerHeight << ' ' << squared;
      }
      EXPECT_NE(table.back(), 0);
    }
  }
}

TEST(ChannelFalloff, FullOverhangIsHalfAMillimetreUnlessTheReachIsLong) {
  EXPECT_EQ(ChannelFalloff(settingsOf(0.05, 0.05)).support.size(), 100u);
  EXPECT_EQ(ChannelFalloff(settingsOf(0.4, 0.05)).support.size(), 256u);
}

TEST(ChannelFalloff, NothingIsSupportedBesideMaterialAtNinetyDegrees) {
  ChannelSettings settings = settingsOf(0.1, 0.1);
  settings.criticalAngle = 90;
  settings.fullOverhang = 0;
  EXPECT_EQ(ChannelFalloff(settings).support, Bytes{255});
}

TEST(ChannelFalloff, RefusesWhatIsOutOfRange) {
  const auto refused = [](double angle, double inset, double fullOverhang) {
    ChannelSettings settings = settingsOf(0.05, 0.05);
    settings.criticalAngle = angle;
    settings.inset = inset;
    settings.fullOverhang = fullOverhang;
    EXPECT_THROW(ChannelFalloff{settings}, SlicingError)
        << angle << " " << inset << " " << fullOverhang;
  };
  const double nan = std::nan("");
  for (const double angle : {0.0, -1.0, 91.0, nan, 1e-300}) refused(angle, 0.4, 0.5);
  for (const double length : {-0.1, nan, 1e300, 4097 * 0.05}) {
    refused(45, length, 0.5);
    refused(45, 0.4, length);
  }
}

TEST(ChannelFalloff, TangentAgreesWithTheLibrarys) {
  for (int tenth = 0; tenth < 900; ++tenth) {
    const double degrees = tenth / 10.0;
    const double expected = std::tan(degrees * 3.14159265358979323846 / 180);
    EXPECT_NEAR(tangentOfDegrees(degrees), expected, 1e-14 * (1 + expected * expected)) << degrees;
  }
  EXPECT_EQ(tangentOfDegrees(45), 1);
  EXPECT_EQ(tangentOfDegrees(90), std::numeric_limits<double>::infinity());
}

}  // namespace
}  // namespace stiltforge::slicing
