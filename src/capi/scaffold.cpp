#include "scaffold/scaffold.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "capi/boundary.h"
#include "capi/field_name.h"
#include "capi/handles.h"
#include "capi/lists.h"
#include "capi/structure.h"
#include "capi/watched_work.h"
#include "runtime/number_text.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::capi {

static_assert(int{STILTFORGE_STANDS_ON_PLATE} == static_cast<int>(scaffold::Stand::plate));
static_assert(int{STILTFORGE_STANDS_BY_BRIDGE} == static_cast<int>(scaffold::Stand::bridge));
static_assert(int{STILTFORGE_STANDS_ON_PART} == static_cast<int>(scaffold::Stand::part));
static_assert(int{STILTFORGE_STANDS_LOW} == static_cast<int>(scaffold::Stand::low));
static_assert(int{STILTFORGE_LEFT_TOO_LOW} == static_cast<int>(scaffold::Reason::tooLow));
static_assert(int{STILTFORGE_LEFT_NO_WAY} == static_cast<int>(scaffold::Reason::noWay));

template <>
inline constexpr std::size_t firstSize<stiltforge_scaffold_settings> =
    offsetof(stiltforge_scaffold_settings, brace_reach) + sizeof(double);

namespace {

void requireUsable(const scaffold::Settings& settings, double lift) {
  const auto conflict = scaffold::findConflict(settings, lift);
  if (!conflict) return;
  const std::string field = fieldName(conflict->setting);
  throw InvalidArgument((field == "layer_height" ? field : "settings->" + field) + " is " +
                        numberText(conflict->value) + "; " + conflict->range);
}

scaffold::Settings readSettings(const stiltforge_scaffold_settings& given) {
  const stiltforge_scaffold_settings own = readStructure(&given, "settings");
  scaffold::Settings settings;
  settings.tipDiameter = own.tip_diameter;
  settings.tipLength = own.tip_length;
  settings.penetration = own.penetration;
  settings.pillarDiameter = own.pillar_diameter;
  settings.footDiameter = own.foot_diameter;
  settings.footHeight = own.foot_height;
  settings.clearance = own.clearance;
  settings.raftThickness = own.raft_thickness;
  settings.braceDiameter = own.brace_diameter;
  settings.braceReach = own.brace_reach;
  return settings;
}

scaffold::Settings readSettings(const stiltforge_scaffold_settings* given, double layerHeight) {
  scaffold::Settings settings = given ? readSettings(*given) : scaffold::Settings();
  settings.layerHeight = layerHeight;
  // The lift is known when the mesh has been looked at.
  requireUsable(settings, std::numeric_limits<double>::infinity());
  return settings;
}

std::vector<slicing::Vector> readPoints(const stiltforge_point* points, std::size_t count) {
  if (count > 0) requireArgument(points, "points");
  requireRange(count, "count", 0, std::numeric_limits<uint32_t>::max());
  std::vector<slicing::Vector> places;
  places.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const stiltforge_point& point = points[i];
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) {
      throw InvalidArgument("points[" + std::to_string(i) +
                            "] is no place; its x, y and z must be finite");
    }
    places.push_back({point.x, point.y, point.z});
  }
  return places;
}

std::unique_ptr<stiltforge_scaffold> toHandle(scaffold::Scaffold built) {
  auto handle = std::make_unique<stiltforge_scaffold>();
  handle->triangles = std::move(built.triangles);
  handle->raftTriangles = built.raftTriangles;
  handle->rings.reserve(built.rings.size());
  for (const scaffold::Ring& ring : built.rings) {
    handle->rings.push_back({ring.centre.x, ring.centre.y, ring.centre.z, ring.radius});
  }
  for (const scaffold::Support& support : built.supports) {
    handle->supports.push_back({support.point, static_cast<uint32_t>(support.stand),
                                support.firstTriangle, support.triangles, support.firstRing,
                                support.rings});
  }
  for (const scaffold::BuiltBrace& brace : built.braces) {
    handle->braces.push_back({brace.first, brace.second, brace.firstTriangle, brace.triangles,
                              brace.firstRing, brace.rings});
  }
  for (const scaffold::LeftOut& left : built.leftOut) {
    handle->leftOut.push_back({left.point, static_cast<uint32_t>(left.reason)});
  }
  handle->alone = std::move(built.alone);
  return handle;
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;
namespace scaffold = stiltforge::scaffold;
namespace slicing = stiltforge::slicing;

stiltforge_status stiltforge_scaffold_settings_init(stiltforge_scaffold_settings* settings,
                                                    stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const scaffold::Settings defaults;
    stiltforge_scaffold_settings filled{};
    filled.tip_diameter = defaults.tipDiameter;
    filled.tip_length = defaults.tipLength;
    filled.penetration = defaults.penetration;
    filled.pillar_diameter = defaults.pillarDiameter;
    filled.foot_diameter = defaults.footDiameter;
    filled.foot_height = defaults.footHeight;
    filled.clearance = defaults.clearance;
    filled.raft_thickness = defaults.raftThickness;
    filled.brace_diameter = defaults.braceDiameter;
    filled.brace_reach = defaults.braceReach;
    capi::writeStructure(settings, filled, "settings");
  });
}

