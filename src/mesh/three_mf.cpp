#include "mesh/three_mf.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "files/zip_archive.h"
#include "mesh/limits.h"
#include "mesh/mesh_builder.h"
#include "mesh/mesh_error.h"
#include "mesh/three_mf_part.h"

namespace stiltforge::mesh {

namespace {

constexpr const char* relationshipsPart = "_rels/.rels";
constexpr const char* usualModelPart = "3D/3dmodel.model";
constexpr std::string_view modelRelationship =
    "http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel";

/// Finds the archive's root model in its list of relationships.
class RelationshipReader : public XmlParser {
 public:
  RelationshipReader() : XmlParser("the list of relationships of the 3MF archive") {}
  const std::string& modelPart() const { return modelPart_; }

 protected:
  void startElement(XmlName name, XmlAttributes attributes) override {
    if (name.local != "Relationship" || !modelPart_.empty()) return;
    const char* type = attributes.find("Type");
    const char* target = attributes.find("Target");
    if (type != nullptr && target != nullptr && type == modelRelationship) modelPart_ = target;
  }
  void endElement(XmlName) override {}
  void declareNamespace(std::string_view, std::string_view) override {}

 private:
  std::string modelPart_;
};

class ThreeMfReader {
 public:
  explicit ThreeMfReader(files::ByteSource& source)
      : source_(source), archive_(source, {"the 3MF archive", "the part", mostArchiveEntries}) {}

  Mesh read() {
    LoadedPart& root = load(rootEntry());
    if (root.part.items.empty()) {
      throw MeshError("the 3MF has nothing to print: its build is empty",
                      "Export it with the objects on the plate");
    }
    const std::vector<Part> items = countTriangles(root);
    builder_.reserve(total_);
    for (const Part& item : items) {
      builder_.beginObject(item.node->object->name);
      place(item, item.transform, item.isMirrored);
    }
    addWarnings();
    if (builder_.triangleCount() == 0) {
      throw MeshError(
          "the 3MF has no triangles to print" + (leftOut_.empty() ? "" : ", only " + leftOut_),
          "Export the model as a solid triangle mesh");
    }
    return builder_.finish();
  }

 private:
  struct LoadedPart;

  struct Node;

  /// A node that is placed: an item of the build or a component that has triangles.
  struct Part {
    Part(Node& placed, const Transform& where)
        : node(&placed), transform(where), isMirrored(where.determinant() < 0) {}

    Node* node;
    Transform transform;
    bool isMirrored;
  };

  /// An object with what is known of it once its components are counted.
  struct Node {
    enum class State : std::uint8_t { unseen, open, counted };

    ThreeMfObject* object = nullptr;
    std::uint32_t id = 0;
    LoadedPart* home = nullptr;
    State state = State::unseen;
    std::uint64_t triangles = 0;  // with those of its components
    int height = 0;               // components inside each other
    std::vector<Part> parts;
  };

  struct LoadedPart {
    ThreeMfPart part;
    bool isRoot = false;
    std::unordered_map<std::uint32_t, Node> nodes;
  };

  const files::ZipArchive::Entry& rootEntry() {
    std::string name = usualModelPart;
    if (const files::ZipArchive::Entry* list = archive_.find(relationshipsPart)) {
      if (list->unpackedSize > mostRelationshipBytes) {
        throw MeshError("the list of relationships of the 3MF archive has more than " +
                            counted(mostRelationshipBytes, "byte"),
                        copyAgain);
      }
      RelationshipReader relationships;
      archive_.unpack(*list, [&](auto bytes) { relationships.parse(bytes); });
      relationships.finish();
      if (!relationships.modelPart().empty()) name = relationships.modelPart();
    }
    if (const files::ZipArchive::Entry* entry = archive_.find(name)) return *entry;
    throw MeshError("the zip archive holds no 3D model " + inQuotes(name) + ", so it is no 3MF",
                    "Export the model as one of STL, OBJ, PLY or 3MF");
  }

  LoadedPart& load(const files::ZipArchive::Entry& entry) {
    const auto [place, isNew] = parts_.try_emplace(entry.directoryOffset);
    LoadedPart& loaded = place->second;
    if (!isNew) return loaded;
    loaded.isRoot = parts_.size() == 1;
    modelBytes_ += entry.unpackedSize;
    if (modelBytes_ > mostModelBytes) {
      throw MeshError(
          "the models of the 3MF unpack to more than " + counted(mostModelBytes, "byte"),
          "Simplify it in a modelling program");
    }
    ThreeMfPartReader reader("the part " + inQuotes(entry.name) + " of the 3MF", totals_);
    archive_.unpack(entry, [&](auto bytes) { reader.parse(bytes); });
    reader.finish();
    loaded.part = reader.takePart();
    return loaded;
  }

  LoadedPart& partOf(LoadedPart& from, const ThreeMfPlacement& placement, const std::string& what) {
    if (placement.path.empty()) return from;
    if (!from.isRoot) {
      throw MeshError(what + " names another part of the archive, which only the root model may",
                      copyAgain);
    }
    if (const files::ZipArchive::Entry* entry = archive_.find(placement.path)) return load(*entry);
    throw MeshError(
        what + " names the part " + inQuotes(placement.path) + ", which the archive does not have",
        copyAgain);
  }

