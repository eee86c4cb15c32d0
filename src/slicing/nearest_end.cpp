#include "slicing/nearest_end.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace stiltforge::slicing {

struct NearestEnd::Search {
  Point from;
  NeighbourEnd best;
  uint32_t visits = 0;

  bool isOver() const { return visits >= mostVisits && best.end != NeighbourEnd::none; }
};

// Rounds as the distance to a point in the box does, so it never exceeds that.
double NearestEnd::Box::squaredDistanceTo(const Point& point) const {
  const double dx = std::max({min.x - point.x, point.x - max.x, 0.0});
  const double dy = std::max({min.y - point.y, point.y - max.y, 0.0});
  return dx * dx + dy * dy;
}

NearestEnd::Box NearestEnd::Box::around(const Box& a, const Box& b) {
  return {{std::min(a.min.x, b.min.x), std::min(a.min.y, b.min.y)},
          {std::max(a.max.x, b.max.x), std::max(a.max.y, b.max.y)}};
}

NearestEnd::NearestEnd(const std::vector<OpenEnd>& ends, std::vector<uint32_t> members)
    : firstLeaf_(std::bit_ceil(static_cast<uint32_t>(members.size()))),
      boxes_(std::size_t{2} * firstLeaf_),
      endOf_(firstLeaf_, NeighbourEnd::none),
      leafOf_(ends.size()) {
  build(ends, members.data(), static_cast<uint32_t>(members.size()), 1);
}

void NearestEnd::build(const std::vector<OpenEnd>& ends, uint32_t* members, uint32_t count,
                       uint32_t node) {
  Box& box = boxes_[node];
  for (uint32_t i = 0; i < count; ++i) {
    const Point& at = ends[members[i]].at;
    box = Box::around(box, {at, at});
  }
  if (node >= firstLeaf_) {
    if (count == 0) return;
    endOf_[node - firstLeaf_] = members[0];
    leafOf_[members[0]] = node;
    return;
  }
  const bool alongX = box.max.x - box.min.x > box.max.y - box.min.y;
  const uint32_t half = count / 2;
  std::nth_element(members, members + half, members + count, [&](uint32_t a, uint32_t b) {
    const Point& pa = ends[a].at;
    const Point& pb = ends[b].at;
    if (alongX && pa.x != pb.x) return pa.x < pb.x;
    if (!alongX && pa.y != pb.y) return pa.y < pb.y;
    return a < b;
  });
  build(ends, members, half, 2 * node);
  build(ends, members + half, count - half, 2 * node + 1);
}

void NearestEnd::visit(uint32_t node, Search& search) const {
  ++search.visits;
  if (node >= firstLeaf_) {
    const NeighbourEnd found{boxes_[node].squaredDistanceTo(search.from),
                             endOf_[node - firstLeaf_]};
    if (found.isBefore(search.best)) search.best = found;
    return;
  }
  uint32_t child = 2 * node;
  double distance = boxes_[child].squaredDistanceTo(search.from);
  double otherDistance = boxes_[child + 1].squaredDistanceTo(search.from);
  if (otherDistance < distance) {
    ++child;
    std::swap(distance, otherDistance);
  }
  if (distance <= search.best.squaredDistance && !search.isOver()) visit(child, search);
  if (otherDistance <= search.best.squaredDistance && !search.isOver()) visit(child ^ 1, search);
}

NeighbourEnd NearestEnd::nearest(const Point& from, const NeighbourEnd& known) const {
  Search search{from, known};
  visit(1, search);
  return search.best;
}

void NearestEnd::remove(uint32_t member) {
  uint32_t node = leafOf_[member];
  endOf_[node - firstLeaf_] = NeighbourEnd::none;
  boxes_[node] = {};
  while (node > 1) {
    node /= 2;
    boxes_[node] = Box::around(boxes_[2 * node], boxes_[2 * node + 1]);
  }
}

}  // namespace stiltforge::slicing
