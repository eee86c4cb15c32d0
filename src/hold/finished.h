#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hold/place.h"

namespace stiltforge::hold {

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

  static FinishedPoint added(const Place& place, Reason reason);
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

}  // namespace stiltforge::hold
