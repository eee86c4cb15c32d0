#pragma once

#include <span>

#include "hold/judge.h"
#include "part.h"

namespace stiltforge::hold {

// The verdict, voxel by voxel, by fills of the whole part. The points are numbered by layer, within
// one as they stand. samples: of the survey.
Verdict judgePlainly(const Part& part, const SurveySettings& survey, const JudgeSettings& settings,
                     std::span<const OverhangSample> samples);

}  // namespace stiltforge::hold
