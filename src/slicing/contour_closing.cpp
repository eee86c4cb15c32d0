#include "slicing/contour_closing.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "slicing/nearest_end.h"

namespace stiltforge::slicing {

namespace {

struct Pair {
  double squaredDistance;
  uint32_t end;    // where contours end
  uint32_t start;  // where contours start
  int32_t count;   // contours that go on from one to the other

  bool isBefore(const Pair& other) const {
    if (squaredDistance != other.squaredDistance) return squaredDistance < other.squaredDistance;
    return end != other.end ? end < other.end : start < other.start;
  }
};

// Joins ends at the same position, where no distance needs looking at.
void mergeCoincident(std::vector<OpenEnd>& ends) {
  std::sort(ends.begin(), ends.end(), [](const OpenEnd& a, const OpenEnd& b) {
    return a.at.x != b.at.x ? a.at.x < b.at.x : a.at.y < b.at.y;
  });
  std::size_t kept = 0;
  for (std::size_t i = 0; i < ends.size(); ++i) {
    if (kept > 0 && ends[kept - 1].at == ends[i].at) {
      ends[kept - 1].surplus += ends[i].surplus;
    } else {
      ends[kept++] = ends[i];
    }
  }
  ends.resize(kept);
}

void dropMatched(std::vector<OpenEnd>& ends) {
  ends.erase(
      std::remove_if(ends.begin(), ends.end(), [](const OpenEnd& end) { return end.surplus == 0; }),
      ends.end());
}

// Takes the ends and the starts that lie closest to each other, then those that do of what is left,
// and so on.
//
// Two that are each other's nearest come before any other pair of either, so they can be taken at
// once, wherever they are. Going from anywhere to the nearest of the other kind, from there to the
// nearest again and so on leads to such two; the way up to them stays good for the next. That is
// the nearest-neighbour chain (F. Murtagh, "A survey of recent advances in hierarchical clustering
// algorithms", The Computer Journal 26(4), 1983): three searches a pair at most, whatever the ends.
class ClosestPairs {
 public:
  // Uses the surpluses up.
  explicit ClosestPairs(std::vector<OpenEnd>& ends)
      : ends_(ends), whereEnding_(ends, indicesOf(true)), whereStarting_(ends, indicesOf(false)) {}

  std::vector<Pair> take() {
    for (uint32_t first = 0; first < ends_.size(); ++first) {
      while (isOpen(first)) {
        if (chain_.empty()) chain_.push_back(first);
        goOn();
      }
    }
    std::sort(pairs_.begin(), pairs_.end(),
              [](const Pair& a, const Pair& b) { return a.isBefore(b); });
    return std::move(pairs_);
  }

 private:
  bool isOpen(uint32_t end) const { return ends_[end].surplus != 0; }

  std::vector<uint32_t> indicesOf(bool ending) const {
    std::vector<uint32_t> indices;
    for (uint32_t i = 0; i < ends_.size(); ++i) {
      if ((ends_[i].surplus > 0) == ending) indices.push_back(i);
    }
    return indices;
  }

  // Lengthens the chain by one, or takes its last two.
  void goOn() {
    const uint32_t tip = chain_.back();
    chain_.pop_back();
    // Only a search cut short leads back to one that has been closed since.
    if (!isOpen(tip)) return;
    NeighbourEnd before;
    if (!chain_.empty() && isOpen(chain_.back())) before = neighbour(tip, chain_.back());
    const NearestEnd& others = ends_[tip].surplus > 0 ? whereStarting_ : whereEnding_;
    const NeighbourEnd next = others.nearest(ends_[tip].at, before);
    if (next.end == before.end) {
      chain_.pop_back();
      join(tip, next);
    } else {
      chain_.push_back(tip);
      chain_.push_back(next.end);
    }
  }

  NeighbourEnd neighbour(uint32_t from, uint32_t to) const {
    const double dx = ends_[to].at.x - ends_[from].at.x;
    const double dy = ends_[to].at.y - ends_[from].at.y;
    return {dx * dx + dy * dy, to};
  }

  void join(uint32_t tip, const NeighbourEnd& neighbour) {
    const bool tipEnds = ends_[tip].surplus > 0;
    const uint32_t end = tipEnds ? tip : neighbour.end;
    const uint32_t start = tipEnds ? neighbour.end : tip;
    const int32_t count = std::min(ends_[end].surplus, -ends_[start].surplus);
    pairs_.push_back({neighbour.squaredDistance, end, start, count});
    ends_[end].surplus -= count;
    ends_[start].surplus += count;
    if (!isOpen(end)) whereEnding_.remove(end);
    if (!isOpen(start)) whereStarting_.remove(start);
  }

  std::vector<OpenEnd>& ends_;
  NearestEnd whereEnding_;
  NearestEnd whereStarting_;
  std::vector<uint32_t> chain_;
  std::vector<Pair> pairs_;
};

}  // namespace

void closeContours(std::vector<OpenEnd>& ends, std::vector<Segment>& segments) {
  mergeCoincident(ends);
  dropMatched(ends);
  for (const Pair& pair : ClosestPairs(ends).take()) {
    const Segment segment{ends[pair.end].at, ends[pair.start].at};
    segments.insert(segments.end(), static_cast<std::size_t>(pair.count), segment);
  }
  ends.clear();
}

}  // namespace stiltforge::slicing
