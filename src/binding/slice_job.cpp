#include "binding/slice_job.h"

#include <cstddef>
#include <string>
#include <utility>

#include "binding/array_buffer.h"

namespace stiltforge::binding {

namespace {

Napi::ArrayBuffer pixelBuffer(Napi::Env env, int width, int height, Napi::Value recycled) {
  const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
  if (!recycled.IsUndefined()) {
    if (!recycled.IsArrayBuffer()) {
      throw Napi::TypeError::New(env, "The buffer to fill must be an ArrayBuffer.");
    }
    auto given = recycled.As<Napi::ArrayBuffer>();
    if (given.ByteLength() != bytes) {
      throw Napi::RangeError::New(env, "The buffer to fill has " +
                                           std::to_string(given.ByteLength()) + " bytes; " +
                                           std::to_string(bytes) + " are needed.");
    }
    return takeArrayBuffer(env, given);
  }
  return newArrayBuffer(env, bytes,
                        "There is not enough memory for a slice of " + std::to_string(width) +
                            " x " + std::to_string(height) + " pixels (" + std::to_string(bytes) +
                            " bytes). Choose larger pixels or a smaller model.");
}

napi_status setNumber(napi_env env, napi_value object, const char* name, double value) {
  napi_value number;
  const napi_status status = napi_create_double(env, value, &number);
  return status == napi_ok ? napi_set_named_property(env, object, name, number) : status;
}

}  // namespace

SliceJob::SliceJob(Napi::Env env, int width, int height, Napi::Value recycled,
                   std::function<slicing::SliceInfo(uint8_t* rgba)> fill)
    : Job(env), fill_(std::move(fill)), pixels_(pixelBuffer(env, width, height, recycled)) {}

void SliceJob::work() {
  info_ = fill_(pixels_.data());
}

napi_status SliceJob::result(napi_env env, napi_value* value) {
  napi_value pixels;
  napi_status status = pixels_.buffer(env, &pixels);
  if (status == napi_ok) status = napi_create_object(env, value);
  if (status == napi_ok) status = napi_set_named_property(env, *value, "pixels", pixels);
  if (status == napi_ok) {
    status = setNumber(env, *value, "materialPixels", static_cast<double>(info_.materialPixels));
  }
  return status == napi_ok ? setNumber(env, *value, "z", info_.z) : status;
}

const char* SliceJob::withoutMemory() const {
  return "There is not enough memory to compute the slice.";
}

}  // namespace stiltforge::binding
