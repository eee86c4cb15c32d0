#include "binding/memory_estimate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "model/memory_estimate.h"
#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

// Beyond any machine's memory, and still exact in what is computed with it.
constexpr double most = 1e15;

double numberOf(const Napi::Object& model, const char* key, std::optional<double> fallback) {
  const Napi::Value value = model.Get(key);
  if (value.IsUndefined() && fallback) return *fallback;
  const double number = value.IsNumber() ? value.As<Napi::Number>().DoubleValue() : NAN;
  if (number >= 0 && number <= most) return number;
  throw refusal(model.Env(), codes::parameter,
                std::string("estimateMemory needs a number from 0 to 1e15 as ") + key + ".");
}

template <typename T>
T countOf(const Napi::Object& model, const char* key, std::optional<double> fallback) {
  const double largest = static_cast<double>(std::numeric_limits<T>::max());
  return static_cast<T>(
      std::min(std::floor(numberOf(model, key, fallback)), std::min(largest, most)));
}

template <typename T>
void requireCount(const Napi::Object& model, const char* key, T& count) {
  count = countOf<T>(model, key, std::nullopt);
}

template <typename T>
void readCount(const Napi::Object& model, const char* key, T& count) {
  count = countOf<T>(model, key, static_cast<double>(count));
}

}  // namespace

Napi::Value estimateMemory(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  if (!info[0].IsObject()) {
    throw refusal(env, codes::parameter,
                  "estimateMemory needs an object that describes the model.");
  }
  const auto model = info[0].As<Napi::Object>();
  ModelSize size;
  requireCount(model, "width", size.width);
  requireCount(model, "height", size.height);
  requireCount(model, "layers", size.layers);
  size.needBuffer = model.Get("needBuffer").ToBoolean();
  size.ghostRadius = static_cast<float>(numberOf(model, "ghostRadius", size.ghostRadius));
  readCount(model, "queuedSlices", size.queuedSlices);
  readCount(model, "heldResults", size.heldResults);
  readCount(model, "regionsPerLayer", size.regionsPerLayer);
  readCount(model, "supports", size.supports);
  size.pixelsPerSupport = numberOf(model, "pixelsPerSupport", size.pixelsPerSupport);
  size.unsupportedShare = numberOf(model, "unsupportedShare", size.unsupportedShare);
  readCount(model, "ghostsPerRegion", size.ghostsPerRegion);

  const MemoryEstimate estimate = stiltforge::estimateMemory(size);
  Napi::Object result = Napi::Object::New(env);
  const auto set = [&](const char* key, uint64_t bytes) {
    result.Set(key, Napi::Number::New(env, static_cast<double>(bytes)));
  };
  set("total", estimate.total());
  set("slices", estimate.slices);
  set("regions", estimate.regions);
  set("placement", estimate.placement);
  set("history", estimate.history);
  set("fixed", estimate.fixed);
  return result;
}

}  // namespace stiltforge::binding
