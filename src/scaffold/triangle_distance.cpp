#include "scaffold/triangle_distance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace stiltforge::scaffold {

namespace {

using slicing::cross;
using slicing::dot;

double squared(const Vector& v) {
  return dot(v, v);
}

Vector nearestOnLine(const Vector& point, const Vector& a, const Vector& b) {
  const Vector along = b - a;
  const double length = squared(along);
  if (!(length > 0)) return a;
  return a + along * std::clamp(dot(point - a, along) / length, 0.0, 1.0);
}

// C. Ericson, "Real-Time Collision Detection", 2005, 5.1.9.
double squaredBetweenLines(const Vector& p, const Vector& q, const Vector& a, const Vector& b) {
  const Vector u = q - p;
  const Vector v = b - a;
  const Vector r = p - a;
  const double uu = squared(u);
  const double vv = squared(v);
  if (!(uu > 0)) return squared(p - nearestOnLine(p, a, b));
  if (!(vv > 0)) return squared(a - nearestOnLine(a, p, q));
  const double uv = dot(u, v);
  const double ur = dot(u, r);
  const double vr = dot(v, r);
  const double determinant = uu * vv - uv * uv;
  double s = determinant > 0 ? std::clamp((uv * vr - ur * vv) / determinant, 0.0, 1.0) : 0.0;
  const double t = std::clamp((uv * s + vr) / vv, 0.0, 1.0);
  s = std::clamp((uv * t - ur) / uu, 0.0, 1.0);
  return squared(p + u * s - (a + v * t));
}

// Where a point of the triangle's plane lies: whether inside.
bool isInside(const Vector& point, const Triangle& triangle, const Vector& normal) {
  for (std::size_t i = 0; i < 3; ++i) {
    const Vector a = cornerOf(triangle, i);
    const Vector b = cornerOf(triangle, (i + 1) % 3);
    if (dot(cross(b - a, point - a), normal) < 0) return false;
  }
  return true;
}

Vector normalOf(const Triangle& triangle) {
  const Vector a = cornerOf(triangle, 0);
  return cross(cornerOf(triangle, 1) - a, cornerOf(triangle, 2) - a);
}

// The corners of a triangle that is cut by two planes are at most five.
struct Polygon {
  std::array<Vector, 5> corners;
  std::size_t count = 0;
};

// What of the polygon lies at or above `z`; below where `sign` is -1.
Polygon clipped(const Polygon& polygon, double z, double sign) {
  Polygon result;
  for (std::size_t i = 0; i < polygon.count; ++i) {
    const Vector& a = polygon.corners[i];
    const Vector& b = polygon.corners[(i + 1) % polygon.count];
    const double da = sign * (a.z - z);
    const double db = sign * (b.z - z);
    if (da >= 0 && result.count < result.corners.size()) result.corners[result.count++] = a;
    if ((da > 0 && db < 0) || (da < 0 && db > 0)) {
      if (result.count < result.corners.size()) {
        result.corners[result.count++] = a + (b - a) * (da / (da - db));
      }
    }
  }
  return result;
}

double across(const Vector& a, const Vector& b, double x, double y) {
  return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

}  // namespace

Vector nearestPoint(const Vector& point, const Triangle& triangle) {
  const Vector normal = normalOf(triangle);
  const double length = squared(normal);
  if (length > 0) {
    const Vector foot = point - normal * (dot(point - cornerOf(triangle, 0), normal) / length);
    if (isInside(foot, triangle, normal)) return foot;
  }
  Vector nearest = cornerOf(triangle, 0);
  for (std::size_t i = 0; i < 3; ++i) {
    const Vector candidate =
        nearestOnLine(point, cornerOf(triangle, i), cornerOf(triangle, (i + 1) % 3));
    if (squared(candidate - point) < squared(nearest - point)) nearest = candidate;
  }
  return nearest;
}

double squaredDistance(const Vector& a, const Vector& b, const Triangle& triangle) {
  const Vector normal = normalOf(triangle);
  const double length = squared(normal);
  double least = std::numeric_limits<double>::infinity();
  if (length > 0) {
    const double da = dot(a - cornerOf(triangle, 0), normal);
    const double db = dot(b - cornerOf(triangle, 0), normal);
    if ((da <= 0 && db >= 0) || (da >= 0 && db <= 0)) {
      const double share = da == db ? 0 : da / (da - db);
      if (isInside(a + (b - a) * share, triangle, normal)) return 0;
    }
    if (isInside(a - normal * (da / length), triangle, normal)) least = da * da / length;
    if (isInside(b - normal * (db / length), triangle, normal)) {
      least = std::min(least, db * db / length);
    }
  }
  for (std::size_t i = 0; i < 3; ++i) {
    least = std::min(
        least, squaredBetweenLines(a, b, cornerOf(triangle, i), cornerOf(triangle, (i + 1) % 3)));
  }
  return least;
}

bool isBeyond(const Vector& a, const Vector& b, const Triangle& triangle, double distance) {
  const Vector normal = normalOf(triangle);
  const double da = dot(a - cornerOf(triangle, 0), normal);
  const double db = dot(b - cornerOf(triangle, 0), normal);
  if (!(da > 0 && db > 0) && !(da < 0 && db < 0)) return false;
  // What is rounded is left to those that measure.
  constexpr double slack = 1 + 1e-9;
  const double least = std::min(std::abs(da), std::abs(db));
  return least * least > slack * distance * distance * squared(normal);
}

bool reachesInto(const Triangle& triangle, const Column& column) {
  Polygon polygon;
  polygon.count = 3;
  for (std::size_t i = 0; i < 3; ++i) polygon.corners[i] = cornerOf(triangle, i);
  polygon = clipped(clipped(polygon, column.bottom, 1), column.top, -1);
  const Vector axis{column.x, column.y, 0};
  bool isLeft = true;
  bool isRight = true;
  for (std::size_t i = 0; i < polygon.count; ++i) {
    const Vector& a = polygon.corners[i];
    const Vector& b = polygon.corners[(i + 1) % polygon.count];
    const Vector near = nearestOnLine(axis, {a.x, a.y, 0}, {b.x, b.y, 0});
    if (squared(near - axis) < column.radius * column.radius) return true;
    const double side = across(a, b, column.x, column.y);
    isLeft = isLeft && side > 0;
    isRight = isRight && side < 0;
  }
  return polygon.count > 0 && (isLeft || isRight);
}

std::optional<double> heightAt(const Triangle& triangle, double x, double y) {
  const Vector a = cornerOf(triangle, 0);
  const Vector b = cornerOf(triangle, 1);
  const Vector c = cornerOf(triangle, 2);
  const double area = across(a, b, c.x, c.y);
  if (area == 0) return std::nullopt;
  const double wa = across(b, c, x, y) / area;
  const double wb = across(c, a, x, y) / area;
  const double wc = 1 - wa - wb;
  if (wa < 0 || wb < 0 || wc < 0) return std::nullopt;
  return wa * a.z + wb * b.z + wc * c.z;
}

}  // namespace stiltforge::scaffold
