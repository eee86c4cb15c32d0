#include "binding/layer_slicer_object.h"

#include <new>
#include <utility>

#include "binding/options.h"
#include "binding/printer_file.h"
#include "binding/slicer_calls.h"
#include "files/file_error.h"
#include "node_api/refusal.h"
#include "slicing/layer_slicer.h"
#include "slicing/slicing_error.h"

namespace stiltforge::binding {

namespace {

constexpr napi_type_tag typeTag = {0x94d7e20b61fc4c18, 0x8b3fa65d0c27e149};

slicing::LayerSettings readSettings(const Options& options, const printer_files::PrintInfo& print) {
  slicing::LayerSettings settings;
  settings.layerCount = print.layerCount;
  settings.layerWidth = print.width;
  settings.layerHeight = print.height;
  settings.cropX = options.optionalWhole("cropX").value_or(0);
  settings.cropY = options.optionalWhole("cropY").value_or(0);
  settings.width = options.optionalWhole("width").value_or(print.width);
  settings.height = options.optionalWhole("height").value_or(print.height);
  settings.channels = options.channels();
  settings.channels.pixelSize = options.number("pixelSize");
  settings.haveChannels = options.flag("haveChannels");
  return settings;
}

void read(OpenPrinterFile& open, bool channels, uint32_t layer, Slice& slice) {
  try {
    if (channels) {
      open.file->readChannels(layer, slice);
    } else {
      open.file->readMaterial(layer, slice.material);
    }
  } catch (const files::FileError& error) {
    throw JobRefusal(codes::file, open.prefix + error.what());
  }
}

}  // namespace

Napi::Function LayerSlicerObject::define(Napi::Env env) {
  return DefineClass(env, "LayerSlicer",
                     {InstanceMethod("slice", &LayerSlicerObject::slice),
                      InstanceMethod("runs", &LayerSlicerObject::runs)});
}

LayerSlicerObject::LayerSlicerObject(const Napi::CallbackInfo& info)
    : Napi::ObjectWrap<LayerSlicerObject>(info) {
  const Napi::Env env = info.Env();
  const std::shared_ptr<OpenPrinterFile> file = printerFileOf(info[0]);
  if (!file) {
    throw Napi::TypeError::New(env, "The file must be one that openPrinterFile() has opened.");
  }
  const Options options(info, 1,
                        {"cropX", "cropY", "width", "height", "pixelSize", "layerHeight",
                         "criticalAngle", "fullOverhang", "inset", "haveChannels"});
  const slicing::LayerSettings settings = readSettings(options, file->file->info());
  try {
    shared_ = std::make_shared<SharedSlicer>(std::make_unique<slicing::LayerSlicer>(
        settings, [file, channels = settings.haveChannels](uint32_t layer, Slice& slice) {
          read(*file, channels, layer, slice);
        }));
  } catch (const slicing::SlicingError& failure) {
    throw Napi::Error::New(env, failure.what());
  } catch (const std::bad_alloc&) {
    throw Napi::Error::New(env, "There is not enough memory for slices of this size.");
  }
  info.This().As<Napi::Object>().TypeTag(&typeTag);
  const auto constant = [&](const char* name, uint32_t value) {
    return Napi::PropertyDescriptor::Value(name, Napi::Number::New(env, value), napi_enumerable);
  };
  info.This().As<Napi::Object>().DefineProperties(
      {constant("layerCount", settings.layerCount), constant("width", settings.width),
       constant("height", settings.height), constant("cropX", settings.cropX),
       constant("cropY", settings.cropY)});
}

std::shared_ptr<SharedSlicer> LayerSlicerObject::slicerOf(Napi::Value value) {
  if (!value.IsObject() || !value.As<Napi::Object>().CheckTypeTag(&typeTag)) return nullptr;
  return Unwrap(value.As<Napi::Object>())->shared_;
}

Napi::Value LayerSlicerObject::slice(const Napi::CallbackInfo& info) {
  return callSlice(info, shared_, queue_);
}

Napi::Value LayerSlicerObject::runs(const Napi::CallbackInfo& info) {
  return callRuns(info, shared_, queue_);
}

}  // namespace stiltforge::binding
