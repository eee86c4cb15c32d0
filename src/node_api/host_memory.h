#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace stiltforge {

// The host's memory. In WebAssembly it is out of reach and everything is copied, so what stands
// here is implemented twice: host_memory.cpp, and src/wasm.

/// Bytes of the host, to be read before any script runs again.
class HostBytes {
 public:
  /// All of an ArrayBuffer. Throws std::bad_alloc.
  static HostBytes ofBuffer(const Napi::ArrayBuffer& buffer);
  /// Of a typed array or a DataView. Throws std::bad_alloc.
  static HostBytes ofView(const Napi::Value& view);

  template <typename T>
  std::span<const T> as() const {
    return {reinterpret_cast<const T*>(bytes_.data()), bytes_.size() / sizeof(T)};
  }

 private:
  std::unique_ptr<uint8_t[]> copy_;  ///< where the host's memory is out of reach
  std::span<const uint8_t> bytes_;
};

/// The memory of a host's ArrayBuffer that no script can reach, to be written from any thread.
class HostBlock {
 public:
  HostBlock() = default;
  /// Throws std::bad_alloc.
  explicit HostBlock(Napi::ArrayBuffer buffer);

  uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }
  /// The ArrayBuffer with what was written; no more may be. By plain Node-API calls.
  napi_status buffer(napi_env env, napi_value* buffer) const;

 private:
  Napi::Reference<Napi::ArrayBuffer> buffer_;
  std::unique_ptr<uint8_t[]> copy_;  ///< where the host's memory is out of reach
  uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
};

/// Fills an ArrayBuffer of `size` bytes. By plain Node-API calls.
napi_status copyToHost(napi_env env, napi_value buffer, const void* bytes, std::size_t size);

}  // namespace stiltforge
