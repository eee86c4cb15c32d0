#include "scaffold/route.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace stiltforge::scaffold {

namespace {

using slicing::dot;

// How far a line goes aside for each mm that it goes down.
struct Lean {
  double x = 0;
  double y = 0;

  // So many mm down the line.
  Vector down(const Vector& from, double drop) const {
    return {from.x + drop * x, from.y + drop * y, from.z - drop};
  }
};

// None leans by more than 45 degrees, which prints without supports of its own.
std::vector<Lean> allLeans() {
  constexpr int steps = 4;
  std::vector<Lean> leans;
  for (int y = -steps; y <= steps; ++y) {
    for (int x = -steps; x <= steps; ++x) {
      if (x * x + y * y <= steps * steps) leans.push_back({x / 4.0, y / 4.0});
    }
  }
  return leans;
}

// Those of tips, the one that is nearest to upright on the surface first.
std::vector<Lean> leansFor(const Vector& outward) {
  const double level = std::sqrt(outward.x * outward.x + outward.y * outward.y);
  // No steeper than the table.
  const double down = std::max(-outward.z, level);
  const Lean wanted{outward.x / down, outward.y / down};
  const auto away = [&](const Lean& lean) {
    const double x = lean.x - wanted.x;
    const double y = lean.y - wanted.y;
    return x * x + y * y;
  };
  std::vector<Lean> leans = allLeans();
  std::stable_sort(leans.begin(), leans.end(),
                   [&](const Lean& a, const Lean& b) { return away(a) < away(b); });
  return leans;
}

// Bridges lean by 45 degrees. Their ends, mm:
constexpr double spanStep = 0.5;
constexpr int mostSpanSteps = 30;
// How far down a pillar goes before it bridges, mm.
constexpr std::array<double, 5> dropsBeforeBridge{0, 1, 3, 7, 15};
// Tips that are looked at where no pillar goes straight down.
constexpr std::size_t mostTips = 12;
// Of them, those that are tried one after the other; further down only the first.
constexpr std::size_t mostBridgedTips = 3;
// Bridges that are tried in each sector of the directions.
constexpr std::size_t sectors = 32;
constexpr int mostTriesInSector = 2;

// An eighth of a turn has four of them.
std::size_t sectorOf(int x, int y) {
  const int least = std::min(std::abs(x), std::abs(y));
  const int most = std::max(std::abs(x), std::abs(y));
  const int eighth = (x < 0 ? 4 : 0) + (y < 0 ? 2 : 0) + (std::abs(x) < std::abs(y) ? 1 : 0);
  return static_cast<std::size_t>(4 * eighth + std::min(3, 4 * least / most));
}

// Shares of the settings, tried one after the other.
constexpr std::array<double, 4> tipLengths{1, 1.5, 0.6, 0.4};
struct Shares {
  double pillar;
  double clearance;
};
constexpr std::array<Shares, 3> builds{{{1, 1}, {0.6, 0.7}, {0.4, 0.35}}};

// Where a tip is looked at, as shares of its length: close to its contact, too, or it might leave
// it on the wrong side of a wall.
constexpr std::array<double, 11> tipPieces{1.0 / 64, 1.0 / 32, 1.0 / 16, 0.125, 0.25, 0.375,
                                           0.5,      0.625,    0.75,     0.875, 1};
// Next to its contact a tip may come as near to the surface as on one that slants by 45 degrees
// against it.
constexpr double leastRise = 0.6;
// A lower tip stands on nothing that is steeper than 60 degrees.
constexpr double flattestNormal = 0.5;

}  // namespace

class RouteFinder::Search {
 public:
  Search(const RouteFinder& finder, const Contact& contact)
      : finder_(finder),
        part_(finder.part_),
        settings_(finder.settings_),
        base_(finder.base_),
        contact_(contact),
        tipRadius_(settings_.tipDiameter / 2),
        leans_(leansFor(contact.outward)) {}

