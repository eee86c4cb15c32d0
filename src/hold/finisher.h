#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "hold/cancelled.h"
#include "hold/place.h"
#include "hold/survey.h"

namespace stiltforge::hold {

struct FinishSettings {
  double spacing = 0;       ///< mm between points of one body, at least
  double reach = 0;         ///< mm around a point within which it holds overhang
  double farReach = 0;      ///< mm beyond which overhang gets a point wherever it is
  double ownReach = 0;      ///< mm around a point of the analysis whose overhang is its own
  double leastOwnArea = 0;  ///< mm2 that such a point must hold alone to stay in any case
  double leastGap = 0;      ///< mm2 of overhang beyond farReach for which a point is added
  /// Of the overhang that is to lie within reach, 0 to 1: both of the steep overhang and of all.
  double share = 0.975;
  double farShare = 0.996;  ///< of all overhang that is to lie within farReach, 0 to 1
  /// mm2 of overhang within reach beyond that share: in a small part the end of an edge is more
  /// than a hundredth.
  double margin = 0;
  /// An added point must gain so many times more than a point of the analysis, 1 or more.
  double preference = 1.25;
  /// mm that an island may grow before something takes it, and within which regions must stay
  /// separate so that each may have a point of its own.
  double islandHeight = 0.2;

  /// Good values for supports that hold so many mm2 of a layer.
  static FinishSettings forSupportArea(double area);
};

/// Why a finished point is there.
enum class Reason : uint8_t {
  analysed,          ///< the analysis placed it
  merged,            ///< the same, and it stands for others, too
  addedForIsland,    ///< nothing of the analysis could hold an island
  addedForOverhang,  ///< it closes a gap between the points
};

/// Why a point of the analysis is not among the finished ones.
enum class DropReason : uint8_t {
  merged,        ///< another holds what it held
  holdsLittle,   ///< no other is near, but it held next to nothing
  noRoom,        ///< no support fits below it
  sealedVoid,    ///< its support could not be taken out
  holdsNothing,  ///< there is no overhang where it stands
};

/// As the outputs say it, such as "addedForIsland".
const char* nameOf(Reason reason);
const char* nameOf(DropReason reason);

struct FinishedPoint {
  static constexpr uint32_t none = Place::none;

  Site site;
  Reason reason = Reason::analysed;
  uint32_t analysed = none;        ///< its number among Survey::points(); none of an added one
  std::vector<uint32_t> mergedIn;  ///< numbers of those that it stands for, ascending
};

struct DroppedPoint {
  uint32_t analysed = 0;  ///< its number among Survey::points()
  DropReason reason = DropReason::merged;
  uint32_t into = FinishedPoint::none;  ///< merged: the number of the finished point
};

/// Steep overhang that is left alone since no support can hold it.
struct LeftAlone {
  double areaNearPlate = 0;  ///< mm2 too close to the plate for a support
  double areaNearPart = 0;   ///< mm2 too close to the part below
  double sealedArea = 0;     ///< mm2 in sealed voids, whose supports could not be taken out
  double lift = 0;           ///< mm to lift the part so that supports fit below all near the plate
};

struct Finished {
  std::vector<FinishedPoint> points;  ///< bottom first, within a layer by row, then column
  std::vector<DroppedPoint> dropped;  ///< by number
  /// Islands that get no point in time, because no support fits or none could be taken out, or
  /// because they are specks (see specksOf()); by number.
  std::vector<uint32_t> islandsLeft;
  LeftAlone leftAlone;

  std::vector<Site> sites() const;
  std::size_t dropCount(DropReason reason) const;
};

/// Makes of the points of the analysis what an experienced person would leave: none where no
/// support fits, one for specks that grow together, none that stand in each other's way, and some
/// where overhang would be left alone. The same for any number of workers. `survey` is finished.
///
/// 1. What has no room, lies in a sealed void or holds nothing is dropped.
/// 2. Bottom up, each island that nothing has taken when it has grown by islandHeight gets a point:
///    of the analysis, if one stands on what it has grown together with by then, else an added one,
///    below which a support fits. What had no place for one gets it at the top of the part, if it
///    floats still and has grown one. A speck, on which nothing grows, is left alone.
/// 3. Until `share` of the steep overhang and `margin` lie within reach of a point, the one that
///    brings most of it there is taken: points of the analysis before others, by `preference`. The
///    same then until `share` of all overhang lies within reach and farShare within farReach.
/// 4. Where leastGap is left further than farReach from all points, one is added.
/// 5. Points of steps 3 and 4 without which that is still so go again; the others move to where
///    they hold more of what the rest leaves, near by, and once more those go that have become
///    needless.
/// 6. A point of the analysis that still holds leastOwnArea alone, within ownReach, stays, too: a
///    flat underside is heavier than its extent tells. Added ones that it makes needless go.
///
/// In steps 3 to 6 no point comes closer than spacing to another of its body. A point holds steep
/// overhang of its own body only: what is joined to it by material between the two and islandHeight
/// above. Throws std::invalid_argument when a setting is negative or no number, Cancelled soon
/// after the flag was raised.
Finished finish(const Survey& survey, const FinishSettings& settings,
                const std::atomic<bool>* cancelled = nullptr);

}  // namespace stiltforge::hold
