#pragma once

#include <cstdint>
#include <optional>

#include "slicing/slicer.h"

namespace stiltforge {

/// A print as a person describes it: the printer, how the part is cut for it, and where supports
/// are wanted. The defaults are the command's; docs/parameters.md gives the reasons.
struct PrintSettings {
  double layerHeight = 0.05;     ///< mm
  double pixelSize = 0.05;       ///< mm, side of the square pixels
  uint32_t screenWidth = 3840;   ///< pixels
  uint32_t screenHeight = 2400;  ///< pixels
  double offsetX = 0;            ///< mm from the screen's centre to the centre of the part's box
  double offsetY = 0;            ///< mm, likewise
  double lift = 0;               ///< mm from the plate to the part's lowest point
  uint32_t margin = 2;           ///< pixels around the part, so that its contour is one everywhere

  /// Degrees between the plate and a surface that just carries itself.
  double criticalAngle = 45;
  /// mm beyond the material below from where on a pixel hangs free; unless set it follows from the
  /// angle, see slicing::ChannelSettings.
  std::optional<double> fullOverhang;
  double inset = 0.4;          ///< mm from the contour inwards where supports are avoided
  double supportArea = 15;     ///< mm2 of a layer that one support holds
  double minimumHeight = 0.2;  ///< mm from the plate or the part to where a support fits
  /// mm between supports of the same region, at least; unless set it follows from the area.
  std::optional<double> minimumSpacing;
  /// mm, of the layer on the plate, for the room below supports; as the others unless set.
  std::optional<double> firstLayerHeight;
};

/// What the slicer needs of it.
slicing::SlicerSettings slicerSettings(const PrintSettings& print);

}  // namespace stiltforge
