#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "slicing/contour_closing.h"

namespace stiltforge::slicing {

/// One of many open ends, as seen from a point.
struct NeighbourEnd {
  static constexpr uint32_t none = std::numeric_limits<uint32_t>::max();

  double squaredDistance = std::numeric_limits<double>::infinity();
  uint32_t end = none;

  bool isBefore(const NeighbourEnd& other) const {
    return squaredDistance != other.squaredDistance ? squaredDistance < other.squaredDistance
                                                    : end < other.end;
  }
};

/// Finds the nearest of a set of open ends, from which they are removed one by one.
///
/// A balanced k-d tree of one end a leaf (J. L. Bentley, "Multidimensional binary search trees used
/// for associative searching", Communications of the ACM 18(9), 1975), whose nodes know the box
/// around what is left below them. Takes memory for four boxes an end at most.
class NearestEnd {
 public:
  /// members: indices into `ends`, in any order. Only their positions are kept.
  NearestEnd(const std::vector<OpenEnd>& ends, std::vector<uint32_t> members);

  /// The member nearest to `from`, of equally near ones the first in `ends`, or `known` where none
  /// comes before that. A search that has looked into mostVisits nodes ends with the best so far,
  /// which takes hundreds that are about equally far away.
  NeighbourEnd nearest(const Point& from, const NeighbourEnd& known) const;

  /// Costs the logarithm of how many there were.
  void remove(uint32_t member);

  static constexpr uint32_t mostVisits = 1024;

 private:
  struct Box {
    Point min{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    Point max{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

    double squaredDistanceTo(const Point& point) const;
    static Box around(const Box& a, const Box& b);
  };
  struct Search;

  void build(const std::vector<OpenEnd>& ends, uint32_t* members, uint32_t count, uint32_t node);
  void visit(uint32_t node, Search& search) const;

  uint32_t firstLeaf_;            // the children of node n are 2 n and 2 n + 1, the root is 1
  std::vector<Box> boxes_;        // by node
  std::vector<uint32_t> endOf_;   // by leaf, from firstLeaf_ on
  std::vector<uint32_t> leafOf_;  // by end
};

}  // namespace stiltforge::slicing
