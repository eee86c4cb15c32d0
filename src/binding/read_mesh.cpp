#include "binding/read_mesh.h"

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "binding/array_buffer.h"
#include "binding/cancelled.h"
#include "binding/host_file.h"
#include "binding/job.h"
#include "binding/options.h"
#include "binding/rejection.h"
#include "mesh/mesh_error.h"
#include "mesh/read_mesh.h"
#include "node_api/host_memory.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"

namespace stiltforge::binding {

namespace {

class ReadMeshJob : public Job {
 public:
  ReadMeshJob(Napi::Env env, HostFile file, Cancelled cancelled)
      : Job(env),
        file_(std::move(file)),
        cancelled_(std::move(cancelled)),
        prefix_(file_.prefix()),
        withoutMemory_(prefix_ +
                       "There is not enough memory to read the mesh. Simplify it first.") {}

 protected:
  void work() override {
    const std::filesystem::path path = file_.path();
    try {
      mesh_ = file_.isPath ? mesh::readMeshFile(path, cancelled_.get())
                           : mesh::readMesh(file_.bytes, path, cancelled_.get());
    } catch (const mesh::MeshError& error) {
      throw JobRefusal(codes::mesh, prefix_ + error.what());
    } catch (const mesh::Cancelled& error) {
      throw JobRefusal("ABORT_ERR", prefix_ + error.what());
    }
    file_.bytes = {};
  }

  napi_status result(napi_env env, napi_value* value) override {
    const std::size_t bytes = mesh_.positions.size() * sizeof(float);
    napi_value buffer = nullptr;
    ValueMaker make(env);
    make.check(newArrayBuffer(env, bytes, &buffer));
    napi_value positions = nullptr;
    if (make.status() == napi_ok) {
      make.check(copyToHost(env, buffer, mesh_.positions.data(), bytes));
    }
    if (make.status() != napi_ok) return make.status();
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

  HostFile file_;
  const Cancelled cancelled_;
  const std::string prefix_;  // of every sentence
  const std::string withoutMemory_;
  mesh::Mesh mesh_;
};

}  // namespace

Napi::Value readMesh(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    const Options options = Options::optional(info, {"name", "signal"});
    Cancelled cancelled = cancelledBy(env, options.get("signal"));
    const Napi::Value name = options.get("name");
    // Last, so that no getter can take the memory away between the check and the copy.
    HostFile file = readHostFile(info[0], name, "The mesh", codes::mesh);
    return Job::startAtOnce(
        std::make_unique<ReadMeshJob>(env, std::move(file), std::move(cancelled)));
  });
}

}  // namespace stiltforge::binding
