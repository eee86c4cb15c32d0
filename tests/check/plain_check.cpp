#include "plain_check.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <set>
#include <tuple>
#include <vector>

namespace stiltforge::check {

namespace {

// Layer, row, column.
struct Voxel {
  int layer;
  int y;
  int x;
  bool operator<(const Voxel& other) const {
    return std::tie(layer, y, x) < std::tie(other.layer, other.y, other.x);
  }
};
using Voxels = std::set<Voxel>;
using Neighbours = std::function<std::vector<Voxel>(const Voxel&)>;

// The connected sets of the voxels, in order of their first ones.
std::vector<Voxels> piecesOf(const Voxels& all, const Neighbours& neighbours) {
  std::vector<Voxels> pieces;
  Voxels left = all;
  while (!left.empty()) {
    Voxels piece;
    std::vector<Voxel> open{*left.begin()};
    left.erase(left.begin());
    while (!open.empty()) {
      const Voxel at = open.back();
      open.pop_back();
      piece.insert(at);
      for (const Voxel& next : neighbours(at)) {
        if (left.erase(next) > 0) open.push_back(next);
      }
    }
    pieces.push_back(piece);
  }
  return pieces;
}

std::vector<Voxel> around(const Voxel& v, bool corners) {
  std::vector<Voxel> found;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      if (corners || dx == 0 || dy == 0) found.push_back({v.layer, v.y + dy, v.x + dx});
    }
  }
  return found;
}

std::vector<Voxels> piecesInLayers(const Voxels& all) {
  return piecesOf(all, [](const Voxel& v) { return around(v, true); });
}

Spot centreOf(const Voxels& piece) {
  int64_t sumX = 0;
  int64_t sumY = 0;
  for (const Voxel& v : piece) {
    sumX += v.x;
    sumY += v.y;
  }
  const auto size = static_cast<int64_t>(piece.size());
  const int64_t x = sumX / size;
  const int64_t y = sumY / size;
  const Voxel best =
      *std::min_element(piece.begin(), piece.end(), [&](const Voxel& a, const Voxel& b) {
        const auto away = [&](const Voxel& v) {
          return (v.x - x) * (v.x - x) + (v.y - y) * (v.y - y);
        };
        return away(a) < away(b);
      });
  return {static_cast<uint32_t>(best.layer), static_cast<uint16_t>(best.x),
          static_cast<uint16_t>(best.y)};
}

Extent extentOf(const Voxels& body, bool corners) {
  Extent extent;
  const auto of = [&](auto member) {
    const auto [low, high] =
        std::minmax_element(body.begin(), body.end(),
                            [&](const Voxel& a, const Voxel& b) { return a.*member < b.*member; });
    return std::pair((*low).*member, (*high).*member);
  };
  const auto [firstLayer, lastLayer] = of(&Voxel::layer);
  const auto [left, right] = of(&Voxel::x);
  const auto [top, bottom] = of(&Voxel::y);
  extent.firstLayer = static_cast<uint32_t>(firstLayer);
  extent.lastLayer = static_cast<uint32_t>(lastLayer);
  extent.left = static_cast<uint16_t>(left);
  extent.right = static_cast<uint16_t>(right);
  extent.top = static_cast<uint16_t>(top);
  extent.bottom = static_cast<uint16_t>(bottom);
  extent.pixels = body.size();
  for (const Voxels& piece : piecesOf(body, [&](const Voxel& v) { return around(v, corners); })) {
    const Spot centre = centreOf(piece);
    const auto rank = [](const Spot& s) { return std::tuple(s.layer, s.y, s.x); };
    if (piece.size() > extent.pieceSize ||
        (piece.size() == extent.pieceSize && rank(centre) < rank(extent.piece))) {
      extent.pieceSize = static_cast<uint32_t>(piece.size());
      extent.piece = centre;
    }
  }
  return extent;
}

class PlainCheck {
 public:
  PlainCheck(const Stack& stack, const CheckSettings& settings)
      : stack_(stack), s_(settings), pixelArea_(s_.pixelWidth * s_.pixelHeight) {
    islandLayers_ = static_cast<int>(std::floor(s_.islandHeight / s_.layerHeight + 1e-9));
    for (int z = 0; z < stack.depth(); ++z) {
      if (!layerVoxels(z).empty()) solid_.push_back(z);
    }
  }

