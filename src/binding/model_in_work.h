#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "binding/shared_slicer.h"
#include "hold/surveyed_part.h"
#include "model/model.h"
#include "model/parameters.h"
#include "node_api/layer_result.h"
#include "node_api/slice_result.h"

namespace stiltforge::binding {

/// Layers of a slicer, sliced while those below were analysed.
struct SlicesAhead {
  std::shared_ptr<SharedSlicer> slicer;
  uint32_t first = 0;
  std::vector<Slice> slices;

  bool begin(const SharedSlicer* other, uint32_t layer) const {
    return slicer.get() == other && first == layer && !slices.empty();
  }
};

/// A model and what its jobs, of which one at a time is at work, hand on to each other.
class ModelInWork {
 public:
  /// With a survey what is analysed can be finished and judged. Throws as the constructors of Model
  /// and of hold::SurveyedPart do.
  ModelInWork(const ModelParameters& parameters, Plane<uint32_t> markers,
              const std::optional<hold::SurveySettings>& survey);

  const ModelParameters& parameters() const { return parameters_; }

  /// Analyses the next slice. Its failure is the model's: what lies above it would be related to a
  /// layer that is not its own. Throws what Model::analyse throws, and a JobRefusal when an earlier
  /// slice failed.
  SliceResult analyse(Slice slice, std::optional<SliceResultBuffers> buffers, bool hasPicture);
  /// The layers that were analysed and not yet surveyed, bottom first; none without a survey.
  std::vector<hold::SurveyedLayer> takeUnsurveyed() { return std::exchange(unsurveyed_, {}); }
  /// Surveys them, while others may be analysed. A failure is the survey's alone.
  void survey(const std::vector<hold::SurveyedLayer>& layers);
  /// The survey of all layers so far, to be judged or finished: after that none may follow. Throws
  /// a JobRefusal when there is none.
  hold::SurveyedPart& surveyed();
  /// Lets the next call fail with what a slice has failed with, since that was told to nobody.
  void failNext(std::exception_ptr failure) { untold_ = std::move(failure); }
  /// Throws a JobRefusal when there is no such layer or group, both counted from 0.
  GroupImages renderGroup(uint32_t layer, uint32_t group);
  /// Layer::owedPixels of every layer so far. Throws a JobRefusal when an earlier slice failed.
  std::vector<double> owedPixels();
  /// Frees the model.
  void close();

  /// Bytes that its history holds, about.
  int64_t bytes() const { return bytes_; }
  /// Tells the garbage collector that these are the bytes, until forgetBytes(). On the thread of
  /// the environment.
  void tellBytes(napi_env env, int64_t bytes);
  void forgetBytes(napi_env env);

  SlicesAhead ahead;
  /// Of the last layers of a slicer; 0 until there are some.
  double secondsPerLayer = 0;

 private:
  void requireSound();
  void requireNotEnded() const;

  ModelParameters parameters_;
  std::optional<Model> model_;
  std::optional<hold::SurveyedPart> surveyed_;
  std::exception_ptr surveyFailure_;
  std::vector<hold::SurveyedLayer> unsurveyed_;
  std::optional<std::string> failure_;
  std::exception_ptr untold_;
  int64_t bytes_ = 0;
  std::optional<int64_t> toldBytes_ = 0;
};

}  // namespace stiltforge::binding