  std::optional<Route> run() {
    const double height = contact_.point.z - base_;
    if (height < settings_.footHeight + tipLengths.back() * settings_.tipLength) {
      if (auto route = low(height)) return route;
    }
    std::array<std::vector<Tip>, builds.size()> tips;
    for (std::size_t i = 0; i < builds.size(); ++i) {
      build_ = &finder_.builds_[i];
      if (auto route = straight(tips.at(i))) return route;
      if (auto route = bridged(tips.at(i))) return route;
    }
    for (std::size_t i = 0; i < builds.size(); ++i) {
      build_ = &finder_.builds_[i];
      for (const Tip& tip : tips.at(i)) {
        if (auto route = onPart(tip)) return route;
      }
      if (auto route = strut()) return route;
    }
    return std::nullopt;
  }

 private:
  struct Tip {
    Lean lean;
    Vector end;  ///< below, where the pillar begins
  };

  double radius() const { return build_->radius; }
  double room() const { return build_->radius + build_->clearance; }

  // Whether a cone from a contact, `drop` mm down or, where that is negative, up, stays outside the
  // part; its radius grows from that of the tip to `radius`.
  bool coneIsFree(const Vector& from, const Lean& lean, double drop, double radius) const {
    for (std::size_t i = 0; i + 1 < tipPieces.size(); ++i) {
      const double begin = tipPieces.at(i);
      const double end = tipPieces.at(i + 1);
      const double wide = tipRadius_ + (radius - tipRadius_) * end;
      const double distance = std::min(wide, leastRise * begin * std::abs(drop));
      if (!part_.isFree(lean.down(from, begin * drop), lean.down(from, end * drop), distance,
                        &inTipsWay_.at(i))) {
        return false;
      }
    }
    return true;
  }

  bool columnIsFree(const Vector& top, double bottom) const {
    return part_.isFree(Column{top.x, top.y, bottom, top.z, room()}, &inPillarsWay_);
  }

  // With the first tip under which nothing is in the way. Appends the first others that are free.
  std::optional<Route> straight(std::vector<Tip>& tips) const {
    for (const double share : tipLengths) {
      const double drop = share * settings_.tipLength;
      if (contact_.point.z - drop < base_ + settings_.footHeight) continue;
      for (const Lean& lean : leans_) {
        const Tip tip{lean, lean.down(contact_.point, drop)};
        const bool isStraight = columnIsFree(tip.end, base_);
        if (!isStraight && tips.size() == mostTips) continue;
        if (!part_.isFree(tip.end, tip.end, room(), &inTipEndsWay_)) continue;
        if (!coneIsFree(contact_.point, lean, drop, radius())) continue;
        tips.push_back(tip);
        if (!isStraight) continue;
        Route route;
        addFoot(route.rings, tip.end.x, tip.end.y);
        addTip(route.rings, tip);
        return route;
      }
    }
    return std::nullopt;
  }

  // The top of a tip, inside the part, and what it grows to.
  void addTip(std::vector<Ring>& rings, const Tip& tip) const {
    rings.push_back({tip.end, radius()});
    rings.push_back({contact_.point, tipRadius_});
    rings.push_back({tip.lean.down(contact_.point, -contact_.penetration), tipRadius_});
  }

  // The widest foot that the part leaves room for.
  void addFoot(std::vector<Ring>& rings, double x, double y) const {
    const double top = base_ + settings_.footHeight;
    double foot = radius();
    for (const double share : {1.0, 0.8, 0.6, 0.4, 0.2}) {
      const double wide = radius() + share * (settings_.footDiameter / 2 - radius());
      if (wide <= radius() || !part_.isFree(Column{x, y, base_, top, wide + build_->clearance})) {
        continue;
      }
      foot = wide;
      break;
    }
    rings.push_back({{x, y, base_}, foot});
    rings.push_back({{x, y, top}, radius()});
  }

