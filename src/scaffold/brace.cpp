#include "scaffold/brace.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "runtime/worker_pool.h"

namespace stiltforge::scaffold {

namespace {

// Of a pillar that bends, height in diameters.
constexpr double slender = 10;
// Between braces of a pair, in diameters, at least: more would make no pillar stiffer.
constexpr double leastPitch = 5;
// Of the thinner pillar's radius: so both ends of a brace lie inside.
constexpr double mostOfPillar = 0.9;
// Neighbours that a pillar without a brace tries.
constexpr std::size_t mostTries = 24;

struct Neighbour {
  double distance;  // mm
  std::size_t pillar;

  bool operator<(const Neighbour& other) const {
    return distance < other.distance || (distance == other.distance && pillar < other.pillar);
  }
};

// Of the squares in which neighbours are looked for, mm.
constexpr double leastSide = 1;

// Finds pillars within a distance: in squares of that side.
class Surroundings {
 public:
  Surroundings(const std::vector<Pillar>& pillars, double reach)
      : pillars_(pillars), reach_(reach), side_(std::max(reach, leastSide)) {
    for (std::size_t i = 0; i < pillars.size(); ++i) squares_[squareOf(pillars[i])].push_back(i);
  }

  // The nearest first.
  std::vector<Neighbour> of(std::size_t pillar) const {
    const Pillar& here = pillars_[pillar];
    const auto [column, row] = squareOf(here);
    std::vector<Neighbour> neighbours;
    for (long y = row - 1; y <= row + 1; ++y) {
      for (long x = column - 1; x <= column + 1; ++x) {
        const auto square = squares_.find({x, y});
        if (square == squares_.end()) continue;
        for (const std::size_t other : square->second) {
          const double distance =
              std::sqrt((pillars_[other].x - here.x) * (pillars_[other].x - here.x) +
                        (pillars_[other].y - here.y) * (pillars_[other].y - here.y));
          if (other != pillar && distance <= reach_) neighbours.push_back({distance, other});
        }
      }
    }
    std::sort(neighbours.begin(), neighbours.end());
    return neighbours;
  }

 private:
  std::pair<long, long> squareOf(const Pillar& pillar) const {
    return {static_cast<long>(std::floor(pillar.x / side_)),
            static_cast<long>(std::floor(pillar.y / side_))};
  }

  const std::vector<Pillar>& pillars_;
  double reach_;
  double side_;
  std::map<std::pair<long, long>, std::vector<std::size_t>> squares_;
};

// Whether another pillar stands in the circle that has the two as ends of a diameter. Only those
// that are nearer to the first one can.
bool standsBetween(const std::vector<Pillar>& pillars, std::size_t first,
                   const std::vector<Neighbour>& nearer, const Neighbour& second) {
  const Pillar& a = pillars[first];
  const Pillar& b = pillars[second.pillar];
  for (const Neighbour& neighbour : nearer) {
    if (neighbour.distance >= second.distance) return false;
    const Pillar& c = pillars[neighbour.pillar];
    if ((a.x - c.x) * (b.x - c.x) + (a.y - c.y) * (b.y - c.y) <= 0) return true;
  }
  return false;
}

// Those of a pair that are free of the part.
std::vector<Brace> bracesOf(const std::vector<Pillar>& pillars, std::size_t first,
                            std::size_t second, const TriangleIndex& part,
                            const Settings& settings) {
  const Pillar& a = pillars[first];
  const Pillar& b = pillars[second];
  const double apart = std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
  std::vector<Brace> braces;
  if (apart <= a.radius + b.radius) return braces;  // they hold each other
  const double radius =
      std::min(settings.braceDiameter / 2, mostOfPillar * std::min(a.radius, b.radius));
  const double pitch = std::max(apart, leastPitch * 2 * std::min(a.radius, b.radius));
  const double bottom = std::max(a.bottom, b.bottom) + radius;
  // The highest one ends at the lower top, where its tip pulls.
  const double top = std::min(a.top, b.top) - radius;
  bool endsAtFirst = a.top < b.top;
  for (int level = 0; top - level * pitch - apart >= bottom; ++level, endsAtFirst = !endsAtFirst) {
    const double high = top - level * pitch;
    const Pillar& from = endsAtFirst ? b : a;
    const Pillar& to = endsAtFirst ? a : b;
    const Vector begin{from.x, from.y, high - apart};
    const Vector end{to.x, to.y, high};
    if (!part.isFree(begin, end, radius + settings.clearance)) continue;
    braces.push_back({first, second, {{begin, radius}, {end, radius}}});
  }
  return braces;
}

using Pair = std::pair<std::size_t, std::size_t>;

class Bracing {
 public:
  Bracing(const std::vector<Pillar>& pillars, const TriangleIndex& part, const Settings& settings,
          const std::function<void()>& looked, const std::atomic<bool>* cancelled)
      : pillars_(pillars),
        part_(part),
        settings_(settings),
        looked_(looked),
        cancelled_(cancelled),
        surroundings_(pillars, settings.braceReach) {}

