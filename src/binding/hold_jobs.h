#pragma once

#include <napi.h>

#include <cstdint>
#include <functional>

#include "binding/cancelled.h"
#include "binding/job.h"
#include "hold/surveyed_part.h"

namespace stiltforge::binding {

/// Gives a job its survey, on its thread. May throw a JobRefusal.
using SurveySource = std::function<hold::SurveyedPart&()>;

/// Adds layers to a survey and promises the number of all that it has.
class SurveyJob : public Job {
 public:
  /// add: on the job's thread.
  SurveyJob(Napi::Env env, SurveySource survey, std::function<void(hold::SurveyedPart&)> add);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  SurveySource survey_;
  std::function<void(hold::SurveyedPart&)> add_;
  uint32_t layerCount_ = 0;
};

/// Judges the points of a survey and promises a Verdict.
class JudgeJob : public Job {
 public:
  JudgeJob(Napi::Env env, SurveySource survey, const hold::JudgeSettings& settings);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  SurveySource survey_;
  hold::JudgeSettings settings_;
  hold::JudgedPart part_;
};

/// Finishes the points of a survey, judges what comes of them and promises FinishedSupports.
class FinishJob : public Job {
 public:
  FinishJob(Napi::Env env, SurveySource survey, const hold::FinishSettings& finishing,
            const hold::JudgeSettings& judging, Cancelled cancelled);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  SurveySource survey_;
  hold::FinishSettings finishing_;
  hold::JudgeSettings judging_;
  Cancelled cancelled_;
  hold::FinishedPart part_;
  hold::JudgedPart judged_;
};

}  // namespace stiltforge::binding
