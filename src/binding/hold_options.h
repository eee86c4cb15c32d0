#pragma once

#include <napi.h>

#include "binding/cancelled.h"
#include "hold/finisher.h"
#include "hold/judge.h"
#include "hold/survey.h"

namespace stiltforge::binding {

/// SurveyOptions, JudgeOptions and FinishOptions of packages/stiltforge/src/hold.ts. Each throws a
/// refusal that names the option and its range.
hold::SurveySettings readSurveySettings(const Napi::Value& options);
hold::JudgeSettings readJudgeSettings(const Napi::Value& options,
                                      hold::JudgeSettings settings = {});
hold::FinishSettings readFinishSettings(const Napi::Value& options);
/// What the finished points of those FinishOptions are judged by.
hold::JudgeSettings readFinishJudgeSettings(const Napi::Value& options);
/// Their signal.
Cancelled readCancelled(const Napi::Value& finishOptions);

}  // namespace stiltforge::binding
