#include "binding/slice_job.h"

#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "binding/array_buffer.h"

namespace stiltforge::binding {

namespace {

std::string withoutMemoryFor(int width, int height, uint64_t bytes) {
  return "There is not enough memory for a slice of " + std::to_string(width) + " x " +
         std::to_string(height) + " pixels (" + std::to_string(bytes) +
         " bytes). Choose larger pixels or a smaller model.";
}

// A recycled buffer whose memory is taken, or a new one.
Napi::ArrayBuffer pixelBuffer(Napi::Env env, std::size_t bytes, Napi::Value recycled,
                              const std::string& withoutMemory) {
  if (recycled.IsUndefined()) return newArrayBuffer(env, bytes, withoutMemory);
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

HostBlock pixelBlock(Napi::Env env, int width, int height, Napi::Value recycled) {
  const uint64_t bytes = uint64_t{4} * static_cast<uint32_t>(width) * static_cast<uint32_t>(height);
  const std::string withoutMemory = withoutMemoryFor(width, height, bytes);
  if (bytes > std::numeric_limits<std::size_t>::max()) {
    throw Napi::Error::New(env, withoutMemory);
  }
  try {
    return HostBlock(pixelBuffer(env, static_cast<std::size_t>(bytes), recycled, withoutMemory));
  } catch (const std::bad_alloc&) {
    throw Napi::Error::New(env, withoutMemory);
  }
}

napi_status setNumber(napi_env env, napi_value object, const char* name, double value) {
  napi_value number;
  const napi_status status = napi_create_double(env, value, &number);
  return status == napi_ok ? napi_set_named_property(env, object, name, number) : status;
}

}  // namespace

SliceJob::SliceJob(Napi::Env env, int width, int height, Napi::Value recycled,
                   std::function<slicing::SliceInfo(uint8_t* rgba)> fill)
    : Job(env), fill_(std::move(fill)), pixels_(pixelBlock(env, width, height, recycled)) {}

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
