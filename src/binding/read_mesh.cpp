#include "binding/read_mesh.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "binding/array_buffer.h"
#include "binding/cancelled.h"
#include "binding/job.h"
#include "binding/rejection.h"
#include "mesh/mesh_error.h"
#include "mesh/read_mesh.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"

namespace stiltforge::binding {

namespace {

struct Source {
  std::string name;         ///< as the host gave it, UTF-8
  bool isFile = false;      ///< the name is a path
  std::vector<char> bytes;  ///< of what is no file
};

std::filesystem::path pathOf(const std::string& name) {
  return {std::u8string(name.begin(), name.end())};
}

class ReadMeshJob : public Job {
 public:
  ReadMeshJob(Napi::Env env, Source source, Cancelled cancelled)
      : Job(env),
        source_(std::move(source)),
        cancelled_(std::move(cancelled)),
        prefix_(source_.name.empty() ? "" : source_.name + ": "),
        withoutMemory_(prefix_ +
                       "There is not enough memory to read the mesh. Simplify it first.") {}

 protected:
  void work() override {
    const std::filesystem::path path = pathOf(source_.name);
    try {
      mesh_ = source_.isFile ? mesh::readMeshFile(path, cancelled_.get())
                             : mesh::readMesh(source_.bytes, path, cancelled_.get());
    } catch (const mesh::MeshError& error) {
      throw JobRefusal(codes::mesh, prefix_ + error.what());
    } catch (const mesh::Cancelled& error) {
      throw JobRefusal("ABORT_ERR", prefix_ + error.what());
    }
    source_.bytes = {};
  }

  napi_status result(napi_env env, napi_value* value) override {
    const std::size_t bytes = mesh_.positions.size() * sizeof(float);
    napi_value buffer = nullptr;
    ValueMaker make(env);
    make.check(newArrayBuffer(env, bytes, &buffer));
    void* data = nullptr;
    napi_value positions = nullptr;
    if (make.status() == napi_ok) {
      make.check(napi_get_arraybuffer_info(env, buffer, &data, nullptr));
    }
    if (make.status() != napi_ok) return make.status();
    std::memcpy(data, mesh_.positions.data(), bytes);
    make.check(napi_create_typedarray(env, napi_float32_array, mesh_.positions.size(), buffer, 0,
                                      &positions));
    mesh_.positions = {};

    *value = make.object();
    make.set(*value, make.string("positions"), positions);
    make.set(*value, make.string("format"), make.string(nameOf(mesh_.format)));
    make.set(*value, make.string("objects"), objects(make));
    make.set(*value, make.string("warnings"), warnings(make));
    return make.status();
  }

  const char* withoutMemory() const override { return withoutMemory_.c_str(); }

 private:
  napi_value objects(ValueMaker& make) const {
    napi_value list = make.array(mesh_.objects.size());
    napi_value name = make.string("name");
    napi_value triangles = make.string("triangles");
    for (std::size_t i = 0; i < mesh_.objects.size(); ++i) {
      const ValueScope scope(make);
      napi_value object = make.object();
      make.set(object, name, make.string(mesh_.objects[i].name));
      make.set(object, triangles, make.number(static_cast<double>(mesh_.objects[i].triangles)));
      make.set(list, static_cast<uint32_t>(i), object);
    }
    return list;
  }

  napi_value warnings(ValueMaker& make) const {
    napi_value list = make.array(mesh_.warnings.size());
    for (std::size_t i = 0; i < mesh_.warnings.size(); ++i) {
      make.set(list, static_cast<uint32_t>(i), make.string(mesh_.warnings[i]));
    }
    return list;
  }

  Source source_;
  const Cancelled cancelled_;
  const std::string prefix_;  // of every sentence
  const std::string withoutMemory_;
  mesh::Mesh mesh_;
};

std::vector<char> copyOf(Napi::Env env, const void* data, std::size_t size) {
  try {
    const auto* bytes = static_cast<const char*>(data);
    return size == 0 ? std::vector<char>() : std::vector<char>(bytes, bytes + size);
  } catch (const std::bad_alloc&) {
    throw refusal(env, codes::memory,
                  "There is not enough memory for a copy of the file (" + std::to_string(size) +
                      " bytes). Give its path instead.");
  }
}

/// Bytes are copied: nothing that the host does with them later has an effect.
std::vector<char> bytesOf(Napi::Env env, const Napi::Value& value) {
  if (value.IsArrayBuffer()) {
    auto buffer = value.As<Napi::ArrayBuffer>();
    return copyOf(env, buffer.Data(), buffer.ByteLength());
  }
  void* data = nullptr;
  std::size_t size = 0;
  napi_status status = napi_generic_failure;
  if (value.IsTypedArray()) {
    const auto view = value.As<Napi::TypedArray>();
    std::size_t length = 0;
    status = napi_get_typedarray_info(env, view, nullptr, &length, &data, nullptr, nullptr);
    size = length * view.ElementSize();
  } else if (value.IsDataView()) {
    status = napi_get_dataview_info(env, value, &size, &data, nullptr, nullptr);
  }
  if (status != napi_ok) {
    throw Napi::TypeError::New(env,
                               "The mesh must be a path or the bytes of a file: a string, a "
                               "typed array, a DataView or an ArrayBuffer.");
  }
  return copyOf(env, data, size);
}

Source sourceOf(const Napi::CallbackInfo& info, const Napi::Object& options) {
  const Napi::Env env = info.Env();
  Source source;
  if (info[0].IsString()) {
    source.name = info[0].As<Napi::String>().Utf8Value();
    source.isFile = true;
    // The operating system would open what is before it.
    if (source.name.find('\0') != std::string::npos) {
      throw refusal(env, codes::mesh, "The path holds a character 0. Check the path.");
    }
    return source;
  }
  const Napi::Value name = options.Get("name");
  if (name.IsString()) {
    source.name = name.As<Napi::String>().Utf8Value();
  } else if (!name.IsUndefined()) {
    throw Napi::TypeError::New(env, "The option \"name\" must be a string.");
  }
  // Last, so that no getter can take the memory away between the check and the copy.
  source.bytes = bytesOf(env, info[0]);
  return source;
}

}  // namespace

Napi::Value readMesh(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    if (!info[1].IsUndefined() && !info[1].IsObject()) {
      throw Napi::TypeError::New(env, "The second argument must be an object with options.");
    }
    const Napi::Object options =
        info[1].IsUndefined() ? Napi::Object::New(env) : info[1].As<Napi::Object>();
    Cancelled cancelled = cancelledBy(env, options.Get("signal"));
    return Job::startAtOnce(
        std::make_unique<ReadMeshJob>(env, sourceOf(info, options), std::move(cancelled)));
  });
}

}  // namespace stiltforge::binding
