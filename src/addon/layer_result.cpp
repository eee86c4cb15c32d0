#include "addon/layer_result.h"

#include <vector>

namespace stiltforge {

namespace {

Napi::Object supportToJS(Napi::Env env, const Voxel& support) {
  Napi::Object object = Napi::Object::New(env);
  object.Set("x", Napi::Number::New(env, support.x));
  object.Set("y", Napi::Number::New(env, support.y));
  object.Set("z", Napi::Number::New(env, support.z));
  object.Set("isMinima", Napi::Boolean::New(env, support.isMinima));
  return object;
}

Napi::Object groupToJS(Napi::Env env, const Group& group) {
  Napi::Object object = Napi::Object::New(env);
  static const std::vector<Voxel> none;
  const std::vector<Voxel>& placed = group.placement ? group.placement->supports : none;
  Napi::Array supports = Napi::Array::New(env, placed.size());
  for (uint32_t i = 0; i < placed.size(); ++i) supports.Set(i, supportToJS(env, placed[i]));

  object.Set("numPixel", Napi::Number::New(env, group.numPixel));
  object.Set("supportedPixel", Napi::Number::New(env, group.supportedPixel));
  object.Set("supports", supports);
  object.Set("xMin", Napi::Number::New(env, group.xMin));
  object.Set("yMin", Napi::Number::New(env, group.yMin));
  object.Set("xMax", Napi::Number::New(env, group.xMax));
  object.Set("yMax", Napi::Number::New(env, group.yMax));
  return object;
}

}  // namespace

Napi::Object layerToJS(Napi::Env env, const Layer& layer) {
  Napi::Object object = Napi::Object::New(env);
  const auto entries = static_cast<uint32_t>(layer.groups.size());
  Napi::Array groups = Napi::Array::New(env, entries == 0 ? 0 : entries - 1);
  for (uint32_t i = 1; i < entries; ++i) {
    const Napi::HandleScope scope(env);
    groups.Set(i - 1, groupToJS(env, layer.groups[i]));
  }
  object.Set("width", Napi::Number::New(env, layer.width));
  object.Set("height", Napi::Number::New(env, layer.height));
  object.Set("pixelCount", Napi::Number::New(env, layer.pixelCount));
  object.Set("groupCount", Napi::Number::New(env, layer.groupCount));
  object.Set("groups", groups);
  return object;
}

}  // namespace stiltforge
