#include "addon/slice_worker.h"

#include <algorithm>
#include <utility>

#include "addon/environment.h"
#include "addon/layer_result.h"
#include "addon/model_state.h"
#include "runtime/parallel_copy.h"
#include "support/slice_pipeline.h"

namespace stiltforge {

SliceWorker::SliceWorker(const Napi::Function& callback, std::shared_ptr<Environment> owner,
                         uint16_t echoedIndex, const void* pixels)
    : Job(callback, std::move(owner)), layerIndex(echoedIndex) {
  const std::size_t count = std::size_t{width} * height;
  layer.width = width;
  layer.height = height;
  layer.pixelBuffer = ModelState::takePixels(count);
  copyBytes(layer.pixelBuffer.data(), pixels, count * sizeof(uint32_t));
  if (needBuffer) {
    const Napi::Env env = callback.Env();
    buffers = Buffers{
        {env, *environment, count * 4}, {env, *environment, count * 4}, {env, *environment, count}};
  }
}

std::string SliceWorker::subject() const {
  return "the slice with layerIndex " + std::to_string(layerIndex) + " (" +
         std::to_string(layer.width) + " x " + std::to_string(layer.height) + " pixels)";
}

void SliceWorker::work() {
  ModelState::ensureGhostSpread();
  if (buffers) ModelState::ensureTopPixels();
  SlicePipeline pipeline;
  pipeline.layers = &layers;
  pipeline.historyMutex = &g_pages_mutex;
  pipeline.topPixelBuffer = &topPixelBuffer;
  pipeline.topPixelCount = ModelState::topPixelCount;
  pipeline.needBuffer = buffers.has_value();
  pipeline.addSupport = addSupport;
  pipeline.cancelled = &environment->closed;
  pipeline.scratch = &ModelState::scratch;
  pipeline.run(std::move(layer));
  entry = layers.size() - 1;
  spentPixels = std::move(pipeline.spentPixels);
  if (buffers) fillBuffers(layers[entry]);
}

void SliceWorker::fillBuffers(Layer& analysed) {
  copyBytes(buffers->pixel.data(), analysed.pixelBuffer.data(), buffers->pixel.size());
  copyBytes(buffers->topPixel.data(), topPixelBuffer.data(),
            std::min(buffers->topPixel.size(), topPixelBuffer.size() * sizeof(uint32_t)));
  copyBytes(buffers->supportedPixels.data(), analysed.supportedPixels.data(),
            buffers->supportedPixels.size());
  // No later step reads the pixels of an analysed layer.
  spentPixels = std::move(analysed.pixelBuffer);
  ModelState::scratch.supportedPixels = std::move(analysed.supportedPixels);
  analysed.releasePixels();
}

void SliceWorker::OnOK() {
  const Napi::Env env = Env();
  ModelState::keepPixels(std::move(spentPixels));

  Napi::Object result = Napi::Object::New(env);
  result.Set("pixelBuffer", buffers ? buffers->pixel.value() : env.Null());
  result.Set("topPixelBuffer", buffers ? buffers->topPixel.value() : env.Null());
  result.Set("width", Napi::Number::New(env, width));
  result.Set("height", Napi::Number::New(env, height));
  result.Set("sliceCount", Napi::Number::New(env, sliceCount));
  result.Set("needBuffer", Napi::Boolean::New(env, needBuffer));
  result.Set("layerIndex", Napi::Number::New(env, layerIndex));
  result.Set("layer", layerToJS(env, layers[entry]));
  if (buffers) result.Set("supportedPixels", buffers->supportedPixels.value());

  finished();
  Callback().Call({result});
}

}  // namespace stiltforge
