#include "node_api/layer_result.h"

#include <cstddef>
#include <cstdint>

namespace stiltforge {

namespace {

// Makes each key a script string once for all groups of a layer; there may be thousands.
class LayerConverter {
 public:
  explicit LayerConverter(Napi::Env napiEnv) : env(napiEnv) {}

  Napi::Object convert(const Layer& layer) const {
    Napi::Object object = Napi::Object::New(env);
    const auto entries = static_cast<uint32_t>(layer.groups.size());
    Napi::Array groups = Napi::Array::New(env, entries == 0 ? 0 : entries - 1);
    for (uint32_t i = 1; i < entries; ++i) {
      const Napi::HandleScope scope(env);
      groups.Set(i - 1, convert(layer.groups[i]));
    }
    set(object, width, layer.width);
    set(object, height, layer.height);
    set(object, pixelCount, layer.pixelCount);
    set(object, groupCount, layer.groupCount);
    object.Set("groups", groups);
    return object;
  }

 private:
  Napi::Object convert(const Group& group) const {
    Napi::Object object = Napi::Object::New(env);
    const std::size_t count = group.placement ? group.placement->supports.size() : 0;
    Napi::Array placed = Napi::Array::New(env, count);
    for (uint32_t i = 0; i < count; ++i) {
      const Napi::HandleScope scope(env);
      placed.Set(i, convert(group.placement->supports[i]));
    }
    set(object, numPixel, group.numPixel);
    set(object, supportedPixel, group.supportedPixel);
    object.Set(supports, placed);
    set(object, xMin, group.xMin);
    set(object, yMin, group.yMin);
    set(object, xMax, group.xMax);
    set(object, yMax, group.yMax);
    return object;
  }

  Napi::Object convert(const Voxel& support) const {
    Napi::Object object = Napi::Object::New(env);
    set(object, x, support.x);
    set(object, y, support.y);
    set(object, z, support.z);
    object.Set(isMinima, Napi::Boolean::New(env, support.isMinima));
    return object;
  }

  void set(Napi::Object& object, napi_value key, uint32_t value) const {
    object.Set(key, Napi::Number::New(env, value));
  }

  Napi::String string(const char* text) const { return Napi::String::New(env, text); }

  Napi::Env env;
  Napi::String width = string("width");
  Napi::String height = string("height");
  Napi::String pixelCount = string("pixelCount");
  Napi::String groupCount = string("groupCount");
  Napi::String numPixel = string("numPixel");
  Napi::String supportedPixel = string("supportedPixel");
  Napi::String supports = string("supports");
  Napi::String xMin = string("xMin");
  Napi::String yMin = string("yMin");
  Napi::String xMax = string("xMax");
  Napi::String yMax = string("yMax");
  Napi::String x = string("x");
  Napi::String y = string("y");
  Napi::String z = string("z");
  Napi::String isMinima = string("isMinima");
};

}  // namespace

Napi::Object layerToJS(Napi::Env env, const Layer& layer) {
  return LayerConverter(env).convert(layer);
}

}  // namespace stiltforge
