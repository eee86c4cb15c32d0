#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "hold/bodies.h"
#include "hold/finish_settings.h"
#include "hold/finished.h"
#include "hold/held_overhang.h"
#include "hold/place.h"
#include "hold/point_grid.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// The points that are kept so far, by numbers in the order in which they came.
class KeptPoints {
 public:
  /// All but the settings by reference; what is held follows the points, of which there are none
  /// yet.
  KeptPoints(const Survey& survey, Bodies& bodies, const FinishSettings& settings,
             HeldOverhang& held);

  const std::vector<FinishedPoint>& points() const { return points_; }
  const Place& placeOf(std::size_t number) const { return points_[number].site.place; }
  const HeldOverhang& held() const { return held_; }
  /// Whether the candidate is a point of the analysis and one of these.
  bool has(std::size_t candidate) const {
    return candidate < isKept_.size() && isKept_[candidate] != 0;
  }
  /// Whether the place is the spacing away from all of its body, but for that one.
  bool isSpaced(const Place& place, std::size_t but = FinishedPoint::none) const;
  /// The nearest of the same body within reach, of equally near ones the first.
  std::optional<uint32_t> nearestTo(const Place& place) const;
  /// mm to that one; infinite where there is none.
  double distanceToNearest(const Place& place) const;

  void keep(const FinishedPoint& point);
  void replace(std::size_t number, const FinishedPoint& point);
  /// Nothing is held by the point any more; it keeps its number until removeReleased().
  void release(std::size_t number);
  void removeReleased();

  /// All that are kept by now stay for good, and where they are.
  void pin() { pinned_ = points_.size(); }
  std::size_t pinned() const { return pinned_; }

 private:
  void setKept(const FinishedPoint& point, bool isKept);

  const Survey& survey_;
  Bodies& bodies_;
  HeldOverhang& held_;
  const double spacing_;
  const double reach_;
  std::vector<FinishedPoint> points_;
  PointGrid places_;             // by number
  std::vector<uint8_t> isKept_;  // by point of the analysis
  std::vector<std::size_t> released_;
  std::size_t pinned_ = 0;
};

}  // namespace stiltforge::hold