  CheckReport report() {
    findEmptyLayers();
    findFloating();
    findOverhang();
    findEdges();
    findCavities();
    if (specks_.count > 0) {
      specks_.severity = specks_.volume >= 100 * s_.speckVolume ? Severity::risk : Severity::note;
      note(specks_);
    }
    CheckReport report;
    report.layers = static_cast<uint32_t>(stack_.depth());
    for (const int z : solid_) report.volume += volumeOf(layerVoxels(z).size());
    for (const Finding& finding : findings_) {
      ++report.counts[static_cast<std::size_t>(finding.severity)];
    }
    report.findings = findings_;
    return report;
  }

 private:
  double areaOf(std::size_t pixels) const { return static_cast<double>(pixels) * pixelArea_; }
  double volumeOf(std::size_t pixels) const { return areaOf(pixels) * s_.layerHeight; }
  void note(const Finding& finding) { findings_.push_back(finding); }

  Voxels layerVoxels(int z) const {
    Voxels found;
    for (int y = 0; y < stack_.height(); ++y) {
      for (int x = 0; x < stack_.width(); ++x) {
        if (stack_.at(z, x, y)) found.insert({z, y, x});
      }
    }
    return found;
  }
  bool isOnPlate(int z) const { return z == solid_.front() && s_.liftedLayers == 0; }
  // The layer with material below that one; -1 below the first.
  int below(int z) const {
    const auto at = std::lower_bound(solid_.begin(), solid_.end(), z);
    return at == solid_.begin() ? -1 : *(at - 1);
  }
  int above(int z) const {
    const auto at = std::upper_bound(solid_.begin(), solid_.end(), z);
    return at == solid_.end() ? -1 : *at;
  }

  void findEmptyLayers() {
    for (int z = 0; z < stack_.depth();) {
      int end = z;
      while (end < stack_.depth() && layerVoxels(end).empty()) ++end;
      const auto lifted = static_cast<int>(s_.liftedLayers);
      const bool isBelowPart = z == 0 && lifted > 0 && end <= lifted + 1 && end < stack_.depth();
      if (end > z && !isBelowPart) {
        const bool isTop = end == stack_.depth() && z > 0;
        Finding finding;
        finding.kind = Kind::emptyLayers;
        finding.severity = isTop ? Severity::note : Severity::fails;
        finding.extent.firstLayer = static_cast<uint32_t>(z);
        finding.extent.lastLayer = static_cast<uint32_t>(end - 1);
        finding.extent.piece.layer = static_cast<uint32_t>(z);
        note(finding);
      }
      z = end + 1;
    }
  }

  // The points that material of the layer touches.
  std::vector<std::size_t> touchedIn(int z) const {
    std::vector<std::size_t> touched;
    for (std::size_t i = 0; i < stack_.points.size(); ++i) {
      const SupportPoint& p = stack_.points[i];
      if (!stack_.at(z, p.x, p.y)) continue;
      const int away = std::abs(static_cast<int>(p.layer) - z);
      const bool begins = !stack_.at(below(z), p.x, p.y);
      if (away == 0 || (begins && away <= islandLayers_)) touched.push_back(i);
    }
    return touched;
  }

  struct Island {
    Spot spot;
    std::size_t pixels;
  };
  struct Body {
    bool isHeld = false;
    Voxels voxels;
    std::vector<Island> islands;
  };

