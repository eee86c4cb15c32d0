#pragma once

#include <cstdint>
#include <future>
#include <vector>

#include "capi/handles.h"

namespace stiltforge::capi {

/// Adds layers to a survey, a batch behind who hands them over.
class SurveyBehind {
 public:
  /// Nobody else may use the survey.
  explicit SurveyBehind(stiltforge_survey& survey) : survey_(survey) {}

  /// Throws a Refusal unless the survey has so many layers and takes more.
  void requireLayers(uint32_t count) const;
  /// Throws what an earlier layer has failed with.
  void add(hold::SurveyedLayer layer);
  /// Waits until all are added, or throws likewise.
  void finish();
  /// The same when something has failed already: a survey that fails, too, says so when it is used.
  void tryToFinish() noexcept;

 private:
  void addBatch();
  void wait();

  stiltforge_survey& survey_;
  std::vector<hold::SurveyedLayer> batch_;
  std::future<void> added_;  // waits for its end when it is destroyed
};

}  // namespace stiltforge::capi
