#include "binding/host_file.h"

#include <new>
#include <span>

#include "node_api/host_memory.h"
#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

bool isView(const Napi::Value& value) {
  return value.IsTypedArray() || value.IsDataView();
}

std::vector<char> copyOf(const Napi::Value& value) {
  try {
    const HostBytes host = isView(value) ? HostBytes::ofView(value)
                                         : HostBytes::ofBuffer(value.As<Napi::ArrayBuffer>());
    const std::span<const char> bytes = host.as<char>();
    return {bytes.begin(), bytes.end()};
  } catch (const std::bad_alloc&) {
    throw refusal(
        value.Env(), codes::memory,
        "There is not enough memory for a copy of the file. Free memory, or give its path "
        "where there are files.");
  }
}

std::string nameOf(const Napi::Value& name) {
  if (name.IsUndefined()) return {};
  if (name.IsString()) return name.As<Napi::String>().Utf8Value();
  throw Napi::TypeError::New(name.Env(), "The option \"name\" must be a string.");
}

}  // namespace

HostFile readHostFile(const Napi::Value& source, const Napi::Value& name, const std::string& what,
                      const char* code) {
  HostFile file;
  if (source.IsString()) {
    file.name = source.As<Napi::String>().Utf8Value();
    file.isPath = true;
    // The operating system would open what is before it.
    if (file.name.find('\0') != std::string::npos) {
      throw refusal(source.Env(), code, "The path holds a character 0. Check the path.");
    }
    return file;
  }
  if (!isView(source) && !source.IsArrayBuffer()) {
    throw Napi::TypeError::New(source.Env(),
                               what +
                                   " must be a path or the bytes of a file: a string, a typed "
                                   "array, a DataView or an ArrayBuffer.");
  }
  file.name = nameOf(name);
  file.bytes = copyOf(source);
  return file;
}

}  // namespace stiltforge::binding
