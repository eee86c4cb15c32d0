#include "scaffold/scaffold.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "runtime/number_text.h"
#include "runtime/worker_pool.h"
#include "scaffold/brace.h"
#include "scaffold/contact.h"
#include "scaffold/raft.h"
#include "scaffold/shell.h"
#include "scaffold/triangle_index.h"
#include "slicing/slicing_error.h"

namespace stiltforge::scaffold {

namespace {

// Along each axis: where 32-bit coordinates are a micrometre apart.
constexpr double farthest = 16384;  // mm

// By how much feet reach down into the raft, at most: what just touches is not joined.
constexpr double sunkIntoRaft = 0.1;  // mm

double farthestOf(const slicing::Vertex& place) {
  return std::max({std::abs(place.x), std::abs(place.y), std::abs(place.z)});
}

bool isNear(const slicing::Vector& place) {
  return std::abs(place.x) <= farthest && std::abs(place.y) <= farthest &&
         std::abs(place.z) <= farthest;
}

void requireNear(const slicing::Bounds& bounds, std::span<const slicing::Vector> points,
                 double plateZ) {
  const auto refuse = [](const std::string& what) {
    throw slicing::SlicingError(what +
                                " mm from the origin, where coordinates are too coarse for the "
                                "tips of supports; it must stay within 16,384 mm. Move it there.");
  };
  const double far = std::max(farthestOf(bounds.min), farthestOf(bounds.max));
  if (!(far <= farthest)) refuse("The part reaches " + numberText(far));
  if (!(std::abs(plateZ) <= farthest)) refuse("The plate lies " + numberText(std::abs(plateZ)));
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (isNear(points[i])) continue;
    throw slicing::SlicingError("Point " + std::to_string(i) +
                                " (counted from 0) is no place on the part; it must stay within "
                                "16,384 mm of the origin.");
  }
}

// Tells how far the work is.
class Steps {
 public:
  Steps(const Progress& progress, std::size_t total) : progress_(progress), total_(total) {}

  // So many more, as is known by now.
  void expect(std::size_t rest) {
    total_ = done_ + rest;
    if (progress_) progress_(done_, total_);
  }

  // By any thread.
  void count() {
    if (!progress_) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    progress_(++done_, total_);
  }

 private:
  const Progress& progress_;
  std::mutex mutex_;
  std::size_t done_ = 0;
  std::size_t total_;
};

// Appends the surface around rings, and these; `piece` is told where they are.
template <class Piece>
void append(const std::vector<Ring>& rings, Piece& piece, Scaffold& scaffold) {
  piece.firstTriangle = scaffold.triangles.size();
  appendShell(rings, scaffold.triangles);
  piece.triangles = scaffold.triangles.size() - piece.firstTriangle;
  piece.firstRing = scaffold.rings.size();
  piece.rings = rings.size();
  scaffold.rings.insert(scaffold.rings.end(), rings.begin(), rings.end());
}

void appendBraces(const std::vector<std::optional<Route>>& routes, const TriangleIndex& part,
                  const Settings& settings, const std::atomic<bool>* cancelled, Steps& steps,
                  Scaffold& scaffold) {
  std::vector<std::optional<Pillar>> pillars(routes.size());
  std::size_t slender = 0;
  for (std::size_t i = 0; i < routes.size(); ++i) {
    if (routes[i]) pillars[i] = pillarOf(routes[i]->rings);
    if (pillars[i] && pillars[i]->isSlender()) ++slender;
  }
  steps.expect(settings.braceReach > 0 ? looksAtPillar * slender : 0);
  std::vector<bool> isBraced(routes.size());
  for (const Brace& brace : bracesBetween(
           pillars, part, settings, [&steps] { steps.count(); }, cancelled)) {
    BuiltBrace built;
    built.first = static_cast<uint32_t>(brace.first);
    built.second = static_cast<uint32_t>(brace.second);
    append(brace.rings, built, scaffold);
    scaffold.braces.push_back(built);
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
               const Settings& settings, const Progress& progress,
               const std::atomic<bool>* cancelled) {
  requireNear(part.bounds, points, plateZ);
  Steps steps(progress,
              TriangleIndex::looksAt(part.triangles.size()) + (1 + looksAtPillar) * points.size());
  const TriangleIndex index(
      std::move(part), [&steps] { steps.count(); }, cancelled);
  if (cancelled && *cancelled) throw Cancelled();
  const double raftTop = plateZ + settings.raftThickness;
  const double base = raftTop - std::min(sunkIntoRaft, settings.raftThickness / 2);

  const RouteFinder finder(index, settings, base);
  std::vector<std::optional<Route>> routes(points.size());
  workers::parallelFor(points.size(), [&](std::size_t i) {
    if (cancelled && *cancelled) return;
    routes[i] = finder.find(contactAt(points[i], index, settings));
    steps.count();
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
    Support support;
    support.point = point;
    support.stand = routes[i]->stand;
    append(routes[i]->rings, support, scaffold);
    scaffold.supports.push_back(support);
    if (routes[i]->stand != Stand::part) feet.push_back(routes[i]->rings.front().centre);
  }
  appendBraces(routes, index, settings, cancelled, steps, scaffold);
  if (cancelled && *cancelled) throw Cancelled();
  if (settings.raftThickness > 0) {
    const std::size_t before = scaffold.triangles.size();
    appendRaft(feet, settings.footDiameter / 2, plateZ, raftTop, scaffold.triangles);
    scaffold.raftTriangles = scaffold.triangles.size() - before;
  }
  return scaffold;
}

}  // namespace stiltforge::scaffold
