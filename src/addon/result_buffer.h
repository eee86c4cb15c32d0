#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>

namespace stiltforge {

struct Environment;

/// A host Buffer that a worker thread fills.
///
/// It is made before the job runs, on the main thread, which only reserves the memory: its pages
/// are touched where they are filled, so the main thread never copies an image. Unlike an external
/// Buffer it owns an ordinary ArrayBuffer, which may be transferred and which no host forbids.
class ResultBuffer {
 public:
  ResultBuffer() = default;
  /// Zero-filled. Throws std::bad_alloc.
  ResultBuffer(Napi::Env env, const Environment& environment, std::size_t size);

  uint8_t* data() { return bytes; }
  std::size_t size() const { return length; }
  Napi::Value value() const { return buffer.Value(); }

 private:
  Napi::ObjectReference buffer;
  uint8_t* bytes = nullptr;
  std::size_t length = 0;
};

}  // namespace stiltforge