stiltforge_status stiltforge_scaffold_create(
    const stiltforge_mesh* mesh, const stiltforge_point* points, size_t count, double plate_z,
    double layer_height, const stiltforge_scaffold_settings* settings,
    stiltforge_cancel_token* cancel, stiltforge_progress_callback on_progress, void* context,
    stiltforge_scaffold** scaffold, stiltforge_error* error) {
  return capi::guardedCreation(
      __func__, scaffold, "scaffold", error, [&](const capi::DefaultFloats& floats) {
        const capi::WorkerUse workers;
        const capi::Reading read(mesh, "mesh");
        const std::vector<slicing::Vector> places = capi::readPoints(points, count);
        if (!std::isfinite(plate_z)) {
          throw capi::InvalidArgument("plate_z is " + stiltforge::numberText(plate_z) +
                                      "; it must be finite");
        }
        const scaffold::Settings usable = capi::readSettings(settings, layer_height);
        auto part = slicing::TriangleMesh::fromSoup(read->positions);
        capi::requireUsable(usable, part.bounds.min.z - plate_z);

        scaffold::Scaffold built;
        capi::doWatched({cancel, on_progress, context}, floats,
                        [&](const capi::Progress& progress, const std::atomic<bool>* cancelled) {
                          built = scaffold::build(std::move(part), places, plate_z, usable,
                                                  progress, cancelled);
                        });
        return capi::toHandle(std::move(built));
      });
}

size_t stiltforge_scaffold_triangle_count(const stiltforge_scaffold* scaffold) {
  return capi::checked(scaffold) ? scaffold->triangles.size() : 0;
}

size_t stiltforge_scaffold_raft_triangle_count(const stiltforge_scaffold* scaffold) {
  return capi::checked(scaffold) ? scaffold->raftTriangles : 0;
}

const float* stiltforge_scaffold_positions(const stiltforge_scaffold* scaffold) {
  static_assert(sizeof(slicing::Triangle) == 9 * sizeof(float));
  const bool hasSome = capi::checked(scaffold) && !scaffold->triangles.empty();
  return hasSome ? &scaffold->triangles.front().front().x : nullptr;
}

const stiltforge_ring* stiltforge_scaffold_rings(const stiltforge_scaffold* scaffold,
                                                 size_t* count) {
  return capi::listOf(scaffold, &stiltforge_scaffold::rings, count);
}

const stiltforge_built_support* stiltforge_scaffold_supports(const stiltforge_scaffold* scaffold,
                                                             size_t* count) {
  return capi::listOf(scaffold, &stiltforge_scaffold::supports, count);
}

const stiltforge_brace* stiltforge_scaffold_braces(const stiltforge_scaffold* scaffold,
                                                   size_t* count) {
  return capi::listOf(scaffold, &stiltforge_scaffold::braces, count);
}

const stiltforge_left_out* stiltforge_scaffold_left_out(const stiltforge_scaffold* scaffold,
                                                        size_t* count) {
  return capi::listOf(scaffold, &stiltforge_scaffold::leftOut, count);
}

const uint32_t* stiltforge_scaffold_alone(const stiltforge_scaffold* scaffold, size_t* count) {
  return capi::listOf(scaffold, &stiltforge_scaffold::alone, count);
}

void stiltforge_scaffold_destroy(stiltforge_scaffold* scaffold) {
  capi::destroy(scaffold);
}
