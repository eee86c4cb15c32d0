#include "binding/array_buffer.h"

#include <new>

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

napi_status newArrayBuffer(napi_env env, std::size_t bytes, napi_value* buffer) {
  const Napi::FunctionReference& arrayBuffer = Environment::of(env).memory.arrayBuffer;
  napi_value constructor = nullptr;
  napi_value length = nullptr;
  napi_status status = napi_get_reference_value(env, arrayBuffer, &constructor);
  if (status == napi_ok) status = napi_create_double(env, static_cast<double>(bytes), &length);
  if (status == napi_ok) status = napi_new_instance(env, constructor, 1, &length, buffer);
  napi_value exception;
  if (status == napi_pending_exception &&
      napi_get_and_clear_last_exception(env, &exception) == napi_ok) {
    throw std::bad_alloc();
  }
  return status;
}

Napi::ArrayBuffer takeArrayBuffer(Napi::Env env, Napi::ArrayBuffer given) {
  Napi::Array transfer = Napi::Array::New(env, 1);
  transfer.Set(0u, given);
  Napi::Object options = Napi::Object::New(env);
  options.Set("transfer", transfer);
  return Environment::of(env).structuredClone.Call({given, options}).As<Napi::ArrayBuffer>();
}

}  // namespace stiltforge::binding
