#include "capi/print_settings.h"

#include <string>

#include "capi/boundary.h"
#include "capi/field_name.h"
#include "print/setting_ranges.h"
#include "runtime/number_text.h"

namespace stiltforge::capi {

namespace {

constexpr uint32_t longestScreenSide = 65535;

}  // namespace

PrintSettings readPrintSettings(const stiltforge_print_settings* settings, const char* name) {
  const stiltforge_print_settings given = readStructure(settings, name);
  PrintSettings print;
  print.layerHeight = given.layer_height;
  print.pixelSize = given.pixel_size;
  print.screenWidth = given.screen_width;
  print.screenHeight = given.screen_height;
  print.offsetX = given.offset_x;
  print.offsetY = given.offset_y;
  print.margin = given.margin;
  print.criticalAngle = given.critical_angle;
  if (!(given.full_overhang < 0)) print.fullOverhang = given.full_overhang;
  print.inset = given.inset;
  print.supportArea = given.support_area;
  print.lift = given.lift;
  print.minimumHeight = given.minimum_height;
  if (!(given.minimum_spacing < 0)) print.minimumSpacing = given.minimum_spacing;
  if (given.first_layer_height != 0) print.firstLayerHeight = given.first_layer_height;

  const std::string prefix = std::string(name) + "->";
  requireRange(print.screenWidth, (prefix + "screen_width").c_str(), 1, longestScreenSide);
  requireRange(print.screenHeight, (prefix + "screen_height").c_str(), 1, longestScreenSide);
  if (const auto conflict = findConflict(print)) {
    throw InvalidArgument(prefix + fieldName(conflict->setting) + " is " +
                          numberText(conflict->value) + ": " + conflict->range);
  }
  return print;
}

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_print_settings_init(stiltforge_print_settings* settings,
                                                 stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const stiltforge::PrintSettings defaults;
    stiltforge_print_settings filled{};
    filled.layer_height = defaults.layerHeight;
    filled.pixel_size = defaults.pixelSize;
    filled.screen_width = defaults.screenWidth;
    filled.screen_height = defaults.screenHeight;
    filled.offset_x = defaults.offsetX;
    filled.offset_y = defaults.offsetY;
    filled.margin = defaults.margin;
    filled.critical_angle = defaults.criticalAngle;
    filled.full_overhang = -1;
    filled.inset = defaults.inset;
    filled.support_area = defaults.supportArea;
    filled.lift = defaults.lift;
    filled.minimum_height = defaults.minimumHeight;
    filled.minimum_spacing = -1;
    capi::writeStructure(settings, filled, "settings");
  });
}
