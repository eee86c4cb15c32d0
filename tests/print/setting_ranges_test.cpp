#include "print/setting_ranges.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "slicing/channel_falloff.h"

namespace stiltforge {
namespace {

std::string conflictOf(const PrintSettings& print) {
  const auto conflict = findConflict(print);
  return conflict ? std::string(conflict->setting) + ": " + conflict->range : "";
}

TEST(SettingRanges, TheDefaultsWork) {
  EXPECT_EQ(conflictOf({}), "");
}

TEST(SettingRanges, NameTheSettingAndItsRange) {
  PrintSettings print;
  print.pixelSize = 0.0001;
  EXPECT_EQ(conflictOf(print), "pixelSize: it must be at least 0.000123 mm");
  print = {};
  print.pixelSize = 1000;
  EXPECT_EQ(conflictOf(print),
            "pixelSize: with a support area of 15 mm2 it must be at most 0.968 mm; coarser pixels "
            "need a larger support area");
  print = {};
  print.layerHeight = 1000;
  EXPECT_EQ(conflictOf(print),
            "layerHeight: at a pixel size of 0.05 mm and a critical angle of 45 degrees it must be "
            "at most 102 mm");
  print = {};
  print.criticalAngle = 0.0001;
  EXPECT_EQ(conflictOf(print),
            "criticalAngle: at a pixel size of 0.05 mm and a layer height of 0.05 mm it must be at "
            "least 0.028 degrees");
  print = {};
  print.inset = 1e9;
  EXPECT_EQ(conflictOf(print), "inset: at a pixel size of 0.05 mm it must be from 0 to 204 mm");
  print = {};
  print.fullOverhang = 205;
  EXPECT_EQ(conflictOf(print),
            "fullOverhang: at a pixel size of 0.05 mm it must be from 0 to 204 mm");
  print = {};
  print.supportArea = 0.01;
  EXPECT_EQ(conflictOf(print),
            "supportArea: at a pixel size of 0.05 mm it must be from 0.04 mm2, which is 16 pixels, "
            "to 10,700,000 mm2");
  print = {};
  print.minimumHeight = 20.5;
  EXPECT_EQ(conflictOf(print),
            "minimumHeight: at a layer height of 0.05 mm it must be from 0 to 20 mm");
  print.layerHeight = 0.01;
  print.minimumHeight = 10.3;
  EXPECT_EQ(conflictOf(print),
            "minimumHeight: at a layer height of 0.01 mm it must be from 0 to 10.2 mm");
  print = {};
  print.minimumSpacing = 4;
  EXPECT_EQ(conflictOf(print),
            "minimumSpacing: with a support area of 15 mm2 it must be from 0 to 3.87 mm");
}

TEST(SettingRanges, ThinLayersDoNotMakeTheDefaultHeightAMistake) {
  PrintSettings print;
  print.layerHeight = 1e-5;
  EXPECT_EQ(conflictOf(print), "");
}

TEST(SettingRanges, BoundTheLift) {
  PrintSettings print;
  for (const double lift : {0.0, 0.2, 1000.0}) {
    print.lift = lift;
    EXPECT_EQ(conflictOf(print), "");
  }
  for (const double lift : {-0.1, 1000.1, std::nan("")}) {
    print.lift = lift;
    EXPECT_NE(conflictOf(print), "") << lift;
  }
}

TEST(SettingRanges, RefuseWhatIsNoLengthAngleOrArea) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double senseless : {-1.0, infinity, -infinity, std::nan("")}) {
    for (double PrintSettings::*setting :
         {&PrintSettings::layerHeight, &PrintSettings::pixelSize, &PrintSettings::criticalAngle,
          &PrintSettings::inset, &PrintSettings::supportArea, &PrintSettings::minimumHeight}) {
      PrintSettings print;
      print.*setting = senseless;
      EXPECT_NE(conflictOf(print), "") << senseless;
    }
    PrintSettings print;
    print.fullOverhang = senseless;
    EXPECT_NE(conflictOf(print), "") << senseless;
    print = {};
    print.minimumSpacing = senseless;
    EXPECT_NE(conflictOf(print), "") << senseless;
  }
}

TEST(SettingRanges, NoBoundIsInfiniteOrNothing) {
  for (const double extreme : {1e-320, 1e-200, 1e-7, 1e-6, 1e-3, 1e3, 1e6, 1e7, 1e200, 1e308}) {
    for (double PrintSettings::*first :
         {&PrintSettings::layerHeight, &PrintSettings::pixelSize, &PrintSettings::criticalAngle}) {
      for (double PrintSettings::*second :
           {&PrintSettings::layerHeight, &PrintSettings::criticalAngle, &PrintSettings::inset,
            &PrintSettings::supportArea}) {
        for (const double other : {1e-320, 1e-6, 1.0, 90.0, 1e6, 1e308}) {
          PrintSettings print;
          print.*first = extreme;
          print.*second = other;
          const std::string conflict = conflictOf(print);
          EXPECT_EQ(conflict.find("inf"), std::string::npos) << conflict;
          EXPECT_EQ(conflict.find("least 0 "), std::string::npos) << conflict;
        }
      }
    }
  }
}

TEST(SettingRanges, ABoundThatIsToldWorks) {
  PrintSettings print;
  print.supportArea = 0.04;
  EXPECT_EQ(conflictOf(print), "");
  print = {};
  print.inset = 204;
  EXPECT_EQ(conflictOf(print), "");
  print = {};
  print.layerHeight = 102;
  EXPECT_EQ(conflictOf(print), "");
  print = {};
  print.criticalAngle = 0.028;
  EXPECT_EQ(conflictOf(print), "");
}

TEST(SettingRanges, WhatWorksCanBeSliced) {
  for (const double layerHeight : {0.01, 1.0, 50.0}) {
    for (const double pixelSize : {0.000123, 0.05, 0.9}) {
      for (const double angle : {0.05, 45.0, 90.0}) {
        PrintSettings print;
        print.layerHeight = layerHeight;
        print.pixelSize = pixelSize;
        print.criticalAngle = angle;
        if (findConflict(print)) continue;
        slicing::ChannelSettings channels = slicerSettings(print).channels;
        channels.pixelSize = pixelSize;
        EXPECT_NO_THROW(slicing::ChannelFalloff{channels})
            << layerHeight << " " << pixelSize << " " << angle;
      }
    }
  }
}

}  // namespace
}  // namespace stiltforge
