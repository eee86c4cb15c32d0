#include "binding/slicer_calls.h"

#include <cmath>
#include <cstdint>
#include <mutex>

#include "binding/layer_runs_job.h"
#include "binding/layer_slicer_object.h"
#include "binding/rejection.h"
#include "binding/slice_job.h"
#include "binding/slicer_object.h"
#include "runtime/number_text.h"

namespace stiltforge::binding {

namespace {

uint32_t layerIndex(const Napi::Value& value, uint32_t layerCount) {
  const Napi::Env env = value.Env();
  if (!value.IsNumber()) throw Napi::TypeError::New(env, "The layer's index must be a number.");
  const double index = value.As<Napi::Number>().DoubleValue();
  const double last = layerCount - 1.0;
  if (index >= 0 && index <= last && index == std::floor(index)) {
    return static_cast<uint32_t>(index);
  }
  throw Napi::RangeError::New(env, "There is no layer " + numberText(index) +
                                       ": layers are numbered 0 to " + numberText(last) + ".");
}

}  // namespace

std::shared_ptr<SharedSlicer> sharedSlicerOf(Napi::Value value) {
  std::shared_ptr<SharedSlicer> slicer = SlicerObject::slicerOf(value);
  return slicer ? slicer : LayerSlicerObject::slicerOf(value);
}

Napi::Value callSlice(const Napi::CallbackInfo& info, const std::shared_ptr<SharedSlicer>& shared,
                      JobQueue<Job>& queue) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    const slicing::SliceSource& slicer = shared->slicer;
    const uint32_t index = layerIndex(info[0], slicer.layerCount());
    const auto fill = [shared, index](uint8_t* rgba) {
      const std::lock_guard<std::mutex> lock(shared->mutex);
      return shared->slicer.slice(index, rgba);
    };
    return Job::add(std::make_unique<SliceJob>(env, static_cast<int>(slicer.width()),
                                               static_cast<int>(slicer.height()), info[1], fill),
                    queue, info.This().As<Napi::Object>());
  });
}

Napi::Value callRuns(const Napi::CallbackInfo& info, const std::shared_ptr<SharedSlicer>& shared,
                     JobQueue<Job>& queue) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    const uint32_t layers = shared->slicer.layerCount();
    const uint32_t first = layerIndex(info[0], layers);
    double count = 1;
    if (!info[1].IsUndefined()) {
      count = info[1].IsNumber() ? info[1].As<Napi::Number>().DoubleValue() : NAN;
    }
    if (!(count >= 1 && count <= layers - first && count == std::floor(count))) {
      throw Napi::RangeError::New(env, "The number of layers must be a whole number from 1 to " +
                                           numberText(layers - first) + ", those from layer " +
                                           numberText(first) + " on.");
    }
    return Job::add(
        std::make_unique<LayerRunsJob>(env, shared, first, static_cast<uint32_t>(count)), queue,
        info.This().As<Napi::Object>());
  });
}

}  // namespace stiltforge::binding
