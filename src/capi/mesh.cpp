#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "mesh/limits.h"
#include "print/part_transform.h"
#include "print/turn.h"
#include "runtime/number_text.h"
#include "slicing/slicing_error.h"

namespace capi = stiltforge::capi;

namespace {

// A mesh without triangles or with coordinates that are not finite is left to the slicer, which
// has a sentence for the person who made it.
void requireTriangles(const float* positions, size_t triangleCount) {
  capi::requireArgument(positions, "positions");
  capi::requireRange(triangleCount, "triangle_count", 1, stiltforge::mesh::mostTriangles);
}

void scaleOrRefuse(stiltforge_mesh& mesh, double factor) {
  if (stiltforge::scale(mesh.positions, factor)) return;
  throw capi::Refusal(STILTFORGE_UNUSABLE_MESH,
                      "Scaled by " + stiltforge::numberText(factor) + " the mesh is too " +
                          (factor > 1 ? "large" : "small") + " to be sliced.");
}

void requirePositive(double value, const char* name) {
  if (value > 0 && value <= 1e30) return;
  throw capi::InvalidArgument(std::string(name) + " is " + stiltforge::numberText(value) +
                              "; it must be above 0");
}

void requireAngle(double degrees, const char* name) {
  if (std::isfinite(degrees)) return;
  throw capi::InvalidArgument(std::string(name) + " is " + stiltforge::numberText(degrees) +
                              "; it must be a finite number of degrees");
}

}  // namespace

stiltforge_status stiltforge_mesh_create(const float* positions, size_t triangle_count,
                                         stiltforge_mesh** mesh, stiltforge_error* error) {
  return capi::guardedCreation(__func__, mesh, "mesh", error, [&] {
    requireTriangles(positions, triangle_count);
    auto created = std::make_unique<stiltforge_mesh>();
    created->positions.assign(positions, positions + 9 * triangle_count);
    return created;
  });
}

stiltforge_status stiltforge_mesh_create_indexed(const float* vertices, size_t vertex_count,
                                                 const uint32_t* indices, size_t triangle_count,
                                                 stiltforge_mesh** mesh, stiltforge_error* error) {
  return capi::guardedCreation(__func__, mesh, "mesh", error, [&] {
    capi::requireArgument(vertices, "vertices");
    capi::requireArgument(indices, "indices");
    capi::requireRange(vertex_count, "vertex_count", 1, stiltforge::mesh::mostVertices);
    capi::requireRange(triangle_count, "triangle_count", 1, stiltforge::mesh::mostTriangles);
    auto created = std::make_unique<stiltforge_mesh>();
    created->positions.resize(9 * triangle_count);
    float* next = created->positions.data();
    for (std::size_t i = 0; i < 3 * triangle_count; ++i) {
      if (indices[i] >= vertex_count) {
        throw capi::InvalidArgument("indices[" + std::to_string(i) + "] is " +
                                    std::to_string(indices[i]) + "; there are " +
                                    std::to_string(vertex_count) + " vertices, counted from 0");
      }
      const float* const vertex = vertices + 3 * std::size_t{indices[i]};
      next = std::copy(vertex, vertex + 3, next);
    }
    return created;
  });
}

size_t stiltforge_mesh_warning_count(const stiltforge_mesh* mesh) {
  return mesh && mesh->isOf(stiltforge_mesh::kind) ? mesh->warnings.size() : 0;
}

const char* stiltforge_mesh_warning(const stiltforge_mesh* mesh, size_t index) {
  return index < stiltforge_mesh_warning_count(mesh) ? mesh->warnings[index].c_str() : nullptr;
}

stiltforge_status stiltforge_mesh_turn_y_up(stiltforge_mesh* mesh, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Writing turned(mesh, "mesh");
    stiltforge::turnYUp(turned->positions);
  });
}

stiltforge_status stiltforge_mesh_turn(stiltforge_mesh* mesh, const stiltforge_turn* turn,
                                       stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Writing target(mesh, "mesh");
    capi::requireArgument(turn, "turn");
    requireAngle(turn->x, "turn->x");
    requireAngle(turn->y, "turn->y");
    requireAngle(turn->z, "turn->z");
    target->positions = stiltforge::turned(target->positions, {turn->x, turn->y, turn->z});
  });
}

stiltforge_status stiltforge_mesh_scale(stiltforge_mesh* mesh, double factor,
                                        stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Writing scaled(mesh, "mesh");
    requirePositive(factor, "factor");
    scaleOrRefuse(*scaled, factor);
  });
}

stiltforge_status stiltforge_mesh_scale_to_height(stiltforge_mesh* mesh, double height,
                                                  stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Writing scaled(mesh, "mesh");
    requirePositive(height, "height");
    scaleOrRefuse(*scaled, stiltforge::factorForHeight(scaled->positions, height));
  });
}

stiltforge_status stiltforge_mesh_get_box(const stiltforge_mesh* mesh, double min[3], double max[3],
                                          stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Reading boxed(mesh, "mesh");
    capi::requireArgument(min, "min");
    capi::requireArgument(max, "max");
    const stiltforge::slicing::Bounds box = stiltforge::boundsOf(boxed->positions);
    const auto write = [](const stiltforge::slicing::Vertex& corner, double* target) {
      target[0] = corner.x;
      target[1] = corner.y;
      target[2] = corner.z;
    };
    write(box.min, min);
    write(box.max, max);
  });
}

size_t stiltforge_mesh_triangle_count(const stiltforge_mesh* mesh) {
  return mesh && mesh->isOf(stiltforge_mesh::kind) ? mesh->positions.size() / 9 : 0;
}

const float* stiltforge_mesh_positions(const stiltforge_mesh* mesh) {
  return mesh && mesh->isOf(stiltforge_mesh::kind) ? mesh->positions.data() : nullptr;
}

void stiltforge_mesh_destroy(stiltforge_mesh* mesh) {
  capi::destroy(mesh);
}
