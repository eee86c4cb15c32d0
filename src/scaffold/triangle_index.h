#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "scaffold/triangle_distance.h"

namespace stiltforge::scaffold {

/// Finds the triangles of a mesh near a place: a tree of boxes over triangles in the order of a
/// space-filling curve (C. Lauterbach et al., "Fast BVH construction on GPUs", 2009). The mesh need
/// not be closed. May be asked by many threads at once.
class TriangleIndex {
 public:
  /// Triangles without area are passed over. Spread over the worker pool; `looked` is told by any
  /// thread, up to looksAt() times. Ends early, and may be asked nothing then, when `cancelled` is
  /// raised.
  explicit TriangleIndex(slicing::TriangleMesh mesh, const std::function<void()>& looked = {},
                         const std::atomic<bool>* cancelled = nullptr);
  static std::size_t looksAt(std::size_t triangles);

  const slicing::Bounds& bounds() const { return bounds_; }
  /// Those that have an area, in an order of its own.
  std::span<const slicing::Triangle> triangles() const { return triangles_; }

  /// What was in the way of a question, which is likely in the way of one like it: looked at first.
  using Obstacle = const slicing::Triangle*;

  /// Whether no triangle is nearer than `distance` to the line from a to b. Keeps the one that is.
  bool isFree(const Vector& a, const Vector& b, double distance, Obstacle* last = nullptr) const;
  bool isFree(const Column& column, Obstacle* last = nullptr) const;

  /// A place on the surface.
  struct Hit {
    Vector point{};
    Vector normal{};  ///< of length 1, as the triangle is turned
  };

  /// Where the upright line through (x, y) crosses the surface, between two heights: the lowest
  /// and the highest such place.
  std::optional<Hit> lowest(double x, double y, double from, double to) const;
  std::optional<Hit> highest(double x, double y, double from, double to) const;
  /// The place of the surface that is nearest to the point, within a distance.
  std::optional<Hit> nearest(const Vector& point, double distance) const;

  /// The sum of the unit normals of triangles within a distance of the point, each turned to the
  /// side to which `side` points.
  Vector normalsAround(const Vector& point, double distance, const Vector& side) const;

 private:
  struct Box {
    float min[3];
    float max[3];
  };

  template <class Accept, class Visit>
  void visit(Accept&& accept, Visit&& visit) const;
  template <class Better>
  std::optional<Hit> crossing(double x, double y, double from, double to, Better&& better) const;

  std::vector<slicing::Triangle> triangles_;
  slicing::Bounds bounds_;
  std::size_t leaves_ = 1;  // a power of two
  std::vector<Box> boxes_;  // 1 is the root, 2 i and 2 i + 1 are below i; the leaves are the last
};

}  // namespace stiltforge::scaffold
