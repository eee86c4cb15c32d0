#include "orient/directions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <numbers>

#include "runtime/worker_pool.h"

namespace stiltforge::orient {

namespace {

// Steps in which normals count as one: about a fifth of a degree.
constexpr double normalSteps = 256;
// A part stands on what lies within this share of its extent of its lowest point.
constexpr double flatness = 1e-3;
// Planes that are looked at. On an organic mesh each triangle has its own.
constexpr std::size_t mostPlanes = 256;

Vector sum(const Vector& a, const Vector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vector scaled(const Vector& v, double factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
}

struct Normals {
  Vector sum{0, 0, 0};  // lengths are twice the areas

  double area() const { return std::sqrt(dot(sum, sum)) / 2; }
};

Vector cornerAt(std::span<const float> positions, std::size_t i) {
  return {positions[i], positions[i + 1], positions[i + 2]};
}

Vector difference(const Vector& a, const Vector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

// By area, the largest first; of equal ones in the order of their normals.
std::vector<Normals> largestNormals(std::span<const float> positions) {
  std::map<std::array<int32_t, 3>, Normals> byNormal;
  for (std::size_t i = 0; i + 8 < positions.size(); i += 9) {
    const Vector a = cornerAt(positions, i);
    const Vector normal =
        cross(difference(cornerAt(positions, i + 3), a), difference(cornerAt(positions, i + 6), a));
    const double length = std::sqrt(dot(normal, normal));
    if (!(length > 0) || !std::isfinite(length)) continue;
    const auto step = [&](double value) {
      return static_cast<int32_t>(std::lround(value / length * normalSteps));
    };
    Normals& normals = byNormal[{step(normal.x), step(normal.y), step(normal.z)}];
    normals.sum = sum(normals.sum, normal);
  }
  std::vector<Normals> normals;
  normals.reserve(byNormal.size());
  for (const auto& entry : byNormal) normals.push_back(entry.second);
  std::stable_sort(normals.begin(), normals.end(),
                   [](const Normals& a, const Normals& b) { return a.area() > b.area(); });
  if (normals.size() > mostPlanes) normals.resize(mostPlanes);
  return normals;
}

// mm2 of the triangles that a part lies on when this direction points to the plate.
double areaOnPlate(std::span<const float> positions, const Vector& down) {
  double lowest = -std::numeric_limits<double>::infinity();
  double highest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i + 2 < positions.size(); i += 3) {
    const double along = dot(cornerAt(positions, i), down);
    lowest = std::max(lowest, along);
    highest = std::min(highest, along);
  }
  const double plate = lowest - flatness * (lowest - highest);
  double area = 0;
  for (std::size_t i = 0; i + 8 < positions.size(); i += 9) {
    const Vector a = cornerAt(positions, i);
    const Vector b = cornerAt(positions, i + 3);
    const Vector c = cornerAt(positions, i + 6);
    if (std::min({dot(a, down), dot(b, down), dot(c, down)}) < plate) continue;
    area += std::max(0.0, dot(cross(difference(b, a), difference(c, a)), down)) / 2;
  }
  return area;
}

}  // namespace

Vector normalized(const Vector& v) {
  return scaled(v, 1 / std::sqrt(dot(v, v)));
}

double angleBetween(const Vector& a, const Vector& b) {
  const Vector across = cross(a, b);
  return std::atan2(std::sqrt(dot(across, across)), dot(a, b)) * 180 / std::numbers::pi;
}

std::vector<Vector> sphereLattice(std::size_t count) {
  const double goldenTurn = 2 * std::numbers::pi * (2 - std::numbers::phi);
  std::vector<Vector> directions;
  for (std::size_t i = 0; i < count; ++i) {
    const double z = 1 - (2 * static_cast<double>(i) + 1) / static_cast<double>(count);
    const double radius = std::sqrt(1 - z * z);
    const double turn = goldenTurn * static_cast<double>(i);
    directions.push_back({radius * std::cos(turn), radius * std::sin(turn), z});
  }
  return directions;
}

std::vector<Vector> ringAround(const Vector& centre, double degrees, std::size_t count) {
  const Vector helper = std::abs(centre.z) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
  const Vector u = normalized(cross(centre, helper));
  const Vector v = cross(centre, u);
  const double angle = degrees * std::numbers::pi / 180;
  std::vector<Vector> ring;
  for (std::size_t i = 0; i < count; ++i) {
    const double turn = 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(count);
    const Vector aside = sum(scaled(u, std::cos(turn)), scaled(v, std::sin(turn)));
    ring.push_back(
        normalized(sum(scaled(centre, std::cos(angle)), scaled(aside, std::sin(angle)))));
  }
  return ring;
}

std::vector<Vector> flatSides(std::span<const float> positions, std::size_t most) {
  struct Side {
    Vector normal;
    double area;
  };
  std::vector<Side> sides;
  const std::vector<Normals> normals = largestNormals(positions);
  std::vector<double> areas(normals.size());
  workers::parallelFor(normals.size(), [&](std::size_t i) {
    areas[i] = areaOnPlate(positions, normalized(normals[i].sum));
  });
  for (std::size_t i = 0; i < normals.size(); ++i) {
    const Vector normal = normalized(normals[i].sum);
    const bool isKnown = std::any_of(sides.begin(), sides.end(), [&](const Side& side) {
      return angleBetween(side.normal, normal) < 1;
    });
    if (areas[i] > 0 && !isKnown) sides.push_back({normal, areas[i]});
  }
  std::stable_sort(sides.begin(), sides.end(),
                   [](const Side& a, const Side& b) { return a.area > b.area; });
  std::vector<Vector> directions;
  for (const Side& side : sides) {
    if (directions.size() < most) directions.push_back(side.normal);
  }
  return directions;
}

}  // namespace stiltforge::orient
