#include "scaffold/scaffold.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "runtime/worker_pool.h"
#include "scaffold/brace.h"
#include "scaffold/contact.h"
#include "scaffold/raft.h"
#include "scaffold/shell.h"
#include "scaffold/triangle_index.h"
#include "slicing/slicing_error.h"

namespace stiltforge::scaffold {

namespace {

// Where 32-bit coordinates are a micrometre apart and more.
constexpr double farthest = 16384;  // mm

// By how much feet reach down into the raft, at most: what just touches is not joined.
constexpr double sunkIntoRaft = 0.1;  // mm

void requireNear(const slicing::Bounds& bounds, double plateZ) {
  const auto& [min, max] = bounds;
  const double far =
      std::max({std::abs(static_cast<double>(min.x)), std::abs(plateZ),
                std::abs(static_cast<double>(min.y)), std::abs(static_cast<double>(max.x)),
                std::abs(static_cast<double>(max.y)), std::abs(static_cast<double>(max.z))});
  if (far <= farthest) return;
  throw slicing::SlicingError("The part reaches " + slicing::numberText(far) +
                              " mm from the origin, where coordinates are too coarse for the tips "
                              "of supports; it must stay within 16,384 mm. Move it there.");
}

void appendBraces(const std::vector<std::optional<Route>>& routes, const TriangleIndex& part,
                  const Settings& settings, const std::atomic<bool>* cancelled,
                  Scaffold& scaffold) {
  std::vector<std::optional<Pillar>> pillars(routes.size());
  for (std::size_t i = 0; i < routes.size(); ++i) {
    if (routes[i]) pillars[i] = pillarOf(routes[i]->rings);
  }
  std::vector<bool> isBraced(routes.size());
  for (const Brace& brace : bracesBetween(pillars, part, settings, cancelled)) {
    const std::size_t before = scaffold.triangles.size();
    appendShell(brace.rings, scaffold.triangles);
    scaffold.braces.push_back({static_cast<uint32_t>(brace.first),
                               static_cast<uint32_t>(brace.second), before,
                               scaffold.triangles.size() - before});
    isBraced[brace.first] = true;
    isBraced[brace.second] = true;
  }
  for (std::size_t i = 0; i < routes.size(); ++i) {
    if (pillars[i] && pillars[i]->isSlender() && !isBraced[i]) {
      scaffold.alone.push_back(static_cast<uint32_t>(i));
    }
  }
}

}  // namespace

Scaffold build(slicing::TriangleMesh part, std::span<const slicing::Vector> points, double plateZ,
               const Settings& settings, const std::atomic<bool>* cancelled) {
  requireNear(part.bounds, plateZ);
  const TriangleIndex index(std::move(part));
  const double raftTop = plateZ + settings.raftThickness;
  const double base = raftTop - std::min(sunkIntoRaft, settings.raftThickness / 2);

  const RouteFinder finder(index, settings, base);
  std::vector<std::optional<Route>> routes(points.size());
  workers::parallelFor(points.size(), [&](std::size_t i) {
    if (cancelled && *cancelled) return;
    routes[i] = finder.find(contactAt(points[i], index, settings));
  });
  if (cancelled && *cancelled) throw Cancelled();

  Scaffold scaffold;
  std::vector<slicing::Vector> feet;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto point = static_cast<uint32_t>(i);
    if (!routes[i]) {
      const bool isLow = points[i].z < base + settings.layerHeight;
      scaffold.leftOut.push_back({point, isLow ? Reason::tooLow : Reason::noWay});
      continue;
    }
    const std::size_t before = scaffold.triangles.size();
    appendShell(routes[i]->rings, scaffold.triangles);
    scaffold.supports.push_back(
        {point, routes[i]->stand, before, scaffold.triangles.size() - before});
    if (routes[i]->stand != Stand::part) feet.push_back(routes[i]->rings.front().centre);
  }
  appendBraces(routes, index, settings, cancelled, scaffold);
  if (cancelled && *cancelled) throw Cancelled();
  if (settings.raftThickness > 0) {
    const std::size_t before = scaffold.triangles.size();
    appendRaft(feet, settings.footDiameter / 2, plateZ, raftTop, scaffold.triangles);
    scaffold.raftTriangles = scaffold.triangles.size() - before;
  }
  return scaffold;
}

}  // namespace stiltforge::scaffold
