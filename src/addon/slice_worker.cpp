#include "addon/slice_worker.h"

#include <utility>

#include "addon/environment.h"
#include "addon/process_model.h"
#include "analysis/run_extraction.h"
#include "analysis/slice_buffers.h"

namespace stiltforge {

SliceWorker::SliceWorker(const Napi::Function& callback, std::shared_ptr<Environment> owner,
                         uint16_t echoedIndex, const uint8_t* pixels)
    : Job(callback, std::move(owner)), layerIndex(echoedIndex) {
  const ModelParameters& parameters = processModel().parameters;
  width = parameters.width;
  height = parameters.height;
  uint8_t* copy = nullptr;
  if (parameters.needBuffer) {
    const std::size_t count = std::size_t{width} * height;
    buffers.emplace(callback.Env(), environment->memory, count);
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
    pixels = buffers->blocks(picture.data());
    options.buffers = &pixels;
  }
  processModel().model.analyse(std::move(slice), options);
  layer = resultOf(processModel().model.layers().back());
}

void SliceWorker::OnOK() {
  const Napi::Env env = Env();
  const ModelParameters& parameters = processModel().parameters;
  processModel().keepPicture(std::move(picture));

  const SliceResult result{std::move(layer), parameters.numLayer, layerIndex, std::move(buffers)};
  ValueMaker make(env);
  const napi_value object = SliceConverter(make).convert(result);
  if (make.status() != napi_ok) throw Napi::Error::New(env);

  finished();
  Callback().Call({object});
}

}  // namespace stiltforge
