#include "binding/slicer_object.h"

#include <cmath>
#include <cstdint>
#include <new>
#include <string>

#include "binding/layer_runs_job.h"
#include "binding/options.h"
#include "binding/rejection.h"
#include "binding/slice_job.h"
#include "slicing/slicing_error.h"

namespace stiltforge::binding {

namespace {

constexpr napi_type_tag typeTag = {0x6c3f0d2b91e84a57, 0xb8d4127e5a90c3f6};

Napi::Array toArray(Napi::Env env, const slicing::Vertex& vertex) {
  Napi::Array array = Napi::Array::New(env, 3);
  array.Set(0u, vertex.x);
  array.Set(1u, vertex.y);
  array.Set(2u, vertex.z);
  return array;
}

Napi::Object toObject(Napi::Env env, const slicing::MeshReport& report) {
  Napi::Object bounds = Napi::Object::New(env);
  bounds.Set("min", toArray(env, report.bounds.min));
  bounds.Set("max", toArray(env, report.bounds.max));

  Napi::Object object = Napi::Object::New(env);
  object.Set("triangles", report.triangles);
  object.Set("vertices", report.vertices);
  object.Set("degenerateTriangles", report.degenerateTriangles);
  object.Set("openEdges", report.openEdges);
  object.Set("nonManifoldEdges", report.nonManifoldEdges);
  object.Set("misorientedEdges", report.misorientedEdges);
  object.Set("parts", report.parts);
  object.Set("openParts", report.openParts);
  object.Set("flippedParts", report.flippedParts);
  object.Set("cavities", report.cavities);
  object.Set("signedVolume", report.signedVolume);
  object.Set("expectedVolume", report.expectedVolume);
  object.Set("bounds", bounds);
  return object;
}

slicing::SlicerSettings readSettings(const Options& options) {
  slicing::SlicerSettings settings;
  settings.screen.pixelSize = options.number("pixelSize");
  settings.screen.width = options.whole("screenWidth");
  settings.screen.height = options.whole("screenHeight");
  settings.screen.offsetX = options.optionalNumber("offsetX").value_or(0);
  settings.screen.offsetY = options.optionalNumber("offsetY").value_or(0);
  settings.screen.margin = options.optionalWhole("margin").value_or(settings.screen.margin);
  settings.channels = options.channels();
  return settings;
}

uint32_t layerIndex(const Napi::Value& value, uint32_t layerCount) {
  const Napi::Env env = value.Env();
  if (!value.IsNumber()) throw Napi::TypeError::New(env, "The layer's index must be a number.");
  const double index = value.As<Napi::Number>().DoubleValue();
  const double last = layerCount - 1.0;
  if (index >= 0 && index <= last && index == std::floor(index)) {
    return static_cast<uint32_t>(index);
  }
  throw Napi::RangeError::New(env, "There is no layer " + slicing::numberText(index) +
                                       ": layers are numbered 0 to " + slicing::numberText(last) +
                                       ".");
}

}  // namespace

Napi::Function SlicerObject::define(Napi::Env env) {
  return DefineClass(
      env, "Slicer",
      {InstanceMethod("slice", &SlicerObject::slice), InstanceMethod("runs", &SlicerObject::runs)});
}

SlicerObject::SlicerObject(const Napi::CallbackInfo& info) : Napi::ObjectWrap<SlicerObject>(info) {
  const Napi::Env env = info.Env();
  const Options options(
      info, {"positions", "layerHeight", "pixelSize", "screenWidth", "screenHeight", "offsetX",
             "offsetY", "margin", "criticalAngle", "fullOverhang", "inset"});
  const slicing::SlicerSettings settings = readSettings(options);
  const Napi::Float32Array positions = options.floats("positions");
  try {
    shared_ = std::make_shared<SharedSlicer>(
        std::span<const float>(positions.Data(), positions.ElementLength()), settings);
  } catch (const slicing::SlicingError& failure) {
    throw Napi::Error::New(env, failure.what());
  } catch (const std::bad_alloc&) {
    throw Napi::Error::New(env, "There is not enough memory to prepare a mesh of " +
                                    std::to_string(positions.ElementLength() / 9) +
                                    " triangles. Simplify it first.");
  }
  Napi::MemoryManagement::AdjustExternalMemory(env, meshBytes());
  info.This().As<Napi::Object>().TypeTag(&typeTag);

  const slicing::Slicer& slicer = shared_->slicer;
  const slicing::ScreenPlacement& placement = slicer.placement();
  const auto constant = [&](const char* name, double value) {
    return Napi::PropertyDescriptor::Value(name, Napi::Number::New(env, value), napi_enumerable);
  };
  info.This().As<Napi::Object>().DefineProperties(
      {constant("layerCount", slicer.layerCount()), constant("width", placement.width),
       constant("height", placement.height), constant("cropX", placement.cropX),
       constant("cropY", placement.cropY), constant("originX", placement.originX),
       constant("originY", placement.originY),
       Napi::PropertyDescriptor::Value("report", toObject(env, slicer.report()), napi_enumerable)});
}

std::shared_ptr<SharedSlicer> SlicerObject::slicerOf(Napi::Value value) {
  if (!value.IsObject() || !value.As<Napi::Object>().CheckTypeTag(&typeTag)) return nullptr;
  return Unwrap(value.As<Napi::Object>())->shared_;
}

void SlicerObject::Finalize(Napi::BasicEnv env) {
  if (shared_) Napi::MemoryManagement::AdjustExternalMemory(env, -meshBytes());
}

int64_t SlicerObject::meshBytes() const {
  return static_cast<int64_t>(shared_->slicer.report().triangles) *
         static_cast<int64_t>(sizeof(slicing::Triangle) + sizeof(slicing::ZSweep::Interval) +
                              sizeof(uint32_t));
}

Napi::Value SlicerObject::slice(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    const uint32_t index = layerIndex(info[0], shared_->slicer.layerCount());
    const slicing::ScreenPlacement& placement = shared_->slicer.placement();
    const auto fill = [shared = shared_, index](uint8_t* rgba) {
      const std::lock_guard<std::mutex> lock(shared->mutex);
      return shared->slicer.slice(index, rgba);
    };
    return Job::add(
        std::make_unique<SliceJob>(env, placement.width, placement.height, info[1], fill), queue_,
        info.This().As<Napi::Object>());
  });
}

Napi::Value SlicerObject::runs(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    const uint32_t layers = shared_->slicer.layerCount();
    const uint32_t first = layerIndex(info[0], layers);
    double count = 1;
    if (!info[1].IsUndefined()) {
      count = info[1].IsNumber() ? info[1].As<Napi::Number>().DoubleValue() : NAN;
    }
    if (!(count >= 1 && count <= layers - first && count == std::floor(count))) {
      throw Napi::RangeError::New(env, "The number of layers must be a whole number from 1 to " +
                                           slicing::numberText(layers - first) +
                                           ", those from layer " + slicing::numberText(first) +
                                           " on.");
    }
    return Job::add(
        std::make_unique<LayerRunsJob>(env, shared_, first, static_cast<uint32_t>(count)), queue_,
        info.This().As<Napi::Object>());
  });
}

}  // namespace stiltforge::binding
