#include "node_api/host_memory.h"

#include <cstring>

#include "runtime/huge_pages.h"

namespace stiltforge {

HostBytes HostBytes::ofBuffer(const Napi::ArrayBuffer& buffer) {
  void* data = nullptr;
  std::size_t size = 0;
  if (napi_get_arraybuffer_info(buffer.Env(), buffer, &data, &size) != napi_ok) {
    throw Napi::Error::New(buffer.Env());
  }
  HostBytes host;
  host.bytes_ = {static_cast<const uint8_t*>(data), size};
  return host;
}

HostBytes HostBytes::ofView(const Napi::Value& view) {
  const Napi::Env env = view.Env();
  void* data = nullptr;
  std::size_t size = 0;
  napi_status status = napi_ok;
  if (view.IsDataView()) {
    status = napi_get_dataview_info(env, view, &size, &data, nullptr, nullptr);
  } else {
    std::size_t length = 0;
    status = napi_get_typedarray_info(env, view, nullptr, &length, &data, nullptr, nullptr);
    size = length * view.As<Napi::TypedArray>().ElementSize();
  }
  if (status != napi_ok) throw Napi::Error::New(env);
  HostBytes host;
  host.bytes_ = {static_cast<const uint8_t*>(data), size};
  return host;
}

HostBlock::HostBlock(Napi::ArrayBuffer buffer)
    : buffer_(Napi::Persistent(buffer)),
      data_(static_cast<uint8_t*>(buffer.Data())),
      size_(buffer.ByteLength()) {
  preferHugePages(data_, size_);
}

napi_status HostBlock::buffer(napi_env env, napi_value* buffer) const {
  return napi_get_reference_value(env, buffer_, buffer);
}

napi_status copyToHost(napi_env env, napi_value buffer, const void* bytes, std::size_t size) {
  void* data = nullptr;
  const napi_status status = napi_get_arraybuffer_info(env, buffer, &data, nullptr);
  if (status == napi_ok && size > 0) std::memcpy(data, bytes, size);
  return status;
}

}  // namespace stiltforge
