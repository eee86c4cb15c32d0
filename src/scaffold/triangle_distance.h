#pragma once

#include <optional>

#include "slicing/triangle_mesh.h"
#include "slicing/vector.h"

namespace stiltforge::scaffold {

using slicing::Triangle;
using slicing::Vector;

inline Vector operator+(const Vector& a, const Vector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector operator-(const Vector& a, const Vector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector operator*(const Vector& v, double factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
}

inline Vector cornerOf(const Triangle& triangle, std::size_t i) {
  return {triangle[i].x, triangle[i].y, triangle[i].z};
}

// Triangles without area count as the line that they are.

/// The point of the triangle that is nearest.
Vector nearestPoint(const Vector& point, const Triangle& triangle);

/// mm2 between the triangle and the line from a to b; 0 where they cross.
double squaredDistance(const Vector& a, const Vector& b, const Triangle& triangle);

/// Whether the triangle is surely at least so far from the line from a to b: most that are can be
/// told by their plane alone.
bool isBeyond(const Vector& a, const Vector& b, const Triangle& triangle, double distance);

/// An upright cylinder.
struct Column {
  double x, y;
  double bottom, top;
  double radius;
};

/// Whether any of the triangle lies inside the column.
bool reachesInto(const Triangle& triangle, const Column& column);

/// z of the triangle over (x, y); nothing beside it, or where it stands upright.
std::optional<double> heightAt(const Triangle& triangle, double x, double y);

}  // namespace stiltforge::scaffold
