// The host's memory where it is out of reach: src/node_api/host_memory.h by copies.

#include "node_api/host_memory.h"

#include <emnapi.h>

#include <new>

namespace stiltforge {

namespace {

/// A Uint8Array over memory of ours, for one call: growing memory would detach it.
napi_status viewOf(napi_env env, const void* bytes, std::size_t size, napi_value* view) {
  return emnapi_create_memory_view(env, emnapi_uint8_array, const_cast<void*>(bytes), size, nullptr,
                                   nullptr, view);
}

/// target.set(source), of Uint8Arrays.
napi_status setBytes(napi_env env, napi_value target, napi_value source) {
  napi_value set = nullptr;
  const napi_status status = napi_get_named_property(env, target, "set", &set);
  return status == napi_ok ? napi_call_function(env, target, set, 1, &source, nullptr) : status;
}

std::unique_ptr<uint8_t[]> copyOf(napi_env env, napi_value buffer, std::size_t offset,
                                  std::size_t size) {
  std::unique_ptr<uint8_t[]> copy(new uint8_t[size]);
  napi_value source = nullptr;
  napi_value target = nullptr;
  napi_status status = napi_create_typedarray(env, napi_uint8_array, size, buffer, offset, &source);
  if (status == napi_ok) status = viewOf(env, copy.get(), size, &target);
  if (status == napi_ok) status = setBytes(env, target, source);
  if (status != napi_ok) throw Napi::Error::New(env);
  return copy;
}

}  // namespace

HostBytes HostBytes::ofBuffer(const Napi::ArrayBuffer& buffer) {
  const std::size_t size = const_cast<Napi::ArrayBuffer&>(buffer).ByteLength();
  HostBytes host;
  if (size == 0) return host;
  host.copy_ = copyOf(buffer.Env(), buffer, 0, size);
  host.bytes_ = {host.copy_.get(), size};
  return host;
}

HostBytes HostBytes::ofView(const Napi::Value& view) {
  const Napi::Env env = view.Env();
  napi_value buffer = nullptr;
  std::size_t offset = 0;
  std::size_t size = 0;
  napi_status status = napi_ok;
  if (view.IsDataView()) {
    status = napi_get_dataview_info(env, view, &size, nullptr, &buffer, &offset);
  } else {
    std::size_t length = 0;
    status = napi_get_typedarray_info(env, view, nullptr, &length, nullptr, &buffer, &offset);
    size = length * view.As<Napi::TypedArray>().ElementSize();
  }
  if (status != napi_ok) throw Napi::Error::New(env);
  HostBytes host;
  if (size == 0) return host;
  host.copy_ = copyOf(env, buffer, offset, size);
  host.bytes_ = {host.copy_.get(), size};
  return host;
}

HostBlock::HostBlock(Napi::ArrayBuffer buffer)
    : buffer_(Napi::Persistent(buffer)),
      copy_(new uint8_t[buffer.ByteLength()]()),
      data_(copy_.get()),
      size_(buffer.ByteLength()) {}

napi_status HostBlock::buffer(napi_env env, napi_value* buffer) const {
  const napi_status status = napi_get_reference_value(env, buffer_, buffer);
  return status == napi_ok ? copyToHost(env, *buffer, data_, size_) : status;
}

napi_status copyToHost(napi_env env, napi_value buffer, const void* bytes, std::size_t size) {
  if (size == 0) return napi_ok;
  napi_value source = nullptr;
  napi_value target = nullptr;
  napi_status status = viewOf(env, bytes, size, &source);
  if (status == napi_ok) {
    status = napi_create_typedarray(env, napi_uint8_array, size, buffer, 0, &target);
  }
  return status == napi_ok ? setBytes(env, target, source) : status;
}

}  // namespace stiltforge