  void findFloating() {
    const auto specks =
        static_cast<std::size_t>(std::ceil(s_.speckVolume / (pixelArea_ * s_.layerHeight) - 1e-9));
    std::vector<Body> bodies;
    std::set<std::size_t> touchedPoints;
    const auto isSpeck = [&](const Body& body) {
      if (body.voxels.size() >= specks) return false;
      if (specks_.count++ == 0) specks_.extent = {};
      specks_.extent.join(extentOf(body.voxels, true));
      specks_.volume += volumeOf(body.voxels.size());
      return true;
    };
    const auto lose = [&](const Body& body) {
      if (body.isHeld || isSpeck(body)) return;
      Finding finding;
      finding.kind = Kind::floatingPart;
      finding.severity = Severity::fails;
      finding.extent = extentOf(body.voxels, true);
      finding.area = areaOf(finding.extent.pieceSize);
      finding.extent.piece = body.islands.front().spot;
      finding.count = static_cast<uint32_t>(body.islands.size());
      finding.volume = volumeOf(body.voxels.size());
      note(finding);
    };
    const auto take = [&](const Body& body, int z) {
      if (isSpeck(body)) return;
      for (const Island& island : body.islands) {
        Finding finding;
        finding.kind = Kind::island;
        const int most = island.pixels > 4 ? islandLayers_ : islandLayers_ + 1;
        const int grown = z - static_cast<int>(island.spot.layer);
        finding.severity = grown > most ? Severity::fails : Severity::note;
        finding.extent = extentOf(body.voxels, true);
        finding.extent.firstLayer = island.spot.layer;
        finding.extent.piece = island.spot;
        finding.volume = volumeOf(body.voxels.size());
        finding.area = areaOf(island.pixels);
        finding.takenIn = static_cast<uint32_t>(z);
        note(finding);
      }
    };
    for (const int z : solid_) {
      std::vector<Body> next;
      std::set<std::size_t> goesOn;
      const std::vector<Voxels> regions = piecesInLayers(layerVoxels(z));
      // The bodies before are the first, the regions follow.
      std::vector<std::size_t> group(bodies.size() + regions.size());
      for (std::size_t i = 0; i < group.size(); ++i) group[i] = i;
      for (std::size_t r = 0; r < regions.size(); ++r) {
        for (const Voxel& v : regions[r]) {
          for (std::size_t b = 0; b < bodies.size(); ++b) {
            if (!bodies[b].voxels.contains({below(z), v.y, v.x})) continue;
            const std::size_t from = group[bodies.size() + r];
            for (std::size_t& g : group) g = g == from ? group[b] : g;
          }
        }
      }
      const std::vector<std::size_t> touched = touchedIn(z);
      touchedPoints.insert(touched.begin(), touched.end());
      for (const std::size_t number : std::set<std::size_t>(group.begin(), group.end())) {
        Body whole;
        bool isThere = false;
        whole.isHeld = isOnPlate(z);
        for (std::size_t r = 0; r < regions.size(); ++r) {
          if (group[bodies.size() + r] != number) continue;
          isThere = true;
          for (const std::size_t i : touched) {
            const SupportPoint& p = stack_.points[i];
            if (regions[r].contains({z, p.y, p.x})) whole.isHeld = true;
          }
        }
        std::vector<const Body*> floating;
        for (std::size_t b = 0; b < bodies.size(); ++b) {
          if (group[b] != number) continue;
          if (bodies[b].isHeld) whole.isHeld = true;
          if (!bodies[b].isHeld) floating.push_back(&bodies[b]);
        }
        if (!isThere) {
          for (const Body* body : floating) lose(*body);
          continue;
        }
        if (whole.isHeld) {
          for (const Body* body : floating) take(*body, z);
        } else {
          std::sort(floating.begin(), floating.end(), [](const Body* a, const Body* b) {
            const auto rank = [](const Body* body) {
              const Spot& s = body->islands.front().spot;
              return std::tuple(-static_cast<int>(body->voxels.size()), s.layer, s.y, s.x);
            };
            return rank(a) < rank(b);
          });
          for (const Body* body : floating) {
            const bool counts = body == floating.front() || body->voxels.size() >= specks;
            for (const Island& island : body->islands) {
              const bool isOld = z - static_cast<int>(island.spot.layer) > islandLayers_;
              if (body == floating.front() || (counts && isOld)) whole.islands.push_back(island);
            }
          }
        }
        for (const Body* body : floating) {
          whole.voxels.insert(body->voxels.begin(), body->voxels.end());
        }
        for (std::size_t b = 0; b < bodies.size(); ++b) {
          if (group[b] == number)
            whole.voxels.insert(bodies[b].voxels.begin(), bodies[b].voxels.end());
        }
        for (std::size_t r = 0; r < regions.size(); ++r) {
          if (group[bodies.size() + r] != number) continue;
          whole.voxels.insert(regions[r].begin(), regions[r].end());
          if (!whole.isHeld) {
            for (const Voxel& v : regions[r]) floats_.insert(v);
            if (whole.islands.empty())
              whole.islands.push_back({centreOf(regions[r]), regions[r].size()});
          }
        }
        next.push_back(whole);
      }
      bodies = next;
    }
    for (const Body& body : bodies) lose(body);
    noteIdlePoints(touchedPoints);
  }

  void noteIdlePoints(const std::set<std::size_t>& touched) {
    Finding finding;
    finding.kind = Kind::idlePoints;
    finding.severity = Severity::risk;
    finding.count = 0;
    for (std::size_t i = 0; i < stack_.points.size(); ++i) {
      if (touched.contains(i)) continue;
      const SupportPoint& p = stack_.points[i];
      finding.extent.join({p.layer, p.layer, p.x, p.x, p.y, p.y, 1, 0, 1, {p.layer, p.x, p.y}});
      ++finding.count;
    }
    if (finding.count > 0) note(finding);
  }

