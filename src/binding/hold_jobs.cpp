#include "binding/hold_jobs.h"

#include <utility>

#include "binding/hold_results.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"

namespace stiltforge::binding {

SurveyJob::SurveyJob(Napi::Env env, SurveySource survey,
                     std::function<void(hold::SurveyedPart&)> add)
    : Job(env), survey_(std::move(survey)), add_(std::move(add)) {}

void SurveyJob::work() {
  hold::SurveyedPart& survey = survey_();
  add_(survey);
  layerCount_ = survey.layerCount();
}

napi_status SurveyJob::result(napi_env env, napi_value* value) {
  return napi_create_uint32(env, layerCount_, value);
}

const char* SurveyJob::withoutMemory() const {
  return "Not enough memory to survey the slice. Use smaller slices, or free memory and start "
         "again.";
}

JudgeJob::JudgeJob(Napi::Env env, SurveySource survey, const hold::JudgeSettings& settings)
    : Job(env), survey_(std::move(survey)), settings_(settings) {}

void JudgeJob::work() {
  part_ = survey_().judge(settings_);
}

napi_status JudgeJob::result(napi_env env, napi_value* value) {
  ValueMaker make(env);
  *value = verdictValue(make, part_);
  return make.status();
}

const char* JudgeJob::withoutMemory() const {
  return "Not enough memory to judge the supports.";
}

FinishJob::FinishJob(Napi::Env env, SurveySource survey, const hold::FinishSettings& finishing,
                     const hold::JudgeSettings& judging, Cancelled cancelled)
    : Job(env),
      survey_(std::move(survey)),
      finishing_(finishing),
      judging_(judging),
      cancelled_(std::move(cancelled)) {}

void FinishJob::work() {
  hold::SurveyedPart& survey = survey_();
  try {
    part_ = survey.finish(finishing_, cancelled_.get());
  } catch (const hold::Cancelled& error) {
    throw JobRefusal("ABORT_ERR", error.what());
  }
  judged_ = survey.judge(part_, judging_);
}

napi_status FinishJob::result(napi_env env, napi_value* value) {
  ValueMaker make(env);
  *value = finishedValue(make, part_, judged_);
  return make.status();
}

const char* FinishJob::withoutMemory() const {
  return "Not enough memory to finish the supports.";
}

}  // namespace stiltforge::binding
