#pragma once

#include <cstdint>

#include "slicing/plane_crossing.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// The largest crop, pixels a side.
inline constexpr int longestCropSide = 65535;

/// The printer's screen and where on it the model stands.
struct ScreenSettings {
  double pixelSize = 0;  ///< mm, side of the square pixels
  uint32_t width = 0;    ///< pixels
  uint32_t height = 0;   ///< pixels
  double offsetX = 0;    ///< mm from the screen's centre to the centre of the model's box, +x
  double offsetY = 0;    ///< mm, likewise, +y
  uint32_t margin = 0;   ///< pixels left free around the model's box, as far as the screen reaches
};

/// The part of the screen that the slices show, and how model coordinates map to it.
///
/// Seen from above the plate, columns run along +x and rows against +y: row 0 of the screen is at
/// the largest y, as a picture of the plate is drawn. The centre of pixel (column, row) of the
/// screen lies at
///   x = originX + (column + 0.5) * pixelSize,  y = originY - (row + 0.5) * pixelSize
/// in the model's own coordinates.
struct ScreenPlacement {
  double pixelSize = 0;
  double originX = 0;  ///< mm, model coordinates of the screen's outer corner at column 0, row 0
  double originY = 0;
  int cropX = 0;   ///< screen column of the crop's first column
  int cropY = 0;   ///< screen row of the crop's first row
  int width = 0;   ///< pixels of the crop
  int height = 0;  ///< pixels of the crop

  /// Throws SlicingError when a setting is out of range, the model stands out of the screen (by how
  /// much and where) or the crop would be larger than longestCropSide.
  ScreenPlacement(const Bounds& model, const ScreenSettings& screen);

  /// From model millimetres to pixels of the crop, both axes running as columns and rows do.
  Point toCrop(const Point& model) const {
    return {(model.x - originX) / pixelSize - cropX, (originY - model.y) / pixelSize - cropY};
  }
};

}  // namespace stiltforge::slicing
