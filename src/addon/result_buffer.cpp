#include "addon/result_buffer.h"

#include <new>

#include "addon/environment.h"
#include "runtime/huge_pages.h"

namespace stiltforge {

// Through the script's constructor, because that one answers with an exception when memory is
// short; its Node-API counterparts end the process.
ResultBuffer::ResultBuffer(Napi::Env env, const Environment& environment, std::size_t size)
    : length(size) {
  try {
    auto memory = environment.arrayBuffer.New({Napi::Number::New(env, static_cast<double>(size))})
                      .As<Napi::ArrayBuffer>();
    buffer = Napi::Persistent(environment.bufferFrom.Call({memory}).As<Napi::Object>());
    bytes = static_cast<uint8_t*>(memory.Data());
    preferHugePages(bytes, size);
  } catch (const Napi::Error&) {
    throw std::bad_alloc();
  }
}

}  // namespace stiltforge
