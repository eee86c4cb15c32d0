#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "scaffold/contact.h"
#include "scaffold/open_columns.h"
#include "scaffold/settings.h"
#include "scaffold/shell.h"
#include "scaffold/triangle_index.h"

namespace stiltforge::scaffold {

/// What a support stands on, and how it comes there.
enum class Stand : uint8_t {
  plate,   ///< a pillar straight down to the plate or the raft
  bridge,  ///< the same, beside what is in the way: a slanting part leads over to it
  part,    ///< on the part below, with a tip there, too
  low,     ///< a cone from the plate up to the part: there is no height for more
};

struct Route {
  Stand stand = Stand::plate;
  std::vector<Ring> rings;  ///< the lowest first
};

/// Finds the ways of supports from their contacts down to z = base, or to the part below, free of
/// the part but for their tips. Thinner pillars are tried where the usual one does not pass. May be
/// asked by many threads at once.
class RouteFinder {
 public:
  /// Keeps the part and the settings by reference. base: mm, of the plate or the raft's top.
  RouteFinder(const TriangleIndex& part, const Settings& settings, double base);

  /// Nothing where there is no way.
  std::optional<Route> find(const Contact& contact) const;

 private:
  class Search;

  /// A kind of pillar.
  struct Build {
    double radius;     ///< mm
    double clearance;  ///< mm
    OpenColumns::ForRadius columns;
  };

  /// Where a bridge may end, seen from where it begins.
  struct Span {
    double x;
    double y;
    double length;       ///< mm
    std::size_t sector;  ///< of the directions
  };

  const TriangleIndex& part_;
  const Settings& settings_;
  double base_;
  std::vector<Build> builds_;
  std::vector<Span> spans_;  ///< the shortest first
};

}  // namespace stiltforge::scaffold
