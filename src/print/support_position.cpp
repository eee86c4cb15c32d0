#include "print/support_position.h"

#include "print/rounding.h"

namespace stiltforge {

namespace {

// To the micrometre: beyond it are only the digits of binary fractions. No negative zeros.
double toMicrometre(double millimetres) {
  return roundedHalfUp(1000 * millimetres) / 1000 + 0.0;
}

}  // namespace

SupportPosition positionOf(uint32_t x, uint32_t y, uint32_t layer,
                           const slicing::ScreenPlacement& placement, double plateZ,
                           double layerHeight) {
  SupportPosition position;
  position.column = static_cast<uint32_t>(placement.cropX) + x;
  position.row = static_cast<uint32_t>(placement.cropY) + y;
  position.x = toMicrometre(placement.originX + (position.column + 0.5) * placement.pixelSize);
  position.y = toMicrometre(placement.originY - (position.row + 0.5) * placement.pixelSize);
  position.z = toMicrometre(plateZ + layer * layerHeight);
  return position;
}

}  // namespace stiltforge