  std::optional<Route> bridged(const std::vector<Tip>& tips) const {
    for (const double drop : dropsBeforeBridge) {
      const std::size_t count = drop > 0 ? 1 : mostBridgedTips;
      for (std::size_t i = 0; i < std::min(count, tips.size()); ++i) {
        const Vector begin = Lean().down(tips[i].end, drop);
        if (begin.z < base_ + settings_.footHeight) continue;
        if (drop > 0 && !columnIsFree(tips[i].end, begin.z)) continue;
        if (const auto end = bridgeFrom(begin)) {
          Route route;
          route.stand = Stand::bridge;
          addFoot(route.rings, end->x, end->y);
          route.rings.push_back({*end, radius()});
          if (drop > 0) route.rings.push_back({begin, radius()});
          addTip(route.rings, tips[i]);
          return route;
        }
      }
    }
    return std::nullopt;
  }

  // The end of the shortest bridge from which a pillar reaches the plate.
  std::optional<Vector> bridgeFrom(const Vector& begin) const {
    std::array<int, sectors> tries{};
    for (const Span& span : finder_.spans_) {
      const Vector end{begin.x + span.x, begin.y + span.y, begin.z - span.length};
      if (end.z < base_ + settings_.footHeight) return std::nullopt;
      if (build_->columns.topAt(end.x, end.y) < end.z) continue;
      if (tries.at(span.sector) == mostTriesInSector) continue;
      if (part_.isFree(begin, end, room(), &inBridgesWay_)) return end;
      ++tries.at(span.sector);
    }
    return std::nullopt;
  }

  // Whether the surface is flat enough for a tip to stand on.
  static bool isStand(const TriangleIndex::Hit& hit) {
    return std::abs(hit.normal.z) >= flattestNormal;
  }

  std::optional<TriangleIndex::Hit> below(const Vector& point) const {
    return part_.highest(point.x, point.y, base_, point.z);
  }

  // mm by which a lower tip reaches into the part that it stands on.
  double sinking(const Vector& stand) const {
    const double deep = std::max(settings_.penetration, 1.5 * settings_.layerHeight);
    const auto through =
        part_.highest(stand.x, stand.y, stand.z - 2 * deep, stand.z - settings_.layerHeight / 4);
    const double thickness = through ? stand.z - through->point.z : 2 * deep;
    return std::min({deep, thickness / 2, (stand.z - base_) / 2});
  }

  void addStand(std::vector<Ring>& rings, const Vector& stand) const {
    rings.push_back({{stand.x, stand.y, stand.z - sinking(stand)}, tipRadius_});
    rings.push_back({stand, tipRadius_});
  }

  // Straight down to the part below.
  std::optional<Route> onPart(const Tip& tip) const {
    const auto stand = below(tip.end);
    if (!stand || !isStand(*stand)) return std::nullopt;
    for (const double share : tipLengths) {
      const double rise = share * settings_.tipLength;
      const Vector end = Lean().down(stand->point, -rise);
      if (end.z > tip.end.z) continue;
      if (!coneIsFree(stand->point, {}, -rise, radius())) continue;
      if (!part_.isFree(tip.end, end, room())) continue;
      Route route;
      route.stand = Stand::part;
      addStand(route.rings, stand->point);
      route.rings.push_back({end, radius()});
      addTip(route.rings, tip);
      return route;
    }
    return std::nullopt;
  }

