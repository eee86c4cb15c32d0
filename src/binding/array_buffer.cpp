#include "binding/array_buffer.h"

namespace stiltforge::binding {

namespace {

struct InstanceData {
  Napi::FunctionReference arrayBuffer;
  Napi::FunctionReference structuredClone;
};

Napi::FunctionReference globalFunction(Napi::Env env, const char* name) {
  return Napi::Persistent(env.Global().Get(name).As<Napi::Function>());
}

}  // namespace

void keepArrayBufferFunctions(Napi::Env env) {
  env.SetInstanceData(
      new InstanceData{globalFunction(env, "ArrayBuffer"), globalFunction(env, "structuredClone")});
}

Napi::ArrayBuffer newArrayBuffer(Napi::Env env, std::size_t bytes,
                                 const std::string& withoutMemory) {
  try {
    return env.GetInstanceData<InstanceData>()
        ->arrayBuffer.New({Napi::Number::New(env, static_cast<double>(bytes))})
        .As<Napi::ArrayBuffer>();
  } catch (const Napi::Error&) {
    throw Napi::Error::New(env, withoutMemory);
  }
}

Napi::ArrayBuffer takeArrayBuffer(Napi::Env env, Napi::ArrayBuffer given) {
  Napi::Array transfer = Napi::Array::New(env, 1);
  transfer.Set(0u, given);
  Napi::Object options = Napi::Object::New(env);
  options.Set("transfer", transfer);
  return env.GetInstanceData<InstanceData>()
      ->structuredClone.Call({given, options})
      .As<Napi::ArrayBuffer>();
}

}  // namespace stiltforge::binding
