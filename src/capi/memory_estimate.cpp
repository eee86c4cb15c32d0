#include "model/memory_estimate.h"

#include <cstddef>

#include "capi/boundary.h"
#include "capi/refusal.h"
#include "capi/slice_size.h"
#include "capi/structure.h"
#include "runtime/number_text.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_model_size> = offsetof(stiltforge_model_size,
                                                                         ghosts_per_group) +
                                                                sizeof(uint32_t);

template <>
inline constexpr std::size_t firstSize<stiltforge_memory_estimate> =
    offsetof(stiltforge_memory_estimate, fixed) + sizeof(uint64_t);

namespace {

// Beyond any machine's memory.
constexpr double most = 1e15;

void requireNumber(double value, const char* name) {
  if (value >= 0 && value <= most) return;
  throw InvalidArgument(std::string("size->") + name + " is " + numberText(value) +
                        "; it must be from 0 to 1e15");
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_model_size_init(stiltforge_model_size* size, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const stiltforge::ModelSize defaults;
    stiltforge_model_size filled{};
    filled.queued_slices = defaults.queuedSlices;
    filled.groups_per_layer = defaults.regionsPerLayer;
    filled.unsupported_share = defaults.unsupportedShare;
    filled.ghosts_per_group = defaults.ghostsPerRegion;
    capi::writeStructure(size, filled, "size");
  });
}

stiltforge_status stiltforge_estimate_memory(const stiltforge_model_size* size,
                                             stiltforge_memory_estimate* estimate,
                                             stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const stiltforge_model_size given = capi::readStructure(size, "size");
    capi::requireRange(given.width, "size->width", 1, capi::longestSliceSide);
    capi::requireRange(given.height, "size->height", 1, capi::longestSliceSide);
    capi::requireNumber(given.ghost_radius, "ghost_radius");
    capi::requireNumber(given.pixels_per_support, "pixels_per_support");
    capi::requireNumber(given.unsupported_share, "unsupported_share");
    stiltforge::ModelSize model;
    model.width = static_cast<uint16_t>(given.width);
    model.height = static_cast<uint16_t>(given.height);
    model.layers = given.layers;
    model.needBuffer = given.buffers != 0;
    model.ghostRadius = static_cast<float>(given.ghost_radius);
    model.queuedSlices = given.queued_slices;
    model.regionsPerLayer = given.groups_per_layer;
    model.supports = given.supports;
    model.pixelsPerSupport = given.pixels_per_support;
    model.unsupportedShare = given.unsupported_share;
    model.ghostsPerRegion = given.ghosts_per_group;

    const stiltforge::MemoryEstimate predicted = estimateMemory(model);
    stiltforge_memory_estimate filled{};
    filled.total = predicted.total();
    filled.slices = predicted.slices;
    filled.groups = predicted.regions;
    filled.placement = predicted.placement;
    filled.history = predicted.history;
    filled.fixed = predicted.fixed;
    capi::writeStructure(estimate, filled, "estimate");
  });
}
