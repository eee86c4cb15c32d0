#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "mesh/mesh_error.h"
#include "mesh/transform.h"
#include "mesh/xml_parser.h"

namespace stiltforge::mesh {

/// An object put somewhere: a component of another object, or an item of the build.
struct ThreeMfPlacement {
  std::uint32_t object = 0;  ///< its id
  std::string path;          ///< of the model part that holds it; empty: the same one
  Transform transform;
};

struct ThreeMfItem : ThreeMfPlacement {
  bool isPrintable = true;
};

struct ThreeMfObject {
  std::string name;
  std::string type = "model";
  std::vector<Corner> vertices;  ///< mm
  std::vector<std::array<std::uint32_t, 3>> triangles;
  std::vector<ThreeMfPlacement> components;
  bool hasBeams = false;

  /// Printed as a filled body; other kinds of object are thin or no part of the print.
  bool isSolid() const { return type == "model" || type == "solidsupport"; }
};

/// One model of a 3MF archive.
struct ThreeMfPart {
  std::unordered_map<std::uint32_t, ThreeMfObject> objects;  ///< by id
  std::vector<ThreeMfItem> items;
};

/// What has been read of an archive so far, over all its models: the limits count for all together.
struct ThreeMfTotals {
  std::size_t vertices = 0;
  std::size_t triangles = 0;
  std::size_t parts = 0;  ///< objects, components and items
};

/// Reads the XML of one model. The core of 3MF, version 1.3, with the paths of its production
/// extension.
class ThreeMfPartReader : public XmlParser {
 public:
  /// subject: see XmlParser.
  ThreeMfPartReader(std::string subject, ThreeMfTotals& totals);

  /// To be asked for after finish().
  ThreeMfPart takePart() { return std::move(part_); }

 protected:
  void startElement(XmlName name, XmlAttributes attributes) override;
  void endElement(XmlName name) override;
  void declareNamespace(std::string_view prefix, std::string_view space) override;

 private:
  enum class Element : std::uint8_t {
    document,
    model,
    resources,
    object,
    mesh,
    vertices,
    vertex,
    triangles,
    triangle,
    components,
    component,
    build,
    item
  };
  struct Known;
  static const std::array<Known, 12> known;

  void enter(Element element, XmlAttributes attributes);
  void beginModel(XmlAttributes attributes);
  void requireExtensions(std::string_view prefixes) const;
  void beginObject(XmlAttributes attributes);
  void addVertex(XmlAttributes attributes);
  void addTriangle(XmlAttributes attributes);
  void checkTriangles() const;
  void addItem(XmlAttributes attributes);
  ThreeMfPlacement placement(XmlAttributes attributes, const std::string& what) const;
  std::uint32_t id(const char* text, const std::string& what) const;
  void countPart();
  MeshError error(const std::string& problem) const;

  ThreeMfTotals& totals_;
  ThreeMfPart part_;
  std::unordered_map<std::string, std::string> namespaces_;  // by prefix
  std::string coreSpace_;
  double millimetres_ = 1;
  std::vector<Element> open_{Element::document};
  int passedOver_ = 0;  // elements around this one that are not known
  ThreeMfObject* object_ = nullptr;
  std::uint32_t objectId_ = 0;
};

}  // namespace stiltforge::mesh