  // Where the part below is too near for two tips: a rod that is a little thicker in its middle.
  std::optional<Route> strut() const {
    const auto near = part_.highest(contact_.point.x, contact_.point.y, base_,
                                    contact_.point.z - settings_.layerHeight);
    if (!near || !isStand(*near)) return std::nullopt;
    const double half = (contact_.point.z - near->point.z) / 2;
    const double wide = std::min(radius(), tipRadius_ + 0.15 * half);
    if (half > settings_.tipLength || !coneIsFree(contact_.point, {}, half, wide) ||
        !coneIsFree(near->point, {}, -half, wide)) {
      return std::nullopt;
    }
    // A shorter one is all tip, and may touch a wall beside it.
    const Vector& top = contact_.point;
    if (half > 2 * tipRadius_ &&
        !part_.isFree(Column{top.x, top.y, top.z - 1.5 * half, top.z - 0.5 * half, wide})) {
      return std::nullopt;
    }
    Route route;
    route.stand = Stand::part;
    addStand(route.rings, near->point);
    const Vector middle = Lean().down(contact_.point, half);
    route.rings.push_back({middle, wide});
    route.rings.push_back({contact_.point, tipRadius_});
    route.rings.push_back({Lean().down(contact_.point, -contact_.penetration), tipRadius_});
    return route;
  }

  // A cone from the plate, as wide as the part leaves room for.
  std::optional<Route> low(double height) const {
    if (height < settings_.layerHeight) return std::nullopt;
    const Vector& top = contact_.point;
    for (const double flare : {1.0, 0.5, 0.25, 0.0}) {
      const double wide = std::min(settings_.footDiameter / 2, tipRadius_ + flare * height);
      // Near its contact it may touch the part.
      const double skipped = std::max(height / 4, 1.5 * tipRadius_);
      bool isFree = true;
      for (int piece = 0; piece < 4 && isFree && skipped < height; ++piece) {
        const double begin = skipped + (height - skipped) * piece / 4;
        const double end = skipped + (height - skipped) * (piece + 1) / 4;
        const double radius = tipRadius_ + (wide - tipRadius_) * end / height;
        isFree = part_.isFree(Column{top.x, top.y, top.z - end, top.z - begin, radius});
      }
      if (!isFree) continue;
      Route route;
      route.stand = Stand::low;
      route.rings.push_back({{top.x, top.y, base_}, wide});
      route.rings.push_back({top, tipRadius_});
      route.rings.push_back({Lean().down(top, -contact_.penetration), tipRadius_});
      return route;
    }
    return std::nullopt;
  }

  const RouteFinder& finder_;
  const TriangleIndex& part_;
  const Settings& settings_;
  double base_;
  const Contact& contact_;
  double tipRadius_;
  std::vector<Lean> leans_;
  const Build* build_ = nullptr;

  // Those that were met last.
  mutable std::array<TriangleIndex::Obstacle, tipPieces.size()> inTipsWay_{};
  mutable TriangleIndex::Obstacle inTipEndsWay_ = nullptr;
  mutable TriangleIndex::Obstacle inPillarsWay_ = nullptr;
  mutable TriangleIndex::Obstacle inBridgesWay_ = nullptr;
};

RouteFinder::RouteFinder(const TriangleIndex& part, const Settings& settings, double base)
    : part_(part), settings_(settings), base_(base) {
  const OpenColumns columns(part.triangles(), part.bounds());
  for (const Shares& shares : builds) {
    const double radius =
        std::max(settings.tipDiameter, shares.pillar * settings.pillarDiameter) / 2;
    const double clearance = shares.clearance * settings.clearance;
    builds_.push_back({radius, clearance, {columns, radius + clearance}});
  }
  for (int y = -mostSpanSteps; y <= mostSpanSteps; ++y) {
    for (int x = -mostSpanSteps; x <= mostSpanSteps; ++x) {
      const int squared = x * x + y * y;
      if (squared == 0 || squared > mostSpanSteps * mostSpanSteps) continue;
      spans_.push_back({spanStep * x, spanStep * y, spanStep * std::sqrt(squared), sectorOf(x, y)});
    }
  }
  std::stable_sort(spans_.begin(), spans_.end(),
                   [](const Span& a, const Span& b) { return a.length < b.length; });
}

std::optional<Route> RouteFinder::find(const Contact& contact) const {
  return Search(*this, contact).run();
}

}  // namespace stiltforge::scaffold
