#pragma once

#include "hold/judge.h"
#include "part.h"

namespace stiltforge::hold {

// The verdict, voxel by voxel, by fills of the whole part. The points are numbered by layer, within
// one as they stand. Of the worst places only the first is given.
Verdict judgePlainly(const Part& part, const SurveySettings& survey, const JudgeSettings& settings);

}  // namespace stiltforge::hold
