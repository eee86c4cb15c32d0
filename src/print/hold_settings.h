#pragma once

#include "hold/finisher.h"
#include "hold/judge.h"
#include "hold/survey.h"
#include "print/print_settings.h"

namespace stiltforge {

// What surveying, finishing and judging the supports of a print goes by. The settings must be in
// the ranges of hold::Survey and hold::finish.

hold::SurveySettings surveySettings(const PrintSettings& print);
hold::FinishSettings finishSettings(const PrintSettings& print);
/// spacing: of the points that are judged, mm. Who asks for points side by side is not told that
/// they are.
hold::JudgeSettings judgeSettings(const PrintSettings& print, double spacing);

}  // namespace stiltforge
