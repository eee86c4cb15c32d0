#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "finishing.h"
#include "hold/bodies.h"
#include "hold/candidates.h"
#include "hold/held_overhang.h"
#include "hold/kept_points.h"
#include "hold/specks.h"

namespace stiltforge::hold {

// A part of one row whose finishing has not begun: no point is kept yet.
struct Keeping {
  explicit Keeping(const Part& part, const FinishSettings& settings = unitFinish())
      : survey(part.survey(unitSettings())),
        isSpeck(specksOf(survey, islandLayers)),
        bodies(survey.tracks(), islandLayers),
        candidates(survey, isSpeck, settings),
        held(survey, bodies, isSpeck, settings, nullptr),
        kept(survey, bodies, settings, held) {}

  // Of the overhang in that column.
  Place placeAt(int column) const {
    const std::vector<OverhangSample>& samples = survey.samples();
    return std::find_if(samples.begin(), samples.end(),
                        [&](const OverhangSample& sample) { return sample.place.x == column; })
        ->place;
  }
  void keepAt(int column) {
    kept.keep(FinishedPoint::added(placeAt(column), Reason::addedForOverhang));
  }

  static constexpr uint32_t islandLayers = 2;
  const Survey survey;
  const std::vector<uint8_t> isSpeck;
  Bodies bodies;
  const Candidates candidates;
  HeldOverhang held;
  KeptPoints kept;
};

}  // namespace stiltforge::hold
