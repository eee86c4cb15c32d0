#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "capi/lists.h"
#include "capi/print_settings.h"
#include "capi/structure.h"
#include "capi/watched_work.h"
#include "orient/search.h"
#include "runtime/number_text.h"

namespace stiltforge::capi {

static_assert(int{STILTFORGE_AS_IT_IS} == static_cast<int>(orient::Origin::asItIs));
static_assert(int{STILTFORGE_FLAT_SIDE} == static_cast<int>(orient::Origin::flatSide));
static_assert(int{STILTFORGE_SPREAD} == static_cast<int>(orient::Origin::spread));
static_assert(int{STILTFORGE_NEARBY} == static_cast<int>(orient::Origin::nearby));

template <>
inline constexpr std::size_t firstSize<stiltforge_orient_settings> =
    offsetof(stiltforge_orient_settings, at_once) + sizeof(uint32_t);

template <>
inline constexpr std::size_t firstSize<stiltforge_orientations_info> =
    offsetof(stiltforge_orientations_info, layer_height) + sizeof(double);

namespace {

constexpr double mostWeight = 1e6;
// No search needs more, and each costs a slicing of the mesh.
constexpr uint32_t mostDirections = 100000;
constexpr uint32_t mostListed = 1000;
constexpr uint32_t mostAtOnce = 1000;

double readWeight(double given, const char* field) {
  if (given >= 0 && given <= mostWeight) return given;
  throw InvalidArgument(std::string("settings->") + field + " is " + numberText(given) +
                        "; it must be from 0 to 1,000,000");
}

std::optional<slicing::Vector> readDirection(const double (&given)[3]) {
  const slicing::Vector v{given[0], given[1], given[2]};
  if (v.x == 0 && v.y == 0 && v.z == 0) return std::nullopt;
  const double length = std::sqrt(dot(v, v));
  if (length > 0 && std::isfinite(length)) return v;
  throw InvalidArgument(
      "settings->keep_clean is no direction; it must be three finite numbers, neither vast nor "
      "tiny, or 0, 0, 0 for none");
}

void readSettings(const stiltforge_orient_settings* given, orient::SearchSettings& settings) {
  if (!given) return;
  const stiltforge_orient_settings own = readStructure(given, "settings");
  settings.weights.points = readWeight(own.supports_weight, "supports_weight");
  settings.weights.overhang = readWeight(own.overhang_weight, "overhang_weight");
  settings.weights.islands = readWeight(own.islands_weight, "islands_weight");
  settings.weights.height = readWeight(own.height_weight, "height_weight");
  settings.weights.cups = readWeight(own.cups_weight, "cups_weight");
  settings.weights.marks = readWeight(own.marks_weight, "marks_weight");
  settings.keepClean = readDirection(own.keep_clean);
  requireRange(own.directions, "settings->directions", 1, mostDirections);
  requireRange(own.listed, "settings->listed", 1, mostListed);
  requireRange(own.confirm, "settings->confirm", 0, 1);
  requireRange(own.at_once, "settings->at_once", 1, mostAtOnce);
  settings.spread = own.directions;
  settings.listed = own.listed;
  settings.confirm = own.confirm != 0;
  settings.atOnce = own.at_once;
}

stiltforge_orientation toOrientation(const orient::Orientation& found,
                                     stiltforge_orientations& handle) {
  stiltforge_orientation orientation{};
  orientation.turn = {found.turn.x, found.turn.y, found.turn.z};
  orientation.origin = static_cast<uint32_t>(found.origin);
  orientation.islands = found.measures.islands;
  orientation.first_support = handle.supports.size();
  orientation.support_count = found.supports.size();
  orientation.overhang = found.measures.overhang;
  orientation.height = found.measures.height;
  orientation.cups = found.measures.cups;
  orientation.marks = found.measures.marks;
  orientation.cost = found.cost;
  for (const orient::Support& support : found.supports) {
    stiltforge_point point{};
    point.x = support.x;
    point.y = support.y;
    point.z = support.z;
    point.island = support.isIsland ? 1 : 0;
    handle.supports.push_back(point);
  }
  return orientation;
}

std::unique_ptr<stiltforge_orientations> toHandle(const orient::SearchResult& found) {
  auto handle = std::make_unique<stiltforge_orientations>();
  for (const orient::Orientation& orientation : found.best) {
    handle->best.push_back(toOrientation(orientation, *handle));
  }
  if (found.asItIs) handle->asItIs = toOrientation(*found.asItIs, *handle);
  handle->info.tried = found.tried;
  handle->info.pixel_size = found.pixelSize;
  handle->info.layer_height = found.layerHeight;
  return handle;
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;
namespace orient = stiltforge::orient;

stiltforge_status stiltforge_orient_settings_init(stiltforge_orient_settings* settings,
                                                  stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const orient::SearchSettings defaults;
    stiltforge_orient_settings filled{};
    filled.supports_weight = defaults.weights.points;
    filled.overhang_weight = defaults.weights.overhang;
    filled.islands_weight = defaults.weights.islands;
    filled.height_weight = defaults.weights.height;
    filled.cups_weight = defaults.weights.cups;
    filled.marks_weight = defaults.weights.marks;
    filled.directions = defaults.spread;
    filled.listed = defaults.listed;
    filled.confirm = defaults.confirm ? 1 : 0;
    filled.at_once = defaults.atOnce;
    capi::writeStructure(settings, filled, "settings");
  });
}

stiltforge_status stiltforge_orientations_create(
    const stiltforge_mesh* mesh, const stiltforge_print_settings* print,
    const stiltforge_orient_settings* settings, stiltforge_cancel_token* cancel,
    stiltforge_progress_callback on_progress, void* context, stiltforge_orientations** orientations,
    stiltforge_error* error) {
  return capi::guardedCreation(
      __func__, orientations, "orientations", error, [&](const capi::DefaultFloats& floats) {
        const capi::WorkerUse workers;
        const capi::Reading read(mesh, "mesh");
        orient::SearchSettings asked;
        asked.print = capi::readPrintSettings(print, "print");
        // Where a part would stand on the screen is another question, and coarser layers have no
        // first one of its own.
        const stiltforge::PrintSettings defaults;
        asked.print.offsetX = defaults.offsetX;
        asked.print.offsetY = defaults.offsetY;
        asked.print.margin = defaults.margin;
        asked.print.firstLayerHeight = defaults.firstLayerHeight;
        capi::readSettings(settings, asked);

        orient::SearchResult found;
        capi::doWatched({cancel, on_progress, context}, floats,
                        [&](const capi::Progress& progress, const std::atomic<bool>* cancelled) {
                          found = orient::search(read->positions, asked, progress, cancelled);
                        });
        return capi::toHandle(found);
      });
}

const stiltforge_orientation* stiltforge_orientations_best(
    const stiltforge_orientations* orientations, size_t* count) {
  return capi::listOf(orientations, &stiltforge_orientations::best, count);
}

const stiltforge_orientation* stiltforge_orientations_as_it_is(
    const stiltforge_orientations* orientations) {
  const bool hasIt = capi::checked(orientations) && orientations->asItIs;
  return hasIt ? &*orientations->asItIs : nullptr;
}

const stiltforge_point* stiltforge_orientations_supports(
    const stiltforge_orientations* orientations, size_t* count) {
  return capi::listOf(orientations, &stiltforge_orientations::supports, count);
}

stiltforge_status stiltforge_orientations_get_info(const stiltforge_orientations* orientations,
                                                   stiltforge_orientations_info* info,
                                                   stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(orientations, "orientations");
    capi::writeStructure(info, orientations->info, "info");
  });
}

void stiltforge_orientations_destroy(stiltforge_orientations* orientations) {
  capi::destroy(orientations);
}
