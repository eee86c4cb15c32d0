#include "print/print_settings.h"

namespace stiltforge {

slicing::SlicerSettings slicerSettings(const PrintSettings& print) {
  slicing::SlicerSettings settings;
  settings.screen.pixelSize = print.pixelSize;
  settings.screen.width = print.screenWidth;
  settings.screen.height = print.screenHeight;
  settings.screen.offsetX = print.offsetX;
  settings.screen.offsetY = print.offsetY;
  settings.screen.margin = print.margin;
  settings.channels.layerHeight = print.layerHeight;
  settings.channels.criticalAngle = print.criticalAngle;
  settings.channels.fullOverhang = print.fullOverhang;
  settings.channels.inset = print.inset;
  settings.lift = print.lift;
  return settings;
}

}  // namespace stiltforge
