#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <vector>

#include "scaffold/route.h"
#include "scaffold/settings.h"
#include "scaffold/shell.h"
#include "slicing/triangle_mesh.h"
#include "slicing/vector.h"

namespace stiltforge::scaffold {

/// A support that was built.
struct Support {
  uint32_t point = 0;  ///< its number
  Stand stand = Stand::plate;
  std::size_t firstTriangle = 0;
  std::size_t triangles = 0;
  std::size_t firstRing = 0;
  std::size_t rings = 0;
};

/// A rod between the pillars of two supports.
struct BuiltBrace {
  uint32_t first = 0;  ///< number of a point, the lesser one
  uint32_t second = 0;
  std::size_t firstTriangle = 0;
  std::size_t triangles = 0;
  std::size_t firstRing = 0;
  std::size_t rings = 0;
};

/// Why a point has none.
enum class Reason : uint8_t {
  tooLow,  ///< less than a layer above the plate or the raft
  noWay,   ///< the part is in the way wherever a pillar might go
};

struct LeftOut {
  uint32_t point = 0;
  Reason reason = Reason::noWay;
};

/// The supports of a part as geometry: a closed surface for each, then one for each brace between
/// them, and one for the raft, which is the last. They overlap where supports meet, and reach into
/// the part by their tips: slicers take the union.
struct Scaffold {
  std::vector<slicing::Triangle> triangles;
  std::vector<Ring> rings;        ///< around which the surfaces are, of each the lowest first
  std::vector<Support> supports;  ///< in the order of the points
  std::vector<LeftOut> leftOut;   ///< likewise
  std::vector<BuiltBrace> braces;
  std::vector<uint32_t> alone;  ///< numbers of points whose slender pillar has no brace
  std::size_t raftTriangles = 0;
};

/// Thrown when the `cancelled` flag was raised.
struct Cancelled : std::runtime_error {
  Cancelled() : std::runtime_error("the building of supports was cancelled") {}
};

/// (steps done, all of them as far as is known). Called by one thread at a time, in ascending
/// order, from any thread.
using Progress = std::function<void(std::size_t done, std::size_t total)>;

/// Builds the supports of the points: x and y of the middle of a pixel, z of the lower face of its
/// layer, mm. plateZ: mm. Settings must be usable, see findConflict(). The part need not be closed.
/// Spread over the worker pool; the same result for any number of workers.
///
/// Throws slicing::SlicingError where the part, a point or the plate is so far from the origin that
/// 32-bit coordinates can't tell a tip's width; Cancelled; std::bad_alloc.
Scaffold build(slicing::TriangleMesh part, std::span<const slicing::Vector> points, double plateZ,
               const Settings& settings, const Progress& progress = {},
               const std::atomic<bool>* cancelled = nullptr);

}  // namespace stiltforge::scaffold
