#include "scaffold/contact.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace stiltforge::scaffold {

namespace {

using slicing::dot;

// A point's surface is at most so far away, mm and layers, whatever the slices made of the mesh.
constexpr double leastReach = 0.5;
constexpr double reachInLayers = 4;

TriangleIndex::Hit surfaceAt(const Vector& point, const TriangleIndex& part, double layerHeight) {
  // The layer is material where its middle is, and the one below is not.
  const double middle = point.z + layerHeight / 2;
  const double slack = layerHeight / 16;
  const double reach = std::max(leastReach, reachInLayers * layerHeight);
  std::optional<TriangleIndex::Hit> hit =
      part.lowest(point.x, point.y, middle - layerHeight - slack, middle + slack);
  if (!hit) hit = part.highest(point.x, point.y, middle - reach, middle);
  if (!hit) hit = part.nearest({point.x, point.y, middle}, reach);
  if (!hit) hit = TriangleIndex::Hit{point, {0, 0, -1}};
  return *hit;
}

}  // namespace

Contact contactAt(const Vector& point, const TriangleIndex& part, const Settings& settings) {
  const TriangleIndex::Hit hit = surfaceAt(point, part, settings.layerHeight);
  Contact contact;
  contact.point = hit.point;

  // A mesh may be inside out: the side is the one that faces the plate.
  const Vector side = hit.normal.z > 0 ? hit.normal * -1 : hit.normal;
  const Vector sum = part.normalsAround(hit.point, settings.tipDiameter, side);
  const double length = std::sqrt(dot(sum, sum));
  contact.outward = length > 0 && sum.z <= 0 ? sum * (1 / length) : Vector{0, 0, -1};

  // Not through a thin wall, but so far that a layer of it has the tip inside.
  contact.penetration = std::max(settings.penetration, 1.5 * settings.layerHeight);
  const auto& [x, y, z] = contact.point;
  const auto through = part.lowest(x, y, z + settings.layerHeight / 4, z + 2 * contact.penetration);
  if (through) contact.penetration = (through->point.z - z) / 2;
  return contact;
}

}  // namespace stiltforge::scaffold