  std::vector<Brace> run() {
    add([&](std::size_t i) { return withClearView(i); });
    std::vector<bool> isBraced(pillars_.size());
    for (const auto& [pair, braces] : found_) {
      isBraced[pair.first] = isBraced[pair.first] || !braces.empty();
      isBraced[pair.second] = isBraced[pair.second] || !braces.empty();
    }
    add([&](std::size_t i) { return isBraced[i] ? std::vector<Brace>() : withNearest(i); });
    std::vector<Brace> all;
    for (auto& [pair, braces] : found_) {
      all.insert(all.end(), std::make_move_iterator(braces.begin()),
                 std::make_move_iterator(braces.end()));
    }
    return all;
  }

 private:
  // Those that `find` gives for each pillar.
  template <class Find>
  void add(Find&& find) {
    std::vector<std::vector<Brace>> each(pillars_.size());
    workers::parallelFor(pillars_.size(), [&](std::size_t i) {
      if (cancelled_ && *cancelled_) return;
      each[i] = find(i);
      if (looked_) looked_();
    });
    std::map<Pair, std::vector<Brace>> found;
    for (std::vector<Brace>& braces : each) {
      std::map<Pair, std::vector<Brace>> own;
      for (Brace& brace : braces) own[{brace.first, brace.second}].push_back(std::move(brace));
      found.merge(own);
    }
    found_.merge(found);
  }

  std::vector<Brace> withClearView(std::size_t i) const {
    const std::vector<Neighbour> neighbours = surroundings_.of(i);
    std::vector<Brace> braces;
    for (const Neighbour& neighbour : neighbours) {
      if (neighbour.pillar < i || standsBetween(pillars_, i, neighbours, neighbour)) continue;
      for (Brace& brace : bracesOf(pillars_, i, neighbour.pillar, part_, settings_)) {
        braces.push_back(std::move(brace));
      }
    }
    return braces;
  }

  std::vector<Brace> withNearest(std::size_t i) const {
    const std::vector<Neighbour> neighbours = surroundings_.of(i);
    for (std::size_t n = 0; n < std::min(neighbours.size(), mostTries); ++n) {
      const auto [first, second] = std::minmax(i, neighbours[n].pillar);
      std::vector<Brace> braces = bracesOf(pillars_, first, second, part_, settings_);
      if (!braces.empty()) return braces;
    }
    return {};
  }

  const std::vector<Pillar>& pillars_;
  const TriangleIndex& part_;
  const Settings& settings_;
  const std::function<void()>& looked_;
  const std::atomic<bool>* cancelled_;
  Surroundings surroundings_;
  std::map<Pair, std::vector<Brace>> found_;
};

}  // namespace

bool Pillar::isSlender() const {
  return top - bottom >= slender * 2 * radius;
}

std::optional<Pillar> pillarOf(const std::vector<Ring>& rings) {
  std::optional<Pillar> longest;
  for (std::size_t i = 0; i + 1 < rings.size(); ++i) {
    const auto& [low, lowRadius] = rings[i];
    const auto& [high, highRadius] = rings[i + 1];
    if (low.x != high.x || low.y != high.y || lowRadius != highRadius) continue;
    if (longest && high.z - low.z <= longest->top - longest->bottom) continue;
    longest = Pillar{low.x, low.y, low.z, high.z, lowRadius};
  }
  return longest;
}

std::vector<Brace> bracesBetween(const std::vector<std::optional<Pillar>>& pillars,
                                 const TriangleIndex& part, const Settings& settings,
                                 const std::function<void()>& looked,
                                 const std::atomic<bool>* cancelled) {
  if (!(settings.braceReach > 0)) return {};
  std::vector<Pillar> high;
  std::vector<std::size_t> numbers;
  for (std::size_t i = 0; i < pillars.size(); ++i) {
    if (!pillars[i] || !pillars[i]->isSlender()) continue;
    high.push_back(*pillars[i]);
    numbers.push_back(i);
  }
  std::vector<Brace> braces = Bracing(high, part, settings, looked, cancelled).run();
  for (Brace& brace : braces) {
    brace.first = numbers[brace.first];
    brace.second = numbers[brace.second];
  }
  return braces;
}

}  // namespace stiltforge::scaffold
