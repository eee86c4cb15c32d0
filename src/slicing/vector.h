#pragma once

#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// A difference of two vertices, millimetres.
struct Vector {
  double x, y, z;
};

inline Vector between(const Vertex& from, const Vertex& to) {
  return {static_cast<double>(to.x) - from.x, static_cast<double>(to.y) - from.y,
          static_cast<double>(to.z) - from.z};
}

inline Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double dot(const Vector& a, const Vector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

}  // namespace stiltforge::slicing
