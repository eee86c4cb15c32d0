#include "mesh/obj.h"

#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "mesh/face.h"
#include "mesh/limits.h"
#include "mesh/mesh_builder.h"
#include "mesh/mesh_error.h"
#include "mesh/number.h"
#include "mesh/polygon.h"
#include "mesh/text_scanner.h"

namespace stiltforge::mesh {

namespace {

constexpr std::size_t longestName = 100;

class ObjReader {
 public:
  ObjReader(files::ByteSource& source, std::uint64_t offset)
      : text_(source, {.joinsLines = true, .comment = '#'}, offset) {}

  Mesh read() {
    for (std::string_view word = text_.word(); !word.empty(); word = text_.word()) {
      if (word == "v") {
        readVertex();
      } else if (word == "f") {
        readFace();
      } else if (word == "o") {
        builder_.beginObject(text_.restOfLine(longestName));
        continue;
      } else if (word == "surf" || word == "curv") {
        hasFreeForms_ = true;
      }
      text_.skipLine();
    }
    if (hasFreeForms_) {
      builder_.warn(
          "The free-form curves and surfaces of the OBJ are left out: only its faces are read.");
    }
    if (builder_.triangleCount() == 0 && !vertices_.empty()) {
      throw MeshError("the OBJ has " + counted(vertices_.size(), "point") + " but no faces",
                      "Export the model as a triangle mesh");
    }
    return builder_.finish();
  }

 private:
  std::string here() const { return "line " + grouped(text_.line()); }

  void readVertex() {
    Corner vertex;
    for (float* value : {&vertex.x, &vertex.y, &vertex.z}) {
      const std::string_view word = text_.wordOfLine();
      const auto number = toFloat(word);
      if (!number) {
        throw MeshError(here() + " has a vertex without three numbers" +
                            (word.empty() ? "" : ": " + inQuotes(word) + " is none"),
                        copyAgain);
      }
      if (!std::isfinite(*number)) {
        throw MeshError(
            here() + " has the coordinate " + inQuotes(word) + ", which is not a finite number",
            repair);
      }
      *value = *number;
    }
    if (vertices_.size() == mostVertices) {
      throw MeshError("the OBJ has more than " + grouped(mostVertices) + " vertices",
                      "Simplify it in a modelling program");
    }
    vertices_.push_back(vertex);
  }

  void readFace() {
    face_.clear();
    const std::uint64_t line = text_.line();
    for (std::string_view word = text_.wordOfLine(); !word.empty(); word = text_.wordOfLine()) {
      if (face_.size() == mostCorners) {
        throw MeshError("the face in line " + grouped(line) + " has more than " +
                            counted(mostCorners, "corner"),
                        "Export the OBJ as triangles");
      }
      face_.push_back(cornerNamed(word));
    }
    addFace(builder_, cutter_, face_, [line] { return "the face in line " + grouped(line); });
  }

  /// A corner is written as vertex, vertex/texture, vertex//normal or vertex/texture/normal.
  /// Vertices count from 1, or backwards from -1, the last one so far.
  const Corner& cornerNamed(std::string_view word) const {
    const auto number = toInteger(word.substr(0, word.find('/')));
    if (!number) {
      throw MeshError(here() + " has a face with corner " + inQuotes(word) + ", which is no number",
                      copyAgain);
    }
    if (*number == 0) {
      throw MeshError(here() + " has a face with corner " + inQuotes(word) +
                          ", but an OBJ counts its vertices from 1",
                      "Export it again");
    }
    const auto count = static_cast<std::int64_t>(vertices_.size());
    const std::int64_t index = *number < 0 ? count + *number : *number - 1;
    if (index < 0 || index >= count) {
      throw MeshError(here() + " has a face with corner " + inQuotes(word) + ", but " +
                          grouped(vertices_.size()) +
                          (count == 1 ? " vertex precedes it" : " vertices precede it"),
                      copyAgain);
    }
    return vertices_[static_cast<std::size_t>(index)];
  }

  TextScanner text_;
  MeshBuilder builder_{Format::obj};
  std::vector<Corner> vertices_;
  std::vector<Corner> face_;
  PolygonCutter cutter_;
  bool hasFreeForms_ = false;
};

}  // namespace

Mesh readObj(files::ByteSource& source, std::uint64_t offset) {
  return ObjReader(source, offset).read();
}

}  // namespace stiltforge::mesh
