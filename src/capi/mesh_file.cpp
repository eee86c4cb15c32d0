#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <system_error>
#include <utility>

#include "capi/boundary.h"
#include "capi/cancel_token.h"
#include "capi/handles.h"
#ifdef STILTFORGE_MESH_READERS
#include "mesh/mesh_error.h"
#include "mesh/read_mesh.h"
#endif

namespace capi = stiltforge::capi;

namespace {

#ifdef STILTFORGE_MESH_READERS

// `reader` gives a mesh.
template <typename Reader>
std::unique_ptr<stiltforge_mesh> read(Reader&& reader) {
  try {
    stiltforge::mesh::Mesh mesh = std::forward<Reader>(reader)();
    auto created = std::make_unique<stiltforge_mesh>();
    created->positions = std::move(mesh.positions);
    created->warnings = std::move(mesh.warnings);
    return created;
  } catch (const stiltforge::mesh::MeshError& failure) {
    throw capi::Refusal(STILTFORGE_UNUSABLE_MESH, failure.what());
  } catch (const stiltforge::mesh::Cancelled&) {
    throw capi::Refusal(STILTFORGE_CANCELLED, "cancelled by its token");
  }
}

std::filesystem::path pathOf(const char* utf8, const char* name) {
  try {
    return std::u8string(utf8, utf8 + std::char_traits<char>::length(utf8));
  } catch (const std::system_error&) {
    throw capi::InvalidArgument(std::string(name) + " is not UTF-8");
  }
}

std::unique_ptr<stiltforge_mesh> readFile(const char* path, const stiltforge_cancel_token* cancel) {
  return read(
      [&] { return stiltforge::mesh::readMeshFile(pathOf(path, "path"), capi::flagOf(cancel)); });
}

std::unique_ptr<stiltforge_mesh> readMemory(std::span<const char> bytes, const char* name,
                                            const stiltforge_cancel_token* cancel) {
  return read([&] {
    return stiltforge::mesh::readMesh(bytes, pathOf(name ? name : "", "name"),
                                      capi::flagOf(cancel));
  });
}

#else

[[noreturn]] std::unique_ptr<stiltforge_mesh> refuse() {
  throw capi::Refusal(STILTFORGE_UNSUPPORTED,
                      "this library was built without readers of mesh files; configure it with "
                      "-DSTILTFORGE_MESH=ON, or use stiltforge_mesh_create()");
}

std::unique_ptr<stiltforge_mesh> readFile(const char*, const stiltforge_cancel_token*) {
  return refuse();
}

std::unique_ptr<stiltforge_mesh> readMemory(std::span<const char>, const char*,
                                            const stiltforge_cancel_token*) {
  return refuse();
}

#endif

}  // namespace

stiltforge_status stiltforge_mesh_read_file(const char* path, stiltforge_cancel_token* cancel,
                                            stiltforge_mesh** mesh, stiltforge_error* error) {
  return capi::guardedCreation(__func__, mesh, "mesh", error, [&] {
    capi::requireArgument(path, "path");
    return readFile(path, cancel);
  });
}

stiltforge_status stiltforge_mesh_read_memory(const void* bytes, size_t size, const char* name,
                                              stiltforge_cancel_token* cancel,
                                              stiltforge_mesh** mesh, stiltforge_error* error) {
  return capi::guardedCreation(__func__, mesh, "mesh", error, [&] {
    if (size > 0) capi::requireArgument(bytes, "bytes");
    return readMemory({static_cast<const char*>(bytes), size}, name, cancel);
  });
}