  Node& nodeOf(LoadedPart& from, const ThreeMfPlacement& placement, const std::string& what) {
    LoadedPart& home = partOf(from, placement, what);
    Node& node = home.nodes[placement.object];
    if (node.object != nullptr) return node;
    const auto found = home.part.objects.find(placement.object);
    if (found == home.part.objects.end()) {
      throw MeshError(
          what + " names object " + std::to_string(placement.object) + ", which is not there",
          copyAgain);
    }
    node.object = &found->second;
    node.id = placement.object;
    node.home = &home;
    return node;
  }

  /// Before anything is expanded: a few nested components can stand for any number of triangles.
  std::vector<Part> countTriangles(LoadedPart& root) {
    std::vector<Part> parts;
    for (std::size_t i = 0; i < root.part.items.size(); ++i) {
      const ThreeMfItem& item = root.part.items[i];
      if (!item.isPrintable) {
        ++unprintable_;
        continue;
      }
      Node& node = nodeOf(root, item, "build item " + grouped(i + 1) + " of the 3MF");
      count(node, 0);
      total_ += node.triangles;
      if (total_ > mostTriangles) {
        throw MeshError("the build of the 3MF has more than " + counted(mostTriangles, "triangle") +
                            " once all its components are in place",
                        "Simplify it in a modelling program");
      }
      if (node.triangles > 0) parts.emplace_back(node, item.transform);
    }
    return parts;
  }

  void count(Node& node, int depth) {
    if (node.state == Node::State::counted) return;
    if (node.state == Node::State::open) {
      throw MeshError("object " + std::to_string(node.id) + " of the 3MF contains itself",
                      "Repair its assembly in a modelling program");
    }
    node.state = Node::State::open;
    countMesh(node);
    const std::vector<ThreeMfPlacement>& components = node.object->components;
    for (std::size_t i = 0; i < components.size(); ++i) {
      Node& inner = nodeOf(
          *node.home, components[i],
          "component " + grouped(i + 1) + " of object " + std::to_string(node.id) + " of the 3MF");
      if (depth < deepestComponent) count(inner, depth + 1);
      node.height = std::max(node.height, inner.height + 1);
      if (depth == deepestComponent || node.height > deepestComponent) {
        throw MeshError("the 3MF has components more than " + std::to_string(deepestComponent) +
                            " deep inside each other",
                        "Flatten its assemblies in a modelling program");
      }
      if (inner.triangles == 0) continue;
      node.parts.emplace_back(inner, components[i].transform);
      node.triangles = std::min<std::uint64_t>(node.triangles + inner.triangles, mostTriangles + 1);
    }
    node.state = Node::State::counted;
  }

  void countMesh(Node& node) {
    const ThreeMfObject& object = *node.object;
    if (object.hasBeams) ++beamLattices_;
    if (object.triangles.empty()) return;
    if (object.isSolid()) {
      node.triangles = object.triangles.size();
    } else {
      ++otherTypes_[object.type];
    }
  }

  void place(const Part& part, const Transform& transform, bool isMirrored) {
    source_.requireGoingOn();
    const Node& node = *part.node;
    if (node.object->isSolid()) placeMesh(*node.object, transform, isMirrored);
    for (const Part& inner : node.parts) {
      place(inner, inner.transform.then(transform), inner.isMirrored != isMirrored);
    }
  }

  void placeMesh(const ThreeMfObject& object, const Transform& transform, bool isMirrored) {
    const auto place = [&](const Corner& vertex) {
      const Corner moved = transform.apply(vertex);
      if (!std::isfinite(moved.x) || !std::isfinite(moved.y) || !std::isfinite(moved.z)) {
        throw MeshError("a transform of the 3MF leads beyond the range of coordinates", copyAgain);
      }
      return moved;
    };
    for (const auto& [a, b, c] : object.triangles) {
      // A mirror turns fronts into backs; the other way round they are fronts again.
      builder_.add(place(object.vertices[a]), place(object.vertices[isMirrored ? c : b]),
                   place(object.vertices[isMirrored ? b : c]));
    }
  }

  void addWarnings() {
    for (const auto& [type, count] : otherTypes_) {
      leftOut_ += (leftOut_.empty() ? "" : " and ") + counted(count, "object") + " of type " +
                  inQuotes(type);
    }
    if (!leftOut_.empty()) {
      builder_.warn("Left out of the 3MF: " + leftOut_ +
                    " (only \"model\" and \"solidsupport\" are solid).");
    }
    if (unprintable_ > 0) {
      builder_.warn("Left out of the 3MF: " + counted(unprintable_, "build item") +
                    " marked as not printable.");
    }
    if (beamLattices_ > 0) {
      builder_.warn("Left out of the 3MF: " + counted(beamLattices_, "beam lattice") +
                    " (only triangles are read).");
    }
  }

  files::ByteSource& source_;
  files::ZipArchive archive_;
  ThreeMfTotals totals_;
  std::map<std::uint64_t, LoadedPart> parts_;  // by the place of their entry in the archive
  std::uint64_t modelBytes_ = 0;
  std::uint64_t total_ = 0;
  MeshBuilder builder_{Format::threeMf};
  std::map<std::string, std::size_t> otherTypes_;  // of objects that are not solid, how many
  std::size_t unprintable_ = 0;
  std::size_t beamLattices_ = 0;
  std::string leftOut_;
};

}  // namespace

Mesh readThreeMf(files::ByteSource& source) {
  return ThreeMfReader(source).read();
}

}  // namespace stiltforge::mesh
