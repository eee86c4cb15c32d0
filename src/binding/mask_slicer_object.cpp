#include "binding/mask_slicer_object.h"

#include <cstdint>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "binding/options.h"
#include "binding/rejection.h"
#include "binding/slice_job.h"
#include "node_api/host_memory.h"
#include "slicing/slicing_error.h"

namespace stiltforge::binding {

namespace {

constexpr napi_type_tag typeTag = {0x3b7a15c09d2e4f68, 0x94e1d07c6a5b2f83};

slicing::MaskSettings readSettings(Napi::Env env, const Options& options) {
  slicing::MaskSettings settings;
  settings.maskWidth = options.whole("maskWidth");
  settings.maskHeight = options.whole("maskHeight");
  settings.cropX = options.optionalWhole("cropX").value_or(0);
  settings.cropY = options.optionalWhole("cropY").value_or(0);
  settings.width = options.optionalWhole("width").value_or(settings.maskWidth);
  settings.height = options.optionalWhole("height").value_or(settings.maskHeight);
  const uint32_t threshold = options.optionalWhole("threshold").value_or(settings.threshold);
  if (threshold < 1 || threshold > 255) {
    throw Napi::RangeError::New(env, "The option \"threshold\" is " + std::to_string(threshold) +
                                         "; it must be a whole number from 1 to 255.");
  }
  settings.threshold = static_cast<uint8_t>(threshold);
  settings.channels = options.channels();
  settings.channels.pixelSize = options.number("pixelSize");
  return settings;
}

}  // namespace

Napi::Function MaskSlicerObject::define(Napi::Env env) {
  return DefineClass(env, "MaskSlicer", {InstanceMethod("next", &MaskSlicerObject::next)});
}

MaskSlicerObject::MaskSlicerObject(const Napi::CallbackInfo& info)
    : Napi::ObjectWrap<MaskSlicerObject>(info) {
  const Napi::Env env = info.Env();
  const Options options(
      info, {"maskWidth", "maskHeight", "cropX", "cropY", "width", "height", "threshold",
             "pixelSize", "layerHeight", "criticalAngle", "fullOverhang", "inset"});
  const slicing::MaskSettings settings = readSettings(env, options);
  try {
    shared_ = std::make_shared<SharedMaskSlicer>(settings);
  } catch (const slicing::SlicingError& failure) {
    throw Napi::Error::New(env, failure.what());
  } catch (const std::bad_alloc&) {
    throw Napi::Error::New(env, "There is not enough memory for slices of this size.");
  }
  info.This().As<Napi::Object>().TypeTag(&typeTag);
}

std::shared_ptr<SharedMaskSlicer> MaskSlicerObject::slicerOf(Napi::Value value) {
  if (!value.IsObject() || !value.As<Napi::Object>().CheckTypeTag(&typeTag)) return nullptr;
  return Unwrap(value.As<Napi::Object>())->shared_;
}

std::vector<uint8_t> MaskSlicerObject::readMask(const SharedMaskSlicer& shared, Napi::Value value) {
  const Napi::Env env = value.Env();
  if (!value.IsTypedArray() || value.As<Napi::TypedArray>().TypedArrayType() != napi_uint8_array) {
    throw Napi::TypeError::New(env, "The mask must be a Uint8Array.");
  }
  const auto mask = value.As<Napi::TypedArray>();
  if (mask.ElementLength() != shared.slicer.maskBytes()) {
    throw Napi::RangeError::New(env, "The mask has " + std::to_string(mask.ElementLength()) +
                                         " bytes; " + std::to_string(shared.slicer.maskBytes()) +
                                         " are needed, one for each pixel.");
  }
  // A mask that the host transfers, shrinks or changes after the call is not read any more.
  const HostBytes host = HostBytes::ofView(mask);
  const std::span<const uint8_t> grey = host.as<uint8_t>();
  return {grey.begin(), grey.end()};
}

Napi::Value MaskSlicerObject::next(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    std::vector<uint8_t> mask;
    try {
      mask = readMask(*shared_, info[0]);
    } catch (const std::bad_alloc&) {
      throw Napi::Error::New(env, "There is not enough memory for a copy of the mask (" +
                                      std::to_string(shared_->slicer.maskBytes()) + " bytes).");
    }
    auto fill = [shared = shared_, grey = std::move(mask)](uint8_t* rgba) {
      const std::lock_guard<std::mutex> lock(shared->mutex);
      return shared->slicer.next(grey, rgba);
    };
    const auto width = static_cast<int>(shared_->width);
    const auto height = static_cast<int>(shared_->height);
    return Job::add(std::make_unique<SliceJob>(env, width, height, info[1], std::move(fill)),
                    queue_, info.This().As<Napi::Object>());
  });
}

}  // namespace stiltforge::binding
