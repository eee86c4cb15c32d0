#include "slicing/channel_falloff.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "runtime/number_text.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {

namespace {

// Distances that differ only by the rounding of their division count as equal: 0.15 mm at 0.05 mm a
// pixel reaches the third pixel.
constexpr double roundingSlack = 1 + 1e-9;

// Sum of the Taylor series that starts with `term`: sine from x, cosine from 1. |x| <= pi / 4.
double alternatingSeries(double term, double squaredX, int firstFactor) {
  double sum = 0;
  for (int factor = firstFactor; factor < 24; factor += 2) {
    sum += term;
    term *= -squaredX / (factor * (factor + 1));
  }
  return sum;
}

void requireDistance(double value, double pixelSize, const char* what) {
  if (!std::isfinite(value) || value < 0) {
    throw SlicingError(std::string("The ") + what + " is " + numberText(value) +
                       "; it must be a number of millimetres that is not negative.");
  }
  if (value / pixelSize > ChannelFalloff::longestReachInPixels) {
    throw SlicingError(std::string("The ") + what + " is " + numberText(value) + " mm, which is " +
                       numberText(value / pixelSize) + " pixels; the limit is " +
                       std::to_string(ChannelFalloff::longestReachInPixels) +
                       " pixels. Choose a shorter one or larger pixels.");
  }
}

// 255 up to `full`, falling linearly to 0 at `zero`; distances in pixels. The bytes never rise, so
// the end of each is found by bisection: long reaches have millions of entries.
std::vector<uint8_t> makeTable(double full, double zero) {
  full *= roundingSlack;
  const auto byteAt = [&](std::size_t squared) -> uint8_t {
    const double distance = std::sqrt(static_cast<double>(squared));
    if (distance <= full) return 255;
    if (distance >= zero) return 0;
    const double value = 255 * (zero - distance) / (zero - full);
    return static_cast<uint8_t>(std::min(254.0, value + 0.5));
  };
  const double longest = std::max(full, zero);
  const auto entries = static_cast<std::size_t>(longest * longest) + 1;
  std::vector<uint8_t> table;
  table.reserve(entries);
  while (table.size() < entries) {
    const uint8_t value = byteAt(table.size());
    if (value == 0) break;
    std::size_t last = table.size();
    for (std::size_t end = entries; end - last > 1;) {
      const std::size_t middle = last + (end - last) / 2;
      (byteAt(middle) == value ? last : end) = middle;
    }
    table.resize(last + 1, value);
  }
  return table;
}

}  // namespace

int fullReachOf(const std::vector<uint8_t>& falloff) {
  int reach = 0;
  while (valueAt(falloff, (reach + 1) * (reach + 1)) == 255) ++reach;
  return reach;
}

int reachOf(const std::vector<uint8_t>& falloff) {
  int reach = 0;
  while (static_cast<std::size_t>(reach + 1) * static_cast<std::size_t>(reach + 1) <
         falloff.size()) {
    ++reach;
  }
  return reach;
}

double tangentOfDegrees(double degrees) {
  if (degrees > 45) {
    const double complement = tangentOfDegrees(90 - degrees);
    return complement == 0 ? std::numeric_limits<double>::infinity() : 1 / complement;
  }
  if (degrees == 45) return 1;
  constexpr double radiansPerDegree = 0.017453292519943295;
  const double x = degrees * radiansPerDegree;
  return alternatingSeries(x, x * x, 2) / alternatingSeries(1, x * x, 1);
}

ChannelFalloff::ChannelFalloff(const ChannelSettings& settings) {
  requirePositive(settings.layerHeight, "layer height");
  requirePositive(settings.pixelSize, "pixel size");
  if (!(settings.criticalAngle > 0 && settings.criticalAngle <= 90)) {
    throw SlicingError("The critical overhang angle is " + numberText(settings.criticalAngle) +
                       " degrees; it must be above 0 and at most 90, measured from the plate.");
  }
  const double reach = settings.layerHeight / tangentOfDegrees(settings.criticalAngle);
  const double fullOverhang =
      settings.fullOverhang.value_or(std::max(ChannelSettings::leastFullOverhang, 2 * reach));
  requireDistance(reach, settings.pixelSize, "self-supporting reach");
  requireDistance(fullOverhang, settings.pixelSize, "full overhang distance");
  requireDistance(settings.inset, settings.pixelSize, "inset");
  support = makeTable(reach / settings.pixelSize, fullOverhang / settings.pixelSize);
  stroke = makeTable(0, settings.inset / settings.pixelSize);
}

}  // namespace stiltforge::slicing
