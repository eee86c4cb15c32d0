#include "binding/host_slices.h"

#include <cmath>
#include <optional>

#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

// How many bytes; none for what holds no pixels.
std::optional<std::size_t> byteCount(const Napi::Value& value) {
  if (value.IsArrayBuffer()) return value.As<Napi::ArrayBuffer>().ByteLength();
  if (!value.IsTypedArray()) return std::nullopt;
  const napi_typedarray_type type = value.As<Napi::TypedArray>().TypedArrayType();
  if (type != napi_uint8_array && type != napi_uint8_clamped_array) return std::nullopt;
  const auto array = value.As<Napi::TypedArray>();
  // Shared memory could change while it is read.
  if (!array.ArrayBuffer().IsArrayBuffer()) return std::nullopt;
  return array.ByteLength();
}

}  // namespace

std::string sizeText(std::size_t width, std::size_t height) {
  return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

uint32_t wholeNumber(const Napi::Value& value, const char* code, const std::string& what,
                     double least, double most) {
  const double number = value.IsNumber() ? value.As<Napi::Number>().DoubleValue() : NAN;
  if (number >= least && number <= most && number == std::floor(number)) {
    return static_cast<uint32_t>(number);
  }
  const std::string given = value.IsNumber() ? value.ToString().Utf8Value() : "no number";
  throw refusal(value.Env(), code,
                what + " is " + given + ", not a whole number from " +
                    std::to_string(static_cast<uint64_t>(least)) + " to " +
                    std::to_string(static_cast<uint64_t>(most)) + ".");
}

HostBytes pixelsOf(const Napi::Value& value, const SliceSize& size) {
  const Napi::Env env = value.Env();
  const auto bytes = byteCount(value);
  if (!bytes) {
    throw refusal(env, codes::slice,
                  "The pixels of a slice are an ArrayBuffer, a Buffer, a Uint8Array or a "
                  "Uint8ClampedArray, and not shared with other threads.");
  }
  const std::size_t needed = 4 * size.pixels();
  if (*bytes == needed) {
    return value.IsArrayBuffer() ? HostBytes::ofBuffer(value.As<Napi::ArrayBuffer>())
                                 : HostBytes::ofView(value);
  }
  throw refusal(env, codes::slice,
                "A slice of " + sizeText(size.width, size.height) + " is " +
                    std::to_string(needed) + " bytes, 4 a pixel, but this one holds " +
                    std::to_string(*bytes) + ".");
}

void requireSameSize(Napi::Env env, std::size_t width, std::size_t height, const SliceSize& model) {
  if (width == model.width && height == model.height) return;
  throw refusal(env, codes::slice,
                "The slices of this model are " + sizeText(model.width, model.height) +
                    ", but those of the slicer are " + sizeText(width, height) + ".");
}

}  // namespace stiltforge::binding
