#include "node_api/slice_result.h"

namespace stiltforge {

SliceResultBuffers::SliceResultBuffers(Napi::Env env, const MemoryFunctions& functions,
                                       std::size_t pixels)
    : pixel(env, functions, pixels * 4),
      topPixel(env, functions, pixels * 4),
      supportedPixels(env, functions, pixels) {}

SliceBuffers SliceResultBuffers::blocks(const uint32_t* picture) {
  return {picture, reinterpret_cast<uint32_t*>(pixel.data()),
          reinterpret_cast<uint32_t*>(topPixel.data()), supportedPixels.data()};
}

SliceConverter::SliceConverter(ValueMaker& make)
    : make_(make),
      layers_(make),
      pixelBuffer_(make.string("pixelBuffer")),
      topPixelBuffer_(make.string("topPixelBuffer")),
      width_(make.string("width")),
      height_(make.string("height")),
      sliceCount_(make.string("sliceCount")),
      needBuffer_(make.string("needBuffer")),
      layerIndex_(make.string("layerIndex")),
      layer_(make.string("layer")),
      supportedPixels_(make.string("supportedPixels")) {}

napi_value SliceConverter::valueOf(const ResultBuffer& buffer) const {
  napi_value value = nullptr;
  if (make_.status() == napi_ok) make_.check(buffer.value(make_.env(), &value));
  return value;
}

napi_value SliceConverter::convert(const SliceResult& slice) const {
  const bool hasBuffers = slice.buffers.has_value();
  napi_value result = make_.object();
  make_.set(result, pixelBuffer_, hasBuffers ? valueOf(slice.buffers->pixel) : make_.null());
  make_.set(result, topPixelBuffer_, hasBuffers ? valueOf(slice.buffers->topPixel) : make_.null());
  make_.set(result, width_, make_.number(uint32_t{slice.layer.width}));
  make_.set(result, height_, make_.number(uint32_t{slice.layer.height}));
  make_.set(result, sliceCount_, make_.number(slice.sliceCount));
  make_.set(result, needBuffer_, make_.boolean(hasBuffers));
  make_.set(result, layerIndex_, make_.number(uint32_t{slice.layerIndex}));
  make_.set(result, layer_, layers_.convert(slice.layer));
  if (hasBuffers) make_.set(result, supportedPixels_, valueOf(slice.buffers->supportedPixels));
  return result;
}

}  // namespace stiltforge
