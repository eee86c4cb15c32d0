#include "capi/model_step.h"

#include <string>

#include "capi/refusal.h"

namespace stiltforge::capi {

void requireGoingOn(const stiltforge_model& model) {
  if (model.isStopped) {
    throw Refusal(STILTFORGE_STOPPED, "an earlier call failed in the middle of layer " +
                                          std::to_string(model.layerCount) +
                                          ", so the model takes no more; make a new one");
  }
  if (model.layerCount == mostLayers) {
    throw InvalidArgument("model has " + std::to_string(mostLayers) + " layers, which is the most");
  }
}

void requireModelSize(const stiltforge_model& model, uint32_t width, uint32_t height,
                      const char* name) {
  const auto& [modelWidth, modelHeight] =
      std::pair(model.parameters.width, model.parameters.height);
  if (width == modelWidth && height == modelHeight) return;
  throw InvalidArgument(std::string(name) + " is " + std::to_string(width) + " x " +
                        std::to_string(height) + " pixels; the model's slices are " +
                        std::to_string(modelWidth) + " x " + std::to_string(modelHeight));
}

}  // namespace stiltforge::capi
