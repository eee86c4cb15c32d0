#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>

namespace stiltforge {

/// The functions by which an environment makes memory, kept before a host can replace them.
struct MemoryFunctions {
  static MemoryFunctions of(Napi::Env env);

  Napi::FunctionReference arrayBuffer;  ///< the constructor
  Napi::FunctionReference bufferFrom;   ///< Buffer.from
};

/// A host Buffer for pixels, made on the main thread.
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

  uint8_t* data() { return bytes; }
  std::size_t size() const { return length; }
  Napi::Value value() const { return buffer.Value(); }

 private:
  Napi::ObjectReference buffer;
  uint8_t* bytes = nullptr;
  std::size_t length = 0;
};

}  // namespace stiltforge
