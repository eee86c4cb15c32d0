#include "orient/search.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <mutex>
#include <numbers>
#include <string>
#include <utility>

#include "orient/fitting.h"
#include "orient/known_directions.h"
#include "orient/marked_side.h"
#include "print/part_transform.h"
#include "print/setting_ranges.h"
#include "runtime/number_text.h"
#include "runtime/worker_pool.h"
#include "slicing/slicing_error.h"

namespace stiltforge::orient {

namespace {

using slicing::SlicingError;

constexpr double pixelsAlongPart = 250;
// Below it a region gets no support at all, see findConflict().
constexpr double leastSupportArea = 16;  // pixels
// Directions closer than that are one.
constexpr double sameDegrees = KnownDirections::mostApart;
// A part that stands next to flat is worth being laid flat.
constexpr double smallestTurn = 0.01;
// Around the best it is searched in so many directions at a time.
constexpr std::size_t ringSize = 6;
constexpr double seedsApart = 20;   // degrees
constexpr double listedApart = 12;  // degrees
// So many more than are listed are confirmed: some do worse on the finer grid.
constexpr std::size_t substitutes = 3;

// So small a measure is no reason to prefer another orientation, however rare it is.
constexpr double leastIslandHeight = 0.2;  // mm
constexpr double leastPoints = 5;
constexpr double leastIslands = 3;
constexpr double leastCupShare = 0.05;  // of the material

double diagonal(std::span<const float> positions) {
  const slicing::Bounds bounds = boundsOf(positions);
  const Vector size = slicing::between(bounds.min, bounds.max);
  return std::sqrt(dot(size, size));
}

PrintSettings coarseGrid(const PrintSettings& print, double partSize) {
  PrintSettings coarse = print;
  const double pixel =
      std::min(partSize / pixelsAlongPart, std::sqrt(print.supportArea / leastSupportArea));
  coarse.pixelSize = std::max(print.pixelSize, pixel);
  coarse.layerHeight = std::max(print.layerHeight, pixel);
  return findConflict(coarse) ? print : coarse;
}

void requireSense(const SearchSettings& settings) {
  if (const auto conflict = findConflict(settings.print)) {
    throw SlicingError(std::string("The setting ") + conflict->setting + " is " +
                       numberText(conflict->value) + "; " + conflict->range + ".");
  }
  const auto require = [](bool holds, const std::string& sentence) {
    if (!holds) throw SlicingError(sentence);
  };
  const Weights& w = settings.weights;
  for (const double weight : {w.points, w.overhang, w.islands, w.height, w.cups, w.marks}) {
    require(weight >= 0 && weight <= 1e6,
            "A weight is " + numberText(weight) + "; it must be from 0 to 1,000,000.");
  }
  if (settings.keepClean) {
    const double length = std::sqrt(dot(*settings.keepClean, *settings.keepClean));
    require(std::isfinite(length) && length > 0,
            "The side to keep clean has no direction; give three numbers that are not all 0.");
  }
  require(settings.spread > 0, "At least one direction has to be tried.");
}

struct Candidate {
  Vector down;
  Origin origin;
};

struct Tried {
  Orientation orientation;
  Vector down;
};

class Search {
 public:
  Search(std::span<const float> positions, const SearchSettings& settings, const Progress& progress,
         const std::atomic<bool>* cancelled)
      : positions_(positions),
        settings_(settings),
        coarse_(coarseGrid(settings.print, diagonal(positions))),
        progress_(progress),
        cancelled_(cancelled) {
    if (settings.keepClean) {
      side_.emplace(positions, *settings.keepClean, settings.print.criticalAngle);
    }
  }

  SearchResult run() {
    std::vector<Candidate> candidates = firstCandidates();
    const std::size_t later = settings_.seeds * settings_.rounds * ringSize;
    const std::size_t last = settings_.confirm ? settings_.listed + substitutes + 1 : 0;
    total_ = candidates.size() + later + last;
    tryAll(candidates);
    if (tried_.empty()) refuse();
    findScale();
    setCosts();
    for (uint32_t round = 0; round < settings_.rounds; ++round) lookAround(round);
    return result();
  }

