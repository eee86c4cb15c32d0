#include "node_api/result_buffer.h"

#include <new>

namespace stiltforge {

MemoryFunctions MemoryFunctions::of(Napi::Env env) {
  MemoryFunctions functions;
  functions.arrayBuffer = Napi::Persistent(env.Global().Get("ArrayBuffer").As<Napi::Function>());
  const Napi::Value buffer = env.Global().Get("Buffer");
  if (buffer.IsFunction()) {
    functions.bufferFrom =
        Napi::Persistent(buffer.As<Napi::Object>().Get("from").As<Napi::Function>());
  }
  return functions;
}

namespace {

Napi::Object bytesOf(Napi::Env env, const MemoryFunctions& functions, Napi::ArrayBuffer memory,
                     std::size_t size) {
  if (!functions.bufferFrom.IsEmpty()) {
    return functions.bufferFrom.Call({memory}).As<Napi::Object>();
  }
  napi_value array = nullptr;
  if (napi_create_typedarray(env, napi_uint8_array, size, memory, 0, &array) != napi_ok) {
    throw Napi::Error::New(env);
  }
  return {env, array};
}

}  // namespace

// Through the script's constructor, because that one answers with an exception when memory is
// short; its Node-API counterparts end the process.
ResultBuffer::ResultBuffer(Napi::Env env, const MemoryFunctions& functions, std::size_t size) {
  try {
    auto memory = functions.arrayBuffer.New({Napi::Number::New(env, static_cast<double>(size))})
                      .As<Napi::ArrayBuffer>();
    buffer = Napi::Persistent(bytesOf(env, functions, memory, size));
    block = HostBlock(memory);
  } catch (const Napi::Error&) {
    throw std::bad_alloc();
  }
}

napi_status ResultBuffer::value(napi_env env, napi_value* value) const {
  napi_value memory = nullptr;
  const napi_status status = block.buffer(env, &memory);
  return status == napi_ok ? napi_get_reference_value(env, buffer, value) : status;
}

}  // namespace stiltforge
