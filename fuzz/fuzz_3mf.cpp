// Damaged 3MF files: as they are, or, when they begin with "x", as the XML of the root model and,
// behind a zero, of a second model, packed into an archive whose checksums are right.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "mesh/mesh_files.h"
#include "mesh_check.h"

using stiltforge::mesh::ZipEntry;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const char> bytes = asText(data, size);
  if (size == 0 || bytes[0] != 'x') {
    checkMeshFile(bytes, "mesh.3mf");
    return 0;
  }
  const std::string_view models(bytes.data() + 1, size - 1);
  const std::size_t end = std::min(models.find('\0'), models.size());
  ZipEntry root("3D/3dmodel.model", std::string(models.substr(0, end)));
  ZipEntry part("3D/a.model", std::string(models.substr(std::min(end + 1, models.size()))));
  root.isDeflated = false;
  part.isDeflated = false;
  checkMeshFile(stiltforge::mesh::zipArchive({root, part}), "mesh.3mf");
  return 0;
}