 private:
  std::vector<Candidate> firstCandidates() const {
    std::vector<Candidate> candidates;
    KnownDirections known;
    const auto add = [&](const std::vector<Vector>& directions, Origin origin, double apart) {
      for (const Vector& down : directions) {
        if (known.hasNear(down, apart)) continue;
        candidates.push_back({down, origin});
        known.add(down);
      }
    };
    add({{0, 0, -1}}, Origin::asItIs, smallestTurn);
    add(flatSides(positions_, settings_.flatSides), Origin::flatSide, smallestTurn);
    add(sphereLattice(settings_.spread), Origin::spread, sameDegrees);
    return candidates;
  }

  std::optional<Orientation> tryOne(const Candidate& candidate, const PrintSettings& print) {
    if (cancelled_ != nullptr && *cancelled_) throw Cancelled();
    Turn turn;
    if (candidate.origin != Origin::asItIs) turn = turnToPlate(candidate.down);
    const auto fitting = fitOnScreen(positions_, turn, settings_.print);
    if (!fitting) return std::nullopt;
    anyFits_ = true;
    const bool isSpun = candidate.origin == Origin::asItIs && *fitting != turn;
    return measured({*fitting, isSpun ? Origin::nearby : candidate.origin, {}, {}, 0}, print);
  }

  std::optional<Orientation> measured(Orientation orientation, const PrintSettings& print) const {
    auto measured =
        measure(turned(positions_, orientation.turn), {print, islandHeight()}, cancelled_);
    if (!measured) return std::nullopt;
    orientation.measures = measured->measures;
    orientation.supports = std::move(measured->supports);
    if (side_) orientation.measures.marks = side_->areaFor(Rotation(orientation.turn).down());
    return orientation;
  }

  // The same on both grids, so that they count about the same islands.
  double islandHeight() const { return std::max(leastIslandHeight, coarse_.layerHeight); }

  // Appends what could be measured to tried_, in the order of the candidates.
  void tryAll(const std::vector<Candidate>& candidates) {
    std::vector<std::optional<Orientation>> results(candidates.size());
    std::vector<std::string> refusals(candidates.size());
    workers::parallelFor(candidates.size(), [&](std::size_t i) {
      try {
        results[i] = tryOne(candidates[i], coarse_);
      } catch (const SlicingError& error) {
        refusals[i] = error.what();
      }
      countOne();
    });
    for (std::size_t i = 0; i < candidates.size(); ++i) {
      if (refusal_.empty()) refusal_ = refusals[i];
      if (results[i]) tried_.push_back({*results[i], candidates[i].down});
    }
    count_ += candidates.size();
  }

  void countOne() {
    if (!progress_) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    ++done_;
    progress_(done_, std::max(done_, total_));
  }

  [[noreturn]] void refuse() const {
    if (!refusal_.empty()) throw SlicingError(refusal_);
    if (anyFits_) {
      throw SlicingError(
          "The slices are empty in every orientation: the mesh encloses no volume. Repair it.");
    }
    throw SlicingError(
        "The part does not fit on the screen in any orientation. Scale it down or take a larger "
        "screen.");
  }

  // Of each measure what an average orientation has.
  void findScale() {
    Weights mean{0, 0, 0, 0, 0, 0};
    double material = 0;
    const auto n = static_cast<double>(tried_.size());
    for (const Tried& t : tried_) {
      const Measures& m = t.orientation.measures;
      mean.points += m.points / n;
      mean.overhang += m.overhang / n;
      mean.islands += m.islands / n;
      mean.height += m.height / n;
      mean.cups += m.cups / n;
      mean.marks += m.marks / n;
      material += m.material / n;
    }
    scale_.points = std::max(mean.points, leastPoints);
    scale_.overhang = std::max(mean.overhang, leastPoints * settings_.print.supportArea);
    scale_.islands = std::max(mean.islands, leastIslands);
    scale_.height = mean.height;
    scale_.cups = std::max(mean.cups, leastCupShare * material);
    scale_.marks = std::max(mean.marks, settings_.print.supportArea);
  }

  double costOf(const Measures& m) const {
    const Weights& w = settings_.weights;
    const double marks = side_ ? w.marks : 0;
    const double sum = w.points + w.overhang + w.islands + w.height + w.cups + marks;
    if (!(sum > 0)) return 0;
    const double cost =
        w.points * m.points / scale_.points + w.overhang * m.overhang / scale_.overhang +
        w.islands * m.islands / scale_.islands + w.height * m.height / scale_.height +
        w.cups * m.cups / scale_.cups + marks * m.marks / scale_.marks;
    return cost / sum;
  }

