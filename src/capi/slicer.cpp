#include <cstddef>
#include <memory>
#include <string>

#include "capi/boundary.h"
#include "capi/filled_slices.h"
#include "capi/handles.h"
#include "capi/print_settings.h"
#include "capi/structure.h"
#include "print/analysis_parameters.h"
#include "print/support_position.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_slicer_info> = offsetof(stiltforge_slicer_info,
                                                                          layer_height) +
                                                                 sizeof(double);

template <>
inline constexpr std::size_t firstSize<stiltforge_mesh_report> = offsetof(stiltforge_mesh_report,
                                                                          max) +
                                                                 3 * sizeof(double);

namespace {

void write(const slicing::Vertex& vertex, double* target) {
  target[0] = vertex.x;
  target[1] = vertex.y;
  target[2] = vertex.z;
}

stiltforge_mesh_report toReport(const slicing::MeshReport& report) {
  stiltforge_mesh_report filled{};
  filled.triangles = report.triangles;
  filled.vertices = report.vertices;
  filled.degenerate_triangles = report.degenerateTriangles;
  filled.open_edges = report.openEdges;
  filled.non_manifold_edges = report.nonManifoldEdges;
  filled.misoriented_edges = report.misorientedEdges;
  filled.parts = report.parts;
  filled.open_parts = report.openParts;
  filled.flipped_parts = report.flippedParts;
  filled.cavities = report.cavities;
  filled.signed_volume = report.signedVolume;
  filled.expected_volume = report.expectedVolume;
  write(report.bounds.min, filled.min);
  write(report.bounds.max, filled.max);
  return filled;
}

void requireWithin(const stiltforge_support& support, std::size_t index,
                   const stiltforge_slicer& slicer) {
  const auto require = [&](uint32_t value, const char* field, uint32_t limit) {
    if (value < limit) return;
    throw InvalidArgument("supports[" + std::to_string(index) + "]." + field + " is " +
                          std::to_string(value) + "; the slicer's go from 0 to " +
                          std::to_string(limit - 1));
  };
  require(support.x, "x", static_cast<uint32_t>(slicer.slicer.placement().width));
  require(support.y, "y", static_cast<uint32_t>(slicer.slicer.placement().height));
  require(support.layer, "layer", slicer.slicer.layerCount());
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_slicer_create(const stiltforge_mesh* mesh,
                                           const stiltforge_print_settings* settings,
                                           stiltforge_slicer** slicer, stiltforge_error* error) {
  return capi::guardedCreation(__func__, slicer, "slicer", error, [&] {
    const capi::WorkerUse workers;
    const capi::Reading read(mesh, "mesh");
    const stiltforge::PrintSettings print = capi::readPrintSettings(settings, "settings");
    return std::make_unique<stiltforge_slicer>(read->positions, print);
  });
}

stiltforge_status stiltforge_slicer_get_info(const stiltforge_slicer* slicer,
                                             stiltforge_slicer_info* info,
                                             stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(slicer, "slicer");
    const stiltforge::slicing::ScreenPlacement& placement = slicer->slicer.placement();
    stiltforge_slicer_info filled{};
    filled.layer_count = slicer->slicer.layerCount();
    filled.width = static_cast<uint32_t>(placement.width);
    filled.height = static_cast<uint32_t>(placement.height);
    filled.crop_x = placement.cropX;
    filled.crop_y = placement.cropY;
    filled.origin_x = placement.originX;
    filled.origin_y = placement.originY;
    filled.plate_z = slicer->slicer.plateZ();
    filled.pixel_size = placement.pixelSize;
    filled.layer_height = slicer->print.layerHeight;
    capi::writeStructure(info, filled, "info");
  });
}

stiltforge_status stiltforge_slicer_get_report(const stiltforge_slicer* slicer,
                                               stiltforge_mesh_report* report,
                                               stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(slicer, "slicer");
    capi::writeStructure(report, capi::toReport(slicer->slicer.report()), "report");
  });
}

stiltforge_status stiltforge_slicer_create_parameters(const stiltforge_slicer* slicer,
                                                      stiltforge_parameters** parameters,
                                                      stiltforge_error* error) {
  return capi::guardedCreation(__func__, parameters, "parameters", error, [&] {
    capi::requireHandle(slicer, "slicer");
    const stiltforge::slicing::ScreenPlacement& placement = slicer->slicer.placement();
    auto created = std::make_unique<stiltforge_parameters>();
    created->values = stiltforge::modelParameters(
        slicer->print, static_cast<uint32_t>(placement.width),
        static_cast<uint32_t>(placement.height), slicer->slicer.layerCount());
    return created;
  });
}

stiltforge_status stiltforge_slicer_slice(stiltforge_slicer* slicer, uint32_t first, uint32_t count,
                                          stiltforge_slice* const* slices,
                                          stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing cutter(slicer, "slicer");
    const uint32_t layers = cutter->slicer.layerCount();
    if (first > layers || count > layers - first) {
      throw capi::InvalidArgument("first is " + std::to_string(first) + " and count is " +
                                  std::to_string(count) + "; the slicer has " +
                                  std::to_string(layers) + " layers, counted from 0");
    }
    capi::FilledSlices filled(slices, count);
    cutter->slicer.slice(first, filled.slices());
    filled.finish();
  });
}

stiltforge_status stiltforge_slicer_locate(const stiltforge_slicer* slicer,
                                           const stiltforge_support* supports, size_t count,
                                           stiltforge_point* points, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(slicer, "slicer");
    if (count > 0) {
      capi::requireArgument(supports, "supports");
      capi::requireArgument(points, "points");
    }
    for (size_t i = 0; i < count; ++i) capi::requireWithin(supports[i], i, *slicer);
    for (size_t i = 0; i < count; ++i) {
      const stiltforge_support& support = supports[i];
      const auto [x, y, z, column, row] =
          stiltforge::positionOf(support.x, support.y, support.layer, slicer->slicer.placement(),
                                 slicer->slicer.plateZ(), slicer->print.layerHeight);
      points[i] = {x, y, z, column, row, support.layer, support.group, support.island};
    }
  });
}

void stiltforge_slicer_destroy(stiltforge_slicer* slicer) {
  capi::destroy(slicer);
}
