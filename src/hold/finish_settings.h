#pragma once

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

/// Throws std::invalid_argument when a setting is out of its range or no number.
void requireValid(const FinishSettings& settings);

}  // namespace stiltforge::hold