  static bool isWithin(int dx, int dy, double columns, double rows) {
    if (dy == 0) return std::abs(dx) <= columns + 1e-9;
    if (std::abs(dy) > rows + 1e-9) return false;
    const double share = std::min(std::abs(dy) / rows, 1.0);
    return std::abs(dx) <= columns * std::sqrt(1 - share * share) + 1e-9;
  }

  void findOverhang() {
    const double step = s_.nearReach / 4;
    const int steps = static_cast<int>(std::round(s_.farReach / step));
    const double angle = s_.criticalAngle * std::numbers::pi / 180;
    const double growth = 1.1 * s_.layerHeight * std::cos(angle) / std::sin(angle);
    double columns = 0;
    double rows = 0;
    std::vector<Voxels> within(static_cast<std::size_t>(steps) + 1);
    Voxels nearly;
    Voxels far;
    for (const int z : solid_) {
      const double reachX =
          std::floor(columns + growth / s_.pixelWidth) - std::floor(columns) + 0.5;
      const double reachY = std::floor(rows + growth / s_.pixelHeight) - std::floor(rows) + 0.5;
      columns += growth / s_.pixelWidth;
      rows += growth / s_.pixelHeight;
      const std::vector<Voxels> regions = piecesInLayers(layerVoxels(z));
      std::vector<Voxels> next(within.size());
      for (std::size_t k = 0; k < next.size(); ++k) {
        for (const Voxels& region : regions) {
          for (const Voxel& v : region) {
            bool is = isOnPlate(z) || floats_.contains(v);
            for (const Voxel& w : within[k]) {
              is = is || isWithin(v.x - w.x, v.y - w.y, reachX, reachY);
            }
            for (const std::size_t i : touchedIn(z)) {
              const SupportPoint& p = stack_.points[i];
              is = is || isWithin(v.x - p.x, v.y - p.y, s_.tipRadius / s_.pixelWidth,
                                  s_.tipRadius / s_.pixelHeight);
            }
            if (k > 0 && !is) {
              for (const Voxel& w : region) {
                is = is ||
                     (next[k - 1].contains(w) &&
                      isWithin(v.x - w.x, v.y - w.y, step / s_.pixelWidth, step / s_.pixelHeight));
              }
            }
            if (is) next[k].insert(v);
          }
        }
      }
      within = next;
      for (const Voxel& v : layerVoxels(z)) {
        if (!within[4].contains(v)) nearly.insert(v);
        if (!within[static_cast<std::size_t>(steps)].contains(v)) far.insert(v);
      }
    }
    for (const Voxels& body : bodiesOf(nearly, std::ceil(growth / s_.pixelWidth) + 0.5,
                                       std::ceil(growth / s_.pixelHeight) + 0.5)) {
      Finding finding;
      finding.kind = Kind::overhang;
      finding.extent = extentOf(body, true);
      finding.area = areaOf(finding.extent.pieceSize);
      std::size_t most = 0;
      std::set<int> farLayers;
      for (const Voxels& piece : piecesInLayers(body)) {
        const auto count = static_cast<std::size_t>(std::count_if(
            piece.begin(), piece.end(), [&](const Voxel& v) { return far.contains(v); }));
        most = std::max(most, count);
        if (count > 0) farLayers.insert(piece.begin()->layer);
      }
      if (finding.area < s_.leastOverhang) continue;
      const bool isFar = most > 0 && areaOf(most) >= s_.leastOverhang;
      const bool isFarLong = isFar && *farLayers.rbegin() - *farLayers.begin() >= islandLayers_;
      const bool isLong = static_cast<int>(finding.extent.lastLayer) -
                              static_cast<int>(finding.extent.firstLayer) >=
                          islandLayers_;
      finding.severity = isFarLong         ? Severity::fails
                         : isFar || isLong ? Severity::risk
                                           : Severity::note;
      note(finding);
    }
  }

  // Sets that hang together within reach of each other, layers without material left out.
  std::vector<Voxels> bodiesOf(const Voxels& all, double columns, double rows) const {
    return piecesOf(all, [&](const Voxel& v) {
      std::vector<Voxel> next = around(v, true);
      for (const Voxel& other : all) {
        const bool isNext = other.layer == below(v.layer) || other.layer == above(v.layer);
        if (isNext && isWithin(other.x - v.x, other.y - v.y, columns, rows)) next.push_back(other);
      }
      return next;
    });
  }

