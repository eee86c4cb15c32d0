#include "print/setting_ranges.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "runtime/number_text.h"
#include "slicing/channel_falloff.h"

namespace stiltforge {

namespace {

constexpr double longestDistance = slicing::ChannelFalloff::longestReachInPixels;

// A region gets no support at all when it is owed more of them than it has overhanging pixels. With
// smaller supports that befalls whole overhangs, so that less area gave fewer supports.
constexpr double leastSupportArea = 16;  // pixels

// Beyond it every region of the largest screen is held by one support.
constexpr double mostSupportArea = 4294967296.0;  // pixels

// What a support may need below its tip. Looking for it takes time and memory with every layer.
constexpr double mostMinimumHeight = 20;  // mm
constexpr double mostLayersBelow = 1024;

// What no printer comes near. Within them no bound below is infinite, nor rounded to nothing.
constexpr double shortestLength = 1e-6;  // mm
constexpr double longestLength = 1e6;    // mm
constexpr double smallestAngle = 1e-6;   // degrees
constexpr double highestLift = 1000;     // mm

// An area of exactly so many pixels must not fail by the rounding of its digits.
constexpr double slack = 1e-9;

// Plain digits with commas between the thousands.
std::string plainText(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  std::string digits = text;
  if (decimals > 0) {
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() < '0' || digits.back() > '9') digits.pop_back();
  }
  const std::size_t whole = std::min(digits.find_first_not_of("0123456789"), digits.size());
  for (std::size_t i = whole; i > 3; i -= 3) digits.insert(i - 3, 1, ',');
  return digits;
}

// Three digits of a bound, rounded into the range.
std::string boundText(double bound, double (*round)(double steps)) {
  const int exponent = static_cast<int>(std::floor(std::log10(bound))) - 2;
  const double step = std::pow(10.0, exponent);
  return plainText(round(bound / step) * step, std::max(0, -exponent));
}

std::string roundedUp(double bound) {
  return boundText(bound, [](double steps) { return std::ceil(steps - slack); });
}

std::string roundedDown(double bound) {
  return boundText(bound, [](double steps) { return std::floor(steps + slack); });
}

std::optional<SettingConflict> findSenseless(const PrintSettings& print) {
  const auto isLength = [](double value) {
    return value >= shortestLength && value <= longestLength;
  };
  const char* const length = "it must be from 0.000001 to 1,000,000 mm";
  const char* const distance = "it must be a number of millimetres from 0";
  if (!isLength(print.layerHeight)) {
    return SettingConflict{"layerHeight", print.layerHeight, length};
  }
  if (!isLength(print.pixelSize)) return SettingConflict{"pixelSize", print.pixelSize, length};
  if (!(print.lift >= 0 && print.lift <= highestLift)) {
    return SettingConflict{"lift", print.lift, "it must be from 0 to 1,000 mm"};
  }
  if (!(print.criticalAngle >= smallestAngle && print.criticalAngle <= 90)) {
    return SettingConflict{"criticalAngle", print.criticalAngle,
                           "it must be from 0.000001 to 90 degrees"};
  }
  if (!(print.inset >= 0)) return SettingConflict{"inset", print.inset, distance};
  if (print.fullOverhang && !(*print.fullOverhang >= 0)) {
    return SettingConflict{"fullOverhang", *print.fullOverhang, distance};
  }
  if (!(print.supportArea > 0)) {
    return SettingConflict{"supportArea", print.supportArea,
                           "it must be a positive number of square millimetres"};
  }
  if (!(print.minimumHeight >= 0)) {
    return SettingConflict{"minimumHeight", print.minimumHeight, distance};
  }
  if (print.minimumSpacing && !(*print.minimumSpacing >= 0)) {
    return SettingConflict{"minimumSpacing", *print.minimumSpacing, distance};
  }
  return std::nullopt;
}

}  // namespace

std::optional<SettingConflict> findConflict(const PrintSettings& print) {
  if (auto senseless = findSenseless(print)) return senseless;
  const double layerHeight = print.layerHeight;
  const double pixelSize = print.pixelSize;
  const std::string pixel = "at a pixel size of " + numberText(pixelSize) + " mm";

  const double finestPixel = slicing::ChannelSettings::leastFullOverhang / longestDistance;
  if (pixelSize < finestPixel) {
    return SettingConflict{"pixelSize", pixelSize,
                           "it must be at least " + roundedUp(finestPixel) + " mm"};
  }

  // The support value falls to 0 at twice the self-supporting reach.
  const double longestReach = longestDistance / 2 * pixelSize;
  const double highestLayer = longestReach * slicing::tangentOfDegrees(print.criticalAngle);
  if (layerHeight > highestLayer && layerHeight > longestReach) {
    return SettingConflict{"layerHeight", layerHeight,
                           pixel + " and a critical angle of " + numberText(print.criticalAngle) +
                               " degrees it must be at most " + roundedDown(highestLayer) + " mm"};
  }
  if (layerHeight > highestLayer) {
    constexpr double degreesPerRadian = 57.29577951308232;
    const double leastAngle = std::atan(layerHeight / longestReach) * degreesPerRadian;
    return SettingConflict{"criticalAngle", print.criticalAngle,
                           pixel + " and a layer height of " + numberText(layerHeight) +
                               " mm it must be at least " + roundedUp(leastAngle) + " degrees"};
  }

  const double longest = longestDistance * pixelSize;
  const auto reachesTooFar = [&](const char* setting, double value) {
    return SettingConflict{setting, value,
                           pixel + " it must be from 0 to " + roundedDown(longest) + " mm"};
  };
  if (print.inset > longest) return reachesTooFar("inset", print.inset);
  if (print.fullOverhang && *print.fullOverhang > longest) {
    return reachesTooFar("fullOverhang", *print.fullOverhang);
  }

  const double area = print.supportArea;
  const double leastArea = leastSupportArea * (pixelSize * pixelSize);
  const double mostArea = mostSupportArea * (pixelSize * pixelSize);
  const bool isTooSmall = area < leastArea * (1 - slack);
  if (isTooSmall && area == PrintSettings().supportArea) {
    return SettingConflict{"pixelSize", pixelSize,
                           "with a support area of " + numberText(area) +
                               " mm2 it must be at most " +
                               roundedDown(std::sqrt(area / leastSupportArea)) +
                               " mm; coarser pixels need a larger support area"};
  }
  if (isTooSmall || area > mostArea) {
    return SettingConflict{"supportArea", area,
                           pixel + " it must be from " + roundedUp(leastArea) + " mm2, which is " +
                               numberText(leastSupportArea) + " pixels, to " +
                               roundedDown(mostArea) + " mm2"};
  }

  const double mostHeight = std::min(mostMinimumHeight, mostLayersBelow * layerHeight);
  const bool isDefaultHeight = print.minimumHeight == PrintSettings().minimumHeight;
  if (print.minimumHeight > mostHeight && !isDefaultHeight) {
    return SettingConflict{"minimumHeight", print.minimumHeight,
                           "at a layer height of " + numberText(layerHeight) +
                               " mm it must be from 0 to " + roundedDown(mostHeight) + " mm"};
  }
  // Further apart they could not hold what they are wanted for.
  const double mostSpacing = std::sqrt(area);
  if (print.minimumSpacing && *print.minimumSpacing > mostSpacing * (1 + slack)) {
    return SettingConflict{"minimumSpacing", *print.minimumSpacing,
                           "with a support area of " + numberText(area) +
                               " mm2 it must be from 0 to " + roundedDown(mostSpacing) + " mm"};
  }
  return std::nullopt;
}

}  // namespace stiltforge