  void setCosts() {
    for (Tried& t : tried_) t.orientation.cost = costOf(t.orientation.measures);
  }

  // The cheapest, each at least that many degrees from the cheaper ones; as it was tried of equals.
  std::vector<Tried> cheapest(std::size_t most, double apart) const {
    std::vector<Tried> sorted = tried_;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Tried& a, const Tried& b) {
      return a.orientation.cost < b.orientation.cost;
    });
    std::vector<Tried> chosen;
    for (const Tried& t : sorted) {
      if (chosen.size() >= most) break;
      const bool isNear = std::any_of(chosen.begin(), chosen.end(), [&](const Tried& c) {
        return angleBetween(c.down, t.down) < apart;
      });
      if (!isNear) chosen.push_back(t);
    }
    return chosen;
  }

  void lookAround(uint32_t round) {
    const double between =
        std::sqrt(4 * std::numbers::pi / settings_.spread) * 180 / std::numbers::pi;
    const double step = between / std::pow(2.0, round + 1);
    KnownDirections known;
    for (const Tried& tried : tried_) known.add(tried.down);
    std::vector<Candidate> candidates;
    for (const Tried& seed : cheapest(settings_.seeds, seedsApart)) {
      for (const Vector& down : ringAround(seed.down, step, ringSize)) {
        if (known.hasNear(down, sameDegrees)) continue;
        candidates.push_back({down, Origin::nearby});
        known.add(down);
      }
    }
    tryAll(candidates);
    setCosts();
  }

  SearchResult result() {
    SearchResult result;
    const std::vector<Tried> chosen =
        cheapest(settings_.listed + (settings_.confirm ? substitutes : 0), listedApart);
    for (const Tried& t : chosen) result.best.push_back(t.orientation);
    if (tried_.front().orientation.origin == Origin::asItIs) {
      result.asItIs = tried_.front().orientation;
    }
    if (settings_.confirm) confirm(result);
    result.tried = count_;
    result.pixelSize = coarse_.pixelSize;
    result.layerHeight = coarse_.layerHeight;
    return result;
  }

  void confirm(SearchResult& result) {
    if (result.asItIs) result.best.push_back(*result.asItIs);
    std::vector<std::optional<Orientation>> confirmed(result.best.size());
    total_ = done_ + result.best.size();
    const auto confirmOne = [&](std::size_t i) {
      if (cancelled_ != nullptr && *cancelled_) throw Cancelled();
      try {
        confirmed[i] = measured(result.best[i], settings_.print);
      } catch (const SlicingError&) {
        // More layers than there may be: it cannot be printed like that.
      }
      if (confirmed[i]) confirmed[i]->cost = costOf(confirmed[i]->measures);
      countOne();
    };
    for (std::size_t first = 0; first < confirmed.size(); first += settings_.atOnce) {
      const std::size_t count = std::min<std::size_t>(settings_.atOnce, confirmed.size() - first);
      workers::parallelFor(count, [&](std::size_t i) { confirmOne(first + i); });
    }
    if (result.asItIs) {
      result.asItIs = confirmed.back();
      confirmed.pop_back();
    }
    result.best.clear();
    for (const auto& orientation : confirmed) {
      if (orientation) result.best.push_back(*orientation);
    }
    std::stable_sort(result.best.begin(), result.best.end(),
                     [](const Orientation& a, const Orientation& b) { return a.cost < b.cost; });
    if (result.best.size() > settings_.listed) result.best.resize(settings_.listed);
  }

  std::span<const float> positions_;
  const SearchSettings& settings_;
  PrintSettings coarse_;
  const Progress& progress_;
  const std::atomic<bool>* cancelled_;
  std::optional<MarkedSide> side_;
  std::vector<Tried> tried_;
  std::string refusal_;  // of the first candidate that could not be sliced
  std::atomic<bool> anyFits_{false};
  Weights scale_;
  std::mutex mutex_;
  std::size_t count_ = 0;
  std::size_t done_ = 0;
  std::size_t total_ = 0;
};

}  // namespace

SearchResult search(std::span<const float> positions, const SearchSettings& settings,
                    const Progress& progress, const std::atomic<bool>* cancelled) {
  requireSense(settings);
  // Checks that the mesh can be used at all.
  slicing::TriangleMesh::fromSoup(positions);
  return Search(positions, settings, progress, cancelled).run();
}

}  // namespace stiltforge::orient
