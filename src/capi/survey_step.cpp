#include "capi/survey_step.h"

#include <string>

#include "capi/model_step.h"
#include "capi/refusal.h"
#include "runtime/number_text.h"

namespace stiltforge::capi {

void requireWhole(const stiltforge_survey& survey) {
  if (!survey.isStopped) return;
  throw Refusal(STILTFORGE_STOPPED, "an earlier call failed in the middle of layer " +
                                        std::to_string(survey.layerCount) +
                                        ", so the survey is of no use; make a new one");
}

void requireGoingOn(const stiltforge_survey& survey) {
  requireWhole(survey);
  if (survey.part.isEnded()) {
    throw InvalidArgument("survey was judged or finished, so no layer may follow; make a new one");
  }
  if (survey.layerCount == mostLayers) {
    throw InvalidArgument("survey has " + std::to_string(mostLayers) +
                          " layers, which is the most");
  }
}

void requireSamePrint(const stiltforge_survey& survey, const PrintSettings& slicers) {
  const auto require = [](double own, double other, const char* what) {
    if (own == other) return;
    throw InvalidArgument("survey is of a print with a " + std::string(what) + " of " +
                          numberText(own) + " mm; the slicer's is " + numberText(other) + " mm");
  };
  require(survey.print.pixelSize, slicers.pixelSize, "pixel_size");
  require(survey.print.layerHeight, slicers.layerHeight, "layer_height");
}

void addLayer(stiltforge_survey& survey, const Slice& slice, const hold::LayerFindings& findings) {
  requireGoingOn(survey);
  if (slice.width == 0) throw InvalidArgument("slice is empty; fill it first");
  if (survey.layerCount == 0) {
    survey.width = slice.width;
    survey.height = slice.height;
  }
  if (slice.width != survey.width || slice.height != survey.height) {
    throw InvalidArgument("slice is " + std::to_string(slice.width) + " x " +
                          std::to_string(slice.height) + " pixels; the survey's slices are " +
                          std::to_string(survey.width) + " x " + std::to_string(survey.height));
  }
  try {
    survey.part.add(slice, findings);
  } catch (...) {
    survey.isStopped = true;
    throw;
  }
  ++survey.layerCount;
}

}  // namespace stiltforge::capi
