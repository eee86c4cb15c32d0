#include "mesh/ply.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "mesh/face.h"
#include "mesh/limits.h"
#include "mesh/mesh_builder.h"
#include "mesh/mesh_error.h"
#include "mesh/ply_header.h"
#include "mesh/ply_values.h"

namespace stiltforge::mesh {

namespace {

bool isCornerList(const PlyProperty& property) {
  return property.name == "vertex_indices" || property.name == "vertex_index";
}

template <typename Values>
class PlyReader {
 public:
  PlyReader(files::ByteSource& source, const PlyHeader& header)
      : header_(header), values_(source, header) {}

  Mesh read() {
    requireFaces();
    for (const PlyElement& element : header_.elements) {
      if (element.name == "vertex") {
        readVertices(element);
      } else if (element.name == "face") {
        readFaces(element);
      } else {
        passOver(element);
      }
    }
    return builder_.finish();
  }

 private:
  bool isText() const { return header_.encoding == PlyHeader::Encoding::text; }

  void requireFaces() const {
    std::uint64_t vertices = 0;
    std::uint64_t faces = 0;
    bool hasStrips = false;
    for (const PlyElement& element : header_.elements) {
      if (element.name == "vertex") vertices += element.count;
      if (element.name == "face") faces += element.count;
      if (element.name == "tristrips") hasStrips = true;
    }
    if (faces > 0) return;
    if (hasStrips) {
      throw MeshError("the PLY holds its surface as triangle strips, which are not read",
                      "Export it with faces");
    }
    throw MeshError("the PLY is a point cloud: " + grouped(vertices) + " vertices and no faces",
                    "Points enclose no solid; export the model as a triangle mesh");
  }

  void readVertices(const PlyElement& element) {
    std::vector<float Corner::*> coordinates(element.properties.size(), nullptr);
    const std::array<std::pair<const char*, float Corner::*>, 3> axes{
        {{"x", &Corner::x}, {"y", &Corner::y}, {"z", &Corner::z}}};
    for (const auto& [name, coordinate] : axes) {
      const auto place = element.find(name);
      if (!place || element.properties[*place].countType) {
        throw MeshError(std::string("the vertices of the PLY have no ") + name, copyAgain);
      }
      coordinates[*place] = coordinate;
    }
    requireRoom(element);
    if (element.count > mostVertices - vertices_.size()) {
      throw MeshError("the PLY has more than " + grouped(mostVertices) + " vertices",
                      "Simplify it in a modelling program");
    }
    vertices_.reserve(vertices_.size() + element.count);
    for (std::uint64_t i = 0; i < element.count; ++i) {
      Corner vertex;
      for (std::size_t p = 0; p < coordinates.size(); ++p) {
        const PlyProperty& property = element.properties[p];
        if (coordinates[p] == nullptr) {
          passOver(property, element, i);
          continue;
        }
        float& value = vertex.*coordinates[p];
        if (!values_.coordinate(property.type, value)) throw endsIn(element, i);
        if (std::isfinite(value)) continue;
        throw MeshError(values_.place() + property.name + " of vertex " + grouped(i) +
                            " (counted from 0) is not a finite number",
                        repair);
      }
      vertices_.push_back(vertex);
    }
  }

  void readFaces(const PlyElement& element) {
    std::size_t list = element.properties.size();
    for (std::size_t p = 0; p < element.properties.size(); ++p) {
      const PlyProperty& property = element.properties[p];
      const bool isWhole = property.type != PlyType::float32 && property.type != PlyType::float64;
      if (isCornerList(property) && property.countType && isWhole) list = p;
    }
    if (list == element.properties.size()) {
      throw MeshError("the faces of the PLY have no list \"vertex_indices\"", copyAgain);
    }
    requireRoom(element);
    const PlyProperty& corners = element.properties[list];
    const std::uint64_t bytesOfTriangle =
        isText() ? 8 : sizeOf(*corners.countType) + 3 * sizeOf(corners.type);
    builder_.reserve(builder_.triangleCount() +
                     std::min(element.count, values_.bytesLeft() / bytesOfTriangle));
    for (std::uint64_t i = 0; i < element.count; ++i) {
      for (std::size_t p = 0; p < element.properties.size(); ++p) {
        if (p == list) {
          readFace(element, element.properties[p], i);
        } else {
          passOver(element.properties[p], element, i);
        }
      }
    }
  }

  void readFace(const PlyElement& element, const PlyProperty& property, std::uint64_t face) {
    std::int64_t corners = 0;
    if (!values_.integer(*property.countType, corners)) throw endsIn(element, face);
    if (corners > static_cast<std::int64_t>(mostCorners)) {
      throw MeshError(nameOfFace(face) + " has " + grouped(static_cast<std::uint64_t>(corners)) +
                          " corners; the limit is " + grouped(mostCorners),
                      copyAgain);
    }
    face_.clear();
    for (std::int64_t i = 0; i < corners; ++i) {
      std::int64_t index = 0;
      if (!values_.integer(property.type, index)) throw endsIn(element, face);
      if (index < 0 || index >= static_cast<std::int64_t>(vertices_.size())) {
        throw MeshError(nameOfFace(face) + " names vertex " + std::to_string(index) + ", but " +
                            grouped(vertices_.size()) + " vertices, counted from 0, precede it",
                        copyAgain);
      }
      face_.push_back(vertices_[static_cast<std::size_t>(index)]);
    }
    addFace(builder_, cutter_, face_, [&] { return nameOfFace(face); });
  }

  std::string nameOfFace(std::uint64_t face) const {
    return values_.place() + "face " + grouped(face);
  }

  void passOver(const PlyElement& element) {
    // Nothing to read would never reach the end of the file.
    if (element.properties.empty()) return;
    requireRoom(element);
    for (std::uint64_t i = 0; i < element.count; ++i) {
      for (const PlyProperty& property : element.properties) passOver(property, element, i);
    }
  }

  void passOver(const PlyProperty& property, const PlyElement& element, std::uint64_t number) {
    std::int64_t values = 1;
    if (property.countType && !values_.integer(*property.countType, values)) {
      throw endsIn(element, number);
    }
    if (values > 0 && !values_.skip(property.type, static_cast<std::uint64_t>(values))) {
      throw endsIn(element, number);
    }
  }

  /// Before memory is taken for what a damaged header announces.
  void requireRoom(const PlyElement& element) const {
    const std::uint64_t each = element.leastBytes(isText());
    const std::uint64_t room = values_.bytesLeft() / each;
    if (element.count <= room) return;
    throw MeshError("the PLY is cut off: its header announces " + grouped(element.count) +
                        " of the element " + inQuotes(element.name) + ", the file has room for " +
                        grouped(room),
                    copyAgain);
  }

  MeshError endsIn(const PlyElement& element, std::uint64_t number) const {
    const bool isOurs = element.name == "vertex" || element.name == "face";
    const std::string name = isOurs ? element.name : inQuotes(element.name);
    return {"the PLY ends in " + name + " " + grouped(number) + " of the " +
                grouped(element.count) + " that its header announces",
            copyAgain};
  }

  const PlyHeader& header_;
  Values values_;
  MeshBuilder builder_{Format::ply};
  std::vector<Corner> vertices_;
  std::vector<Corner> face_;
  PolygonCutter cutter_;
};

}  // namespace

Mesh readPly(files::ByteSource& source) {
  const PlyHeader header = readPlyHeader(source);
  if (header.encoding == PlyHeader::Encoding::text)
    return PlyReader<PlyText>(source, header).read();
  return PlyReader<PlyBinary>(source, header).read();
}

}  // namespace stiltforge::mesh
