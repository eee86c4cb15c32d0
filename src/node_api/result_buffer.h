#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>

#include "node_api/host_memory.h"

namespace stiltforge {

/// The functions by which an environment makes memory, kept before a host can replace them.
struct MemoryFunctions {
  static MemoryFunctions of(Napi::Env env);

  Napi::FunctionReference arrayBuffer;  ///< the constructor
  Napi::FunctionReference bufferFrom;   ///< Buffer.from; none in a browser
};

/// A host Buffer for pixels, a Uint8Array in a browser, made on the main thread.
///
/// Making it only reserves the memory: its pages are touched where it is filled. A slice job makes
/// its Buffers before it runs and fills them on its worker thread, so the main thread never copies
/// a slice. Unlike an external Buffer it owns an ordinary ArrayBuffer, which may be transferred and
/// which no host forbids.
class ResultBuffer {
 public:
  ResultBuffer() = default;
  /// Zero-filled. Throws std::bad_alloc.
  ResultBuffer(Napi::Env env, const MemoryFunctions& functions, std::size_t size);

  uint8_t* data() const { return block.data(); }
  std::size_t size() const { return block.size(); }
  /// With what was written; no more may be. By plain Node-API calls.
  napi_status value(napi_env env, napi_value* value) const;

 private:
  Napi::ObjectReference buffer;
  HostBlock block;
};

}  // namespace stiltforge
