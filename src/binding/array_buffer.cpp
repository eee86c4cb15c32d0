#include "binding/array_buffer.h"

#include "binding/environment.h"

namespace stiltforge::binding {

Napi::ArrayBuffer newArrayBuffer(Napi::Env env, std::size_t bytes,
                                 const std::string& withoutMemory) {
  try {
    return Environment::of(env)
        .memory.arrayBuffer.New({Napi::Number::New(env, static_cast<double>(bytes))})
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
  return Environment::of(env).structuredClone.Call({given, options}).As<Napi::ArrayBuffer>();
}

}  // namespace stiltforge::binding
