#include "node_api/result_buffer.h"

#include <new>

#include "runtime/huge_pages.h"

namespace stiltforge {

MemoryFunctions MemoryFunctions::of(Napi::Env env) {
  const Napi::Object buffer = env.Global().Get("Buffer").As<Napi::Object>();
  return {Napi::Persistent(env.Global().Get("ArrayBuffer").As<Napi::Function>()),
          Napi::Persistent(buffer.Get("from").As<Napi::Function>())};
}

// Through the script's constructor, because that one answers with an exception when memory is
// short; its Node-API counterparts end the process.
ResultBuffer::ResultBuffer(Napi::Env env, const MemoryFunctions& functions, std::size_t size)
    : length(size) {
  try {
    auto memory = functions.arrayBuffer.New({Napi::Number::New(env, static_cast<double>(size))})
                      .As<Napi::ArrayBuffer>();
    buffer = Napi::Persistent(functions.bufferFrom.Call({memory}).As<Napi::Object>());
    bytes = static_cast<uint8_t*>(memory.Data());
    preferHugePages(bytes, size);
  } catch (const Napi::Error&) {
    throw std::bad_alloc();
  }
}

}  // namespace stiltforge
