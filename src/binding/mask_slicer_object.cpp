#include "binding/mask_slicer_object.h"

#include <cstdint>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "binding/options.h"
#include "binding/rejection.h"
#include "binding/slice_job.h"
#include "slicing/slicing_error.h"

namespace stiltforge::binding {

namespace {

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

std::vector<uint8_t> copyOf(const Napi::Uint8Array& mask) {
  try {
    return {mask.Data(), mask.Data() + mask.ElementLength()};
  } catch (const std::bad_alloc&) {
    throw Napi::Error::New(mask.Env(), "There is not enough memory for a copy of the mask (" +
                                           std::to_string(mask.ElementLength()) + " bytes).");
  }
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
    slicer_ = std::make_unique<slicing::MaskSlicer>(settings);
  } catch (const slicing::SlicingError& failure) {
    throw Napi::Error::New(env, failure.what());
  } catch (const std::bad_alloc&) {
    throw Napi::Error::New(env, "There is not enough memory for slices of this size.");
  }
  width_ = static_cast<int>(settings.width);
  height_ = static_cast<int>(settings.height);
}

Napi::Value MaskSlicerObject::next(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    if (!info[0].IsTypedArray() ||
        info[0].As<Napi::TypedArray>().TypedArrayType() != napi_uint8_array) {
      throw Napi::TypeError::New(env, "The mask must be a Uint8Array.");
    }
    const Napi::Uint8Array mask = info[0].As<Napi::Uint8Array>();
    if (mask.ElementLength() != slicer_->maskBytes()) {
      throw Napi::RangeError::New(env, "The mask has " + std::to_string(mask.ElementLength()) +
                                           " bytes; " + std::to_string(slicer_->maskBytes()) +
                                           " are needed, one for each pixel.");
    }
    // A mask that the host transfers, shrinks or changes after this call is not read any more.
    auto fill = [slicer = slicer_.get(), grey = copyOf(mask)](uint8_t* rgba) {
      return slicer->next(grey, rgba);
    };
    return queue_.add(info.This().As<Napi::Object>(),
                      std::make_unique<SliceJob>(env, width_, height_, info[1], std::move(fill)));
  });
}

}  // namespace stiltforge::binding
