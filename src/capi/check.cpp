#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "capi/boundary.h"
#include "capi/check_report.h"
#include "capi/handles.h"
#include "capi/model_step.h"
#include "capi/structure.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_check_settings> =
    offsetof(stiltforge_check_settings, island_height) + sizeof(double);

namespace {

stiltforge_check_settings defaultSettings() {
  const check::CheckSettings defaults;
  const PrintSettings print;
  stiltforge_check_settings settings{};
  settings.layer_height = print.layerHeight;
  settings.pixel_width = settings.pixel_height = print.pixelSize;
  settings.first_layer_height = -1;
  settings.screen_width = print.screenWidth;
  settings.screen_height = print.screenHeight;
  settings.critical_angle = defaults.criticalAngle;
  settings.near_reach = defaults.nearReach;
  settings.far_reach = defaults.farReach;
  settings.island_height = defaults.islandHeight;
  return settings;
}

check::CheckSettings readSettings(const stiltforge_check_settings* given) {
  const stiltforge_check_settings own = readStructure(given, "settings");
  check::CheckSettings settings;
  settings.layerHeight = own.layer_height;
  settings.pixelWidth = own.pixel_width;
  settings.pixelHeight = own.pixel_height;
  if (!(own.first_layer_height < 0)) settings.firstLayerHeight = own.first_layer_height;
  settings.screenWidth = own.screen_width;
  settings.screenHeight = own.screen_height;
  settings.cropX = own.crop_x;
  settings.cropY = own.crop_y;
  settings.liftedLayers = own.lifted_layers;
  settings.criticalAngle = own.critical_angle;
  settings.nearReach = own.near_reach;
  settings.farReach = own.far_reach;
  settings.islandHeight = own.island_height;
  return settings;
}

std::vector<check::SupportPoint> readSupports(const stiltforge_support* supports,
                                              std::size_t count) {
  if (count > 0) requireArgument(supports, "supports");
  std::vector<check::SupportPoint> points;
  points.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string name = "supports[" + std::to_string(i) + "].";
    constexpr uint64_t most = std::numeric_limits<uint16_t>::max();
    requireRange(supports[i].x, (name + "x").c_str(), 0, most);
    requireRange(supports[i].y, (name + "y").c_str(), 0, most);
    points.push_back({supports[i].layer, static_cast<uint16_t>(supports[i].x),
                      static_cast<uint16_t>(supports[i].y)});
  }
  return points;
}

void requireOpen(const stiltforge_check& check) {
  if (check.isStopped) {
    throw Refusal(STILTFORGE_STOPPED, "an earlier call failed half-way after " +
                                          std::to_string(check.layerCount) +
                                          " layers, so the check is of no use; make a new one");
  }
  if (check.isFinished) throw InvalidArgument("check is finished; make a new one");
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_check_settings_init(stiltforge_check_settings* settings,
                                                 stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::writeStructure(settings, capi::defaultSettings(), "settings");
  });
}

stiltforge_status stiltforge_check_settings_init_for_slicer(stiltforge_check_settings* settings,
                                                            const stiltforge_slicer* slicer,
                                                            stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(slicer, "slicer");
    const stiltforge::PrintSettings& print = slicer->print;
    const stiltforge::slicing::ScreenPlacement& placement = slicer->slicer.placement();
    stiltforge_check_settings filled = capi::defaultSettings();
    filled.layer_height = print.layerHeight;
    filled.pixel_width = filled.pixel_height = print.pixelSize;
    filled.screen_width = print.screenWidth;
    filled.screen_height = print.screenHeight;
    filled.crop_x = static_cast<uint32_t>(placement.cropX);
    filled.crop_y = static_cast<uint32_t>(placement.cropY);
    filled.critical_angle = print.criticalAngle;
    // Layers whose middle lies below the part.
    const double lifted = std::ceil(print.lift / print.layerHeight - 0.5);
    filled.lifted_layers =
        lifted < capi::mostLayers ? static_cast<uint32_t>(std::max(0.0, lifted)) : capi::mostLayers;
    capi::writeStructure(settings, filled, "settings");
  });
}

stiltforge_status stiltforge_check_create(const stiltforge_check_settings* settings,
                                          const stiltforge_support* supports, size_t count,
                                          stiltforge_check** check, stiltforge_error* error) {
  return capi::guardedCreation(__func__, check, "check", error, [&] {
    const stiltforge::check::CheckSettings usable = capi::readSettings(settings);
    std::vector<stiltforge::check::SupportPoint> points = capi::readSupports(supports, count);
    try {
      return std::make_unique<stiltforge_check>(usable, std::move(points));
    } catch (const std::invalid_argument& unusable) {
      throw capi::InvalidArgument(std::string("settings cannot be used: ") + unusable.what());
    }
  });
}

stiltforge_status stiltforge_check_add(stiltforge_check* check, const stiltforge_slice* slice,
                                       stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing checked(check, "check");
    const capi::Reading read(slice, "slice");
    capi::requireOpen(*checked);
    if (checked->layerCount == capi::mostLayers) {
      throw capi::InvalidArgument("check has " + std::to_string(capi::mostLayers) +
                                  " layers, which is the most");
    }
    try {
      checked->print.add(read->slice.material, read->slice.width);
    } catch (const std::invalid_argument& refused) {
      throw capi::InvalidArgument(std::string("slice cannot be added: ") + refused.what());
    } catch (...) {
      checked->isStopped = true;
      throw;
    }
    ++checked->layerCount;
  });
}

uint32_t stiltforge_check_layer_count(const stiltforge_check* check) {
  return check && check->isOf(stiltforge_check::kind) ? check->layerCount.load() : 0;
}

stiltforge_status stiltforge_check_finish(stiltforge_check* check, stiltforge_check_report** report,
                                          stiltforge_error* error) {
  return capi::guardedCreation(__func__, report, "report", error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing checked(check, "check");
    capi::requireOpen(*checked);
    try {
      auto created = capi::reportOf(checked->print.finish());
      checked->isFinished = true;
      return created;
    } catch (...) {
      checked->isStopped = true;
      throw;
    }
  });
}

void stiltforge_check_destroy(stiltforge_check* check) {
  capi::destroy(check);
}
