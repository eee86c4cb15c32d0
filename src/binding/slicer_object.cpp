#include "binding/slicer_object.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "binding/array_buffer.h"
#include "binding/options.h"
#include "binding/slicer_calls.h"
#include "node_api/host_memory.h"
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

Napi::Value toArray(Napi::Env env, const std::vector<uint32_t>& numbers,
                    const std::string& withoutMemory) {
  const std::size_t bytes = numbers.size() * sizeof(uint32_t);
  const Napi::ArrayBuffer buffer = newArrayBuffer(env, bytes, withoutMemory);
  napi_value array = nullptr;
  if (copyToHost(env, buffer, numbers.data(), bytes) != napi_ok ||
      napi_create_typedarray(env, napi_uint32_array, numbers.size(), buffer, 0, &array) !=
          napi_ok) {
    throw Napi::Error::New(env);
  }
  return {env, array};
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
  object.Set("widestGap", report.widestGap);
  object.Set("flippedParts", report.flippedParts);
  object.Set("cavities", report.cavities);
  object.Set("floatingParts", report.floatingParts);
  object.Set("floatingFrom", report.floatingFrom);
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
  settings.lift = options.optionalNumber("lift").value_or(settings.lift);
  settings.channels = options.channels();
  return settings;
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
             "offsetY", "lift", "margin", "criticalAngle", "fullOverhang", "inset"});
  const slicing::SlicerSettings settings = readSettings(options);
  const Napi::TypedArray positions = options.floats("positions");
  const std::string withoutMemory = "There is not enough memory to prepare a mesh of " +
                                    std::to_string(positions.ElementLength() / 9) +
                                    " triangles. Simplify it first.";
  try {
    auto slicer =
        std::make_unique<slicing::Slicer>(HostBytes::ofView(positions).as<float>(), settings);
    slicer_ = slicer.get();
    shared_ = std::make_shared<SharedSlicer>(std::move(slicer));
  } catch (const slicing::SlicingError& failure) {
    throw Napi::Error::New(env, failure.what());
  } catch (const std::bad_alloc&) {
    throw Napi::Error::New(env, withoutMemory);
  }
  const slicing::Slicer& slicer = *slicer_;
  const Napi::Value turned = toArray(env, slicer.turnedTriangles(), withoutMemory);
  Napi::MemoryManagement::AdjustExternalMemory(env, meshBytes());
  info.This().As<Napi::Object>().TypeTag(&typeTag);

  const slicing::ScreenPlacement& placement = slicer.placement();
  const auto constant = [&](const char* name, double value) {
    return Napi::PropertyDescriptor::Value(name, Napi::Number::New(env, value), napi_enumerable);
  };
  info.This().As<Napi::Object>().DefineProperties(
      {constant("layerCount", slicer.layerCount()), constant("width", placement.width),
       constant("height", placement.height), constant("cropX", placement.cropX),
       constant("cropY", placement.cropY), constant("originX", placement.originX),
       constant("originY", placement.originY), constant("plateZ", slicer.plateZ()),
       Napi::PropertyDescriptor::Value("report", toObject(env, slicer.report()), napi_enumerable),
       Napi::PropertyDescriptor::Value("turnedTriangles", turned, napi_enumerable)});
}

std::shared_ptr<SharedSlicer> SlicerObject::slicerOf(Napi::Value value) {
  if (!value.IsObject() || !value.As<Napi::Object>().CheckTypeTag(&typeTag)) return nullptr;
  return Unwrap(value.As<Napi::Object>())->shared_;
}

void SlicerObject::Finalize(Napi::BasicEnv env) {
  if (shared_) Napi::MemoryManagement::AdjustExternalMemory(env, -meshBytes());
}

int64_t SlicerObject::meshBytes() const {
  return static_cast<int64_t>(slicer_->report().triangles) *
         static_cast<int64_t>(sizeof(slicing::Triangle) + sizeof(slicing::ZSweep::Interval) +
                              sizeof(uint32_t));
}

Napi::Value SlicerObject::slice(const Napi::CallbackInfo& info) {
  return callSlice(info, shared_, queue_);
}

Napi::Value SlicerObject::runs(const Napi::CallbackInfo& info) {
  return callRuns(info, shared_, queue_);
}

}  // namespace stiltforge::binding