  void findEdges() {
    Voxels border;
    for (const int z : solid_) {
      for (const Voxel& v : layerVoxels(z)) {
        const uint32_t column = s_.cropX + static_cast<uint32_t>(v.x);
        const uint32_t row = s_.cropY + static_cast<uint32_t>(v.y);
        if (column == 0 || row == 0 || column + 1 == s_.screenWidth || row + 1 == s_.screenHeight) {
          border.insert(v);
        }
      }
    }
    for (const Voxels& body : bodiesOf(border, 0, 0)) {
      Finding finding;
      finding.kind = Kind::screenEdge;
      finding.severity = Severity::risk;
      finding.extent = extentOf(body, true);
      note(finding);
    }
  }

  struct Cavity {
    Voxels voxels;
    std::size_t opening = 0;
  };

  // Flooded anew for each layer, with nothing above it.
  std::vector<Cavity> openCavities(int z, const std::vector<Cavity>& before) const {
    Voxels space;
    for (int layer = 0; layer <= z; ++layer) {
      for (int y = 0; y < stack_.height(); ++y) {
        for (int x = 0; x < stack_.width(); ++x) {
          if (!stack_.at(layer, x, y)) space.insert({layer, y, x});
        }
      }
    }
    std::vector<Cavity> found;
    for (const Voxels& piece : piecesOf(space, [](const Voxel& v) {
           std::vector<Voxel> next = around(v, false);
           next.push_back({v.layer - 1, v.y, v.x});
           next.push_back({v.layer + 1, v.y, v.x});
           return next;
         })) {
      const bool isOutside = std::any_of(piece.begin(), piece.end(), [&](const Voxel& v) {
        return v.x == 0 || v.y == 0 || v.x + 1 == stack_.width() || v.y + 1 == stack_.height();
      });
      Cavity cavity;
      cavity.voxels = piece;
      cavity.opening = static_cast<std::size_t>(
          std::count_if(piece.begin(), piece.end(), [&](const Voxel& v) { return v.layer == z; }));
      if (isOutside || cavity.opening == 0) continue;
      for (const Cavity& other : before) {
        if (piece.contains(*other.voxels.begin())) {
          cavity.opening = std::max(cavity.opening, other.opening);
        }
      }
      found.push_back(cavity);
    }
    return found;
  }

  void findCavities() {
    std::vector<Cavity> open;
    for (int z = 0; z < stack_.depth(); ++z) {
      const std::vector<Cavity> next = openCavities(z, open);
      for (const Cavity& cavity : open) {
        const Voxel any = *cavity.voxels.begin();
        const bool goesOn = std::any_of(next.begin(), next.end(), [&](const Cavity& other) {
          return other.voxels.contains(any);
        });
        if (goesOn) continue;
        // Covered when no pixel of it is left open.
        const bool isClosed =
            std::all_of(cavity.voxels.begin(), cavity.voxels.end(),
                        [&](const Voxel& v) { return v.layer != z - 1 || stack_.at(z, v.x, v.y); });
        noteCavity(cavity, isClosed);
      }
      open = next;
    }
    for (const Cavity& cavity : open) noteCavity(cavity, false);
  }

  void noteCavity(const Cavity& cavity, bool isClosed) {
    Finding finding;
    finding.extent = extentOf(cavity.voxels, false);
    finding.reachesPlate = finding.extent.firstLayer == 0;
    finding.volume = volumeOf(cavity.voxels.size());
    finding.area = areaOf(cavity.opening);
    const bool isTrap = isClosed && !finding.reachesPlate;
    finding.kind = isTrap ? Kind::resinTrap : Kind::suctionCup;
    if (finding.volume < (isTrap ? s_.leastTrap : s_.leastCup)) return;
    const bool isRisk = isTrap ? finding.volume >= s_.riskyTrap : finding.area >= s_.riskyCup;
    finding.severity = isRisk ? Severity::risk : Severity::note;
    note(finding);
  }

  const Stack& stack_;
  const CheckSettings& s_;
  const double pixelArea_;
  int islandLayers_ = 0;
  std::vector<int> solid_;  // the layers with material
  Voxels floats_;           // material that hangs together with nothing below
  Finding specks_ = {Kind::specks, Severity::note, {}, 0};
  std::vector<Finding> findings_;
};

}  // namespace

CheckReport checkPlainly(const Stack& stack, const CheckSettings& settings) {
  return PlainCheck(stack, settings).report();
}

}  // namespace stiltforge::check
