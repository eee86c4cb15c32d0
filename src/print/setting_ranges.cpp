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
  if (print.firstLayerHeight && !isLength(*print.firstLayerHeight)) {
    return SettingConflict{"firstLayerHeight", *print.firstLayerHeight, length};
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

std::string atPixelSize(const PrintSettings& print) {
  return "at a pixel size of " + numberText(print.pixelSize) + " mm";
}

std::optional<SettingConflict> findPixelConflict(const PrintSettings& print) {
  const double finestPixel = slicing::ChannelSettings::leastFullOverhang / longestDistance;
  if (print.pixelSize >= finestPixel) return std::nullopt;
  return SettingConflict{"pixelSize", print.pixelSize,
                         "it must be at least " + roundedUp(finestPixel) + " mm"};
}

// The support value falls to 0 at twice the self-supporting reach.
std::optional<SettingConflict> findReachConflict(const PrintSettings& print) {
  const double layerHeight = print.layerHeight;
  const double longestReach = longestDistance / 2 * print.pixelSize;
  const double highestLayer = longestReach * slicing::tangentOfDegrees(print.criticalAngle);
  if (layerHeight <= highestLayer) return std::nullopt;
  if (layerHeight > longestReach) {
    return SettingConflict{"layerHeight", layerHeight,
                           atPixelSize(print) + " and a critical angle of " +
                               numberText(print.criticalAngle) + " degrees it must be at most " +
                               roundedDown(highestLayer) + " mm"};
  }
  constexpr double degreesPerRadian = 57.29577951308232;
  const double leastAngle = std::atan(layerHeight / longestReach) * degreesPerRadian;
  return SettingConflict{"criticalAngle", print.criticalAngle,
                         atPixelSize(print) + " and a layer height of " + numberText(layerHeight) +
                             " mm it must be at least " + roundedUp(leastAngle) + " degrees"};
}

std::optional<SettingConflict> findDistanceConflict(const PrintSettings& print) {
  const double longest = longestDistance * print.pixelSize;
  const auto reachesTooFar = [&](const char* setting, double value) {
    return SettingConflict{
        setting, value,
        atPixelSize(print) + " it must be from 0 to " + roundedDown(longest) + " mm"};
  };
  if (print.inset > longest) return reachesTooFar("inset", print.inset);
  if (print.fullOverhang && *print.fullOverhang > longest) {
    return reachesTooFar("fullOverhang", *print.fullOverhang);
  }
  return std::nullopt;
}

std::optional<SettingConflict> findAreaConflict(const PrintSettings& print) {
  const double area = print.supportArea;
  const double pixelArea = print.pixelSize * print.pixelSize;
  const double leastArea = leastSupportArea * pixelArea;
  const double mostArea = mostSupportArea * pixelArea;
  const bool isTooSmall = area < leastArea * (1 - slack);
  if (isTooSmall && area == PrintSettings().supportArea) {
    return SettingConflict{"pixelSize", print.pixelSize,
                           "with a support area of " + numberText(area) +
                               " mm2 it must be at most " +
                               roundedDown(std::sqrt(area / leastSupportArea)) +
                               " mm; coarser pixels need a larger support area"};
  }
  if (!isTooSmall && area <= mostArea) return std::nullopt;
  return SettingConflict{"supportArea", area,
                         atPixelSize(print) + " it must be from " + roundedUp(leastArea) +
                             " mm2, which is " + numberText(leastSupportArea) + " pixels, to " +
                             roundedDown(mostArea) + " mm2"};
}

std::optional<SettingConflict> findHeightConflict(const PrintSettings& print) {
  const double most = std::min(mostMinimumHeight, mostLayersBelow * print.layerHeight);
  const bool isDefault = print.minimumHeight == PrintSettings().minimumHeight;
  if (print.minimumHeight <= most || isDefault) return std::nullopt;
  return SettingConflict{"minimumHeight", print.minimumHeight,
                         "at a layer height of " + numberText(print.layerHeight) +
                             " mm it must be from 0 to " + roundedDown(most) + " mm"};
}

// Further apart they could not hold what they are wanted for.
std::optional<SettingConflict> findSpacingConflict(const PrintSettings& print) {
  const double most = std::sqrt(print.supportArea);
  if (!print.minimumSpacing || *print.minimumSpacing <= most * (1 + slack)) return std::nullopt;
  return SettingConflict{"minimumSpacing", *print.minimumSpacing,
                         "with a support area of " + numberText(print.supportArea) +
                             " mm2 it must be from 0 to " + roundedDown(most) + " mm"};
}

}  // namespace

std::optional<SettingConflict> findConflict(const PrintSettings& print) {
  for (const auto find : {findSenseless, findPixelConflict, findReachConflict, findDistanceConflict,
                          findAreaConflict, findHeightConflict, findSpacingConflict}) {
    if (auto conflict = find(print)) return conflict;
  }
  return std::nullopt;
}

}  // namespace stiltforge
