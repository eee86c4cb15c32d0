#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hold/place.h"
#include "hold/survey.h"

namespace stiltforge::hold {

struct JudgeSettings {
  double nearReach = 3;  ///< mm around a point within which it holds an overhang well
  double farReach = 5;   ///< mm around a point within which it holds an overhang at all
  double spacing = 1;    ///< mm; points closer to each other stand in each other's way
  /// mm that an island may grow before something takes it, and within which separate regions must
  /// stay separate so that each may have a point of its own.
  double islandHeight = 0.2;
  uint32_t worstPlaces = 10;  ///< most that are listed
  /// mm2 of steep overhang beyond nearReach, within that of a place, for which the place is listed:
  /// about the tip of a support, so that neither crumbs of single pixels nor surfaces that nearly
  /// carry themselves hide a real gap. See Survey::samples().
  double leastWorstArea = 0.125;
};

struct IslandVerdict {
  Island island;
  /// Layer in which a point, or material that is held already, takes it; nothing unless it is soon
  /// enough.
  std::optional<uint32_t> takenIn;

  bool isHeld() const { return takenIn.has_value(); }
};

/// Overhanging pixels of one kind.
struct Surface {
  uint64_t pixels = 0;
  uint64_t beyondNear = 0;  ///< further than JudgeSettings::nearReach from every point
  uint64_t beyondFar = 0;   ///< further than farReach
};

struct WorstPlace {
  uint32_t layer = 0;
  uint16_t x = 0;
  uint16_t y = 0;
  double distance = 0;  ///< mm to the nearest point; infinite without any
};

/// Two points closer than JudgeSettings::spacing, by their numbers.
struct ClosePair {
  uint32_t first = 0;
  uint32_t second = 0;
  double distance = 0;    ///< mm
  bool separate = false;  ///< of regions that stay separate
};

/// What a set of points holds of a part.
struct Verdict {
  std::vector<IslandVerdict> islands;  ///< bottom first
  /// Overhanging surface where a support fits, where there is no room for one, and in sealed voids.
  Surface supportable;
  Surface withoutRoom;
  Surface sealed;
  /// Of the first: the places furthest from a point, worst first, beyond nearReach, and further
  /// than nearReach from each other; those with leastWorstArea only.
  std::vector<WorstPlace> worst;
  /// Numbers of points, ascending.
  std::vector<uint32_t> inNoMaterial;
  std::vector<uint32_t> onHeldMaterial;
  std::vector<uint32_t> pointsWithoutRoom;
  std::vector<uint32_t> pointsInSealedVoids;
  std::vector<ClosePair> closePairs;  ///< ascending
};

/// Judges by distances, straight through air and material; knows nothing of forces, of the resin,
/// or of whether a support finds its way to the plate. `survey` is finished; the points are
/// numbered as they stand. Throws std::invalid_argument when a setting is negative or no number.
Verdict judge(const Survey& survey, std::span<const Site> points, const JudgeSettings& settings);

}  // namespace stiltforge::hold
