#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "hold/finish_settings.h"
#include "hold/finished.h"
#include "hold/place.h"
#include "hold/point_grid.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// Why a point of the analysis can hold nothing; nothing where it can.
std::optional<DropReason> reasonToDrop(const Survey& survey, const Site& point);

/// Where points may be kept: the points of the analysis by their numbers, then, numbered on, the
/// places of the samples of steep overhang.
class Candidates {
 public:
  /// The survey and isSpeck, see specksOf(), by reference.
  Candidates(const Survey& survey, const std::vector<uint8_t>& isSpeck,
             const FinishSettings& settings);

  std::size_t size() const { return places_.size(); }
  bool isAnalysed(std::size_t candidate) const { return candidate < survey_.points().size(); }
  /// Of one that is not of the analysis, its number in Survey::samples().
  std::size_t sampleOf(std::size_t candidate) const { return candidate - survey_.points().size(); }
  /// Whether a point there could hold something.
  bool isUsable(std::size_t candidate) const { return isUsable_[candidate] != 0; }
  /// Of a usable one.
  bool isOnSpeck(std::size_t candidate) const { return isSpeck_[placeOf(candidate).track] != 0; }

  const PointGrid& places() const { return places_; }
  const Place& placeOf(std::size_t candidate) const {
    return places_[static_cast<uint32_t>(candidate)];
  }
  FinishedPoint pointOf(std::size_t candidate) const;

  /// What so many pixels are worth when the candidate, or the point, holds them.
  double worthOf(std::size_t candidate, uint64_t pixels) const {
    return worth(isAnalysed(candidate), pixels);
  }
  double worthOf(const FinishedPoint& point, uint64_t pixels) const {
    return worth(point.analysed != FinishedPoint::none, pixels);
  }

 private:
  double worth(bool isAnalysed, uint64_t pixels) const {
    return static_cast<double>(pixels) * (isAnalysed ? preference_ : 1);
  }

  const Survey& survey_;
  const std::vector<uint8_t>& isSpeck_;  // by track
  double preference_;
  PointGrid places_;
  std::vector<uint8_t> isUsable_;
};

}  // namespace stiltforge::hold
