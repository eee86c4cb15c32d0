#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "mesh/little_endian.h"
#include "mesh/mesh_builder.h"
#include "mesh/mesh_error.h"
#include "mesh/stl.h"

namespace stiltforge::mesh {

namespace {

constexpr std::size_t headerBytes = 84;
constexpr std::size_t countOffset = 80;
constexpr std::size_t triangleBytes = 50;
constexpr std::size_t normalBytes = 12;

std::uint32_t announcedTriangles(files::ByteSource& source) {
  std::array<char, 4> bytes{};
  source.read(countOffset, bytes);
  return littleEndian32(bytes.data());
}

Corner cornerAt(const char* bytes, std::uint64_t triangle) {
  Corner corner;
  for (float* value : {&corner.x, &corner.y, &corner.z}) {
    const std::uint32_t bits = littleEndian32(bytes);
    std::memcpy(value, &bits, sizeof bits);
    bytes += sizeof bits;
    if (std::isfinite(*value)) continue;
    throw MeshError("triangle " + grouped(triangle) +
                        " (counted from 0) has a coordinate that is not a finite number",
                    repair);
  }
  return corner;
}

}  // namespace

bool hasBinaryStlLength(files::ByteSource& source) {
  if (source.size() < headerBytes) return false;
  const std::uint32_t announced = announcedTriangles(source);
  return announced == 0 ? source.size() == headerBytes
                        : (source.size() - headerBytes) / triangleBytes == announced;
}

Mesh readBinaryStl(files::ByteSource& source) {
  if (source.size() < headerBytes) {
    throw MeshError("the file has " + counted(source.size(), "byte") +
                        ", a binary STL has at least " + std::to_string(headerBytes),
                    "It is cut off or not a mesh; copy or export it again");
  }
  const std::uint32_t announced = announcedTriangles(source);
  const std::uint64_t present = (source.size() - headerBytes) / triangleBytes;
  if (present != announced) {
    throw MeshError(std::string("the binary STL ") +
                        (present < announced ? "is cut off" : "has more data than it announces") +
                        ": its header announces " + counted(announced, "triangle") + ", its " +
                        counted(source.size(), "byte") + " hold " + grouped(present),
                    "Copy or export it again");
  }

  MeshBuilder builder(Format::binaryStl);
  builder.reserve(announced);
  constexpr std::size_t trianglesAtOnce = 4096;
  std::vector<char> piece(trianglesAtOnce * triangleBytes);
  for (std::uint64_t first = 0; first < announced; first += trianglesAtOnce) {
    const std::size_t count = std::min<std::uint64_t>(trianglesAtOnce, announced - first);
    const std::span<char> wanted(piece.data(), count * triangleBytes);
    if (source.read(headerBytes + first * triangleBytes, wanted) < wanted.size()) {
      throw MeshError("the binary STL was made shorter while it was read", "Read it again");
    }
    for (std::size_t i = 0; i < count; ++i) {
      const char* corners = piece.data() + i * triangleBytes + normalBytes;
      builder.add(cornerAt(corners, first + i), cornerAt(corners + 12, first + i),
                  cornerAt(corners + 24, first + i));
    }
  }
  const std::uint64_t rest = source.size() - headerBytes - triangleBytes * present;
  if (rest > 0) {
    builder.warn(counted(rest, "byte") + " after the last triangle of the binary STL " +
                 (rest == 1 ? "is" : "are") + " left out.");
  }
  return builder.finish();
}

}  // namespace stiltforge::mesh
