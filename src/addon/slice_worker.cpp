#include "addon/slice_worker.h"

#include <utility>

#include "addon/environment.h"
#include "addon/process_model.h"
#include "analysis/run_extraction.h"
#include "analysis/slice_buffers.h"
#include "node_api/layer_result.h"

namespace stiltforge {

SliceWorker::SliceWorker(const Napi::Function& callback, std::shared_ptr<Environment> owner,
                         uint16_t echoedIndex, const uint8_t* pixels)
    : Job(callback, std::move(owner)), layerIndex(echoedIndex) {
  const ModelParameters& parameters = processModel().parameters;
  width = parameters.width;
  height = parameters.height;
  uint8_t* copy = nullptr;
  if (parameters.needBuffer) {
    const Napi::Env env = callback.Env();
    const std::size_t count = std::size_t{width} * height;
    buffers = Buffers{
        {env, *environment, count * 4}, {env, *environment, count * 4}, {env, *environment, count}};
    picture = processModel().takePicture(count);
    copy = reinterpret_cast<uint8_t*>(picture.data());
  }
  slice = sliceOfPixels(pixels, width, height, copy);
}

std::string SliceWorker::subject() const {
  return "the slice with layerIndex " + std::to_string(layerIndex) + " (" + std::to_string(width) +
         " x " + std::to_string(height) + " pixels)";
}

void SliceWorker::work() {
  Model::SliceOptions options;
  options.addSupport = processModel().parameters.addSupport;
  options.cancelled = &environment->closed;
  SliceBuffers pixels;
  if (buffers) {
    pixels.picture = picture.data();
    pixels.labels = reinterpret_cast<uint32_t*>(buffers->pixel.data());
    pixels.markers = reinterpret_cast<uint32_t*>(buffers->topPixel.data());
    pixels.supportValues = buffers->supportedPixels.data();
    options.buffers = &pixels;
  }
  processModel().model.analyse(std::move(slice), options);
}

void SliceWorker::OnOK() {
  const Napi::Env env = Env();
  const ModelParameters& parameters = processModel().parameters;
  processModel().keepPicture(std::move(picture));

  Napi::Object result = Napi::Object::New(env);
  result.Set("pixelBuffer", buffers ? buffers->pixel.value() : env.Null());
  result.Set("topPixelBuffer", buffers ? buffers->topPixel.value() : env.Null());
  result.Set("width", Napi::Number::New(env, parameters.width));
  result.Set("height", Napi::Number::New(env, parameters.height));
  result.Set("sliceCount", Napi::Number::New(env, parameters.numLayer));
  result.Set("needBuffer", Napi::Boolean::New(env, parameters.needBuffer));
  result.Set("layerIndex", Napi::Number::New(env, layerIndex));
  result.Set("layer", layerToJS(env, processModel().model.layers().back()));
  if (buffers) result.Set("supportedPixels", buffers->supportedPixels.value());

  finished();
  Callback().Call({result});
}

}  // namespace stiltforge
