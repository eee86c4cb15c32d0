// Damaged STL files, binary and text.

#include <cstdint>

#include "mesh_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  checkMeshFile(asText(data, size), "mesh.stl");
  return 0;
}
