#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace stiltforge::slicing {

/// What the blue and green bytes of a slice mean, in physical units.
struct ChannelSettings {
  double layerHeight = 0;  ///< mm
  double pixelSize = 0;    ///< mm
  /// Degrees between the plate and a surface that just carries itself, in (0, 90].
  double criticalAngle = 45;
  /// mm beyond the material below at which a pixel counts as not supported at all. Unless set:
  /// leastFullOverhang, or twice the self-supporting reach where that is more.
  std::optional<double> fullOverhang;
  /// mm from the contour inwards at which the stroke value has fallen to 0.
  double inset = 0.4;

  static constexpr double leastFullOverhang = 0.5;  ///< mm
};

/// Channel bytes by squared distance in pixels, which is a whole number: nothing is rounded before
/// the byte itself. Beyond the last entry the byte is 0.
struct ChannelFalloff {
  /// Support value by the distance to the nearest material pixel of the layer below: 255 up to the
  /// self-supporting reach layerHeight / tan(criticalAngle), then linear and at most 254, 0 from
  /// the full overhang on. A full overhang within the reach makes the fall a step at the reach.
  std::vector<uint8_t> support;
  /// Stroke value by the distance to the nearest contour pixel: 255 on it, linear, 0 from the inset
  /// on.
  std::vector<uint8_t> stroke;

  /// Throws SlicingError when a setting is out of its range, or a distance longer than
  /// longestReachInPixels.
  explicit ChannelFalloff(const ChannelSettings& settings);

  static constexpr int longestReachInPixels = 4096;
};

/// The byte at this squared distance.
inline uint8_t valueAt(const std::vector<uint8_t>& falloff, int32_t squaredDistance) {
  const auto entry = static_cast<std::size_t>(squaredDistance);
  return entry < falloff.size() ? falloff[entry] : 0;
}
/// The longest distance, in whole pixels, at which the byte is still 255.
int fullReachOf(const std::vector<uint8_t>& falloff);
/// The longest for which there is an entry.
int reachOf(const std::vector<uint8_t>& falloff);

/// Tangent of an angle in degrees, [0, 90], the same on every platform: only basic arithmetic.
/// Infinite at 90.
double tangentOfDegrees(double degrees);

}  // namespace stiltforge::slicing
