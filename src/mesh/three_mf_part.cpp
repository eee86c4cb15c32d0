#include "mesh/three_mf_part.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "mesh/limits.h"
#include "mesh/mesh_builder.h"
#include "mesh/number.h"

namespace stiltforge::mesh {

namespace {

constexpr std::string_view productionSpace =
    "http://schemas.microsoft.com/3dmanufacturing/production/2015/06";

/// Extensions that leave the shape of a model as it is, or are read.
constexpr std::array<std::string_view, 3> knownExtensions{
    productionSpace,
    "http://schemas.microsoft.com/3dmanufacturing/material/2015/02",
    "http://schemas.microsoft.com/3dmanufacturing/trianglesets/2021/07",
};

constexpr std::array<std::pair<std::string_view, double>, 6> millimetresPerUnit{{
    {"micron", 0.001},
    {"millimeter", 1},
    {"centimeter", 10},
    {"inch", 25.4},
    {"foot", 304.8},
    {"meter", 1000},
}};

constexpr std::size_t longestName = 100;

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::string shown(const char* text) {
  return text == nullptr ? "missing" : inQuotes(text);
}

}  // namespace

struct ThreeMfPartReader::Known {
  Element parent;
  std::string_view name;
  Element element;
};

const std::array<ThreeMfPartReader::Known, 12> ThreeMfPartReader::known{{
    {Element::vertices, "vertex", Element::vertex},
    {Element::triangles, "triangle", Element::triangle},
    {Element::document, "model", Element::model},
    {Element::model, "resources", Element::resources},
    {Element::model, "build", Element::build},
    {Element::resources, "object", Element::object},
    {Element::object, "mesh", Element::mesh},
    {Element::object, "components", Element::components},
    {Element::mesh, "vertices", Element::vertices},
    {Element::mesh, "triangles", Element::triangles},
    {Element::components, "component", Element::component},
    {Element::build, "item", Element::item},
}};

ThreeMfPartReader::ThreeMfPartReader(std::string subject, ThreeMfTotals& totals)
    : XmlParser(std::move(subject)), totals_(totals) {}

MeshError ThreeMfPartReader::error(const std::string& problem) const {
  return {subject() + " " + problem, copyAgain};
}

void ThreeMfPartReader::declareNamespace(std::string_view prefix, std::string_view space) {
  namespaces_[std::string(prefix)] = space;
}

void ThreeMfPartReader::startElement(XmlName name, XmlAttributes attributes) {
  const Element parent = open_.back();
  if (parent == Element::document) coreSpace_ = name.space;
  if (passedOver_ == 0 && name.space == coreSpace_) {
    for (const Known& candidate : known) {
      if (candidate.parent == parent && candidate.name == name.local) {
        open_.push_back(candidate.element);
        enter(candidate.element, attributes);
        return;
      }
    }
  }
  if (parent == Element::document) {
    throw error("is no 3D model: its XML begins with " + inQuotes(name.local));
  }
  if (parent == Element::mesh && name.local == "beamlattice") object_->hasBeams = true;
  ++passedOver_;
}

void ThreeMfPartReader::endElement(XmlName) {
  if (passedOver_ > 0) {
    --passedOver_;
    return;
  }
  if (open_.back() == Element::mesh) checkTriangles();
  open_.pop_back();
}

void ThreeMfPartReader::enter(Element element, XmlAttributes attributes) {
  switch (element) {
    case Element::model:
      beginModel(attributes);
      break;
    case Element::object:
      beginObject(attributes);
      break;
    case Element::vertex:
      addVertex(attributes);
      break;
    case Element::triangle:
      addTriangle(attributes);
      break;
    case Element::component:
      countPart();
      object_->components.push_back(
          placement(attributes, "component " + grouped(object_->components.size() + 1) +
                                    " of object " + std::to_string(objectId_)));
      break;
    case Element::item:
      addItem(attributes);
      break;
    default:
      break;
  }
}

void ThreeMfPartReader::beginModel(XmlAttributes attributes) {
  if (const char* prefixes = attributes.find("requiredextensions")) requireExtensions(prefixes);
  const char* unit = attributes.find("unit");
  if (unit == nullptr) return;
  for (const auto& [name, millimetres] : millimetresPerUnit) {
    if (name == withoutBlanks(unit)) {
      millimetres_ = millimetres;
      return;
    }
  }
  throw MeshError(subject() + " has the unit " + inQuotes(unit) + ", which 3MF does not know",
                  "Export it in millimetres");
}

void ThreeMfPartReader::requireExtensions(std::string_view prefixes) const {
  for (prefixes = withoutBlanks(prefixes); !prefixes.empty();) {
    const std::size_t end = std::min(prefixes.find_first_of(" \t\r\n"), prefixes.size());
    const std::string prefix(prefixes.substr(0, end));
    prefixes = withoutBlanks(prefixes.substr(end));
    const auto space = namespaces_.find(prefix);
    const std::string_view extension =
        space == namespaces_.end() ? std::string_view() : space->second;
    const bool isKnown = extension == coreSpace_ ||
                         std::find(knownExtensions.begin(), knownExtensions.end(), extension) !=
                             knownExtensions.end();
    if (isKnown) continue;
    const std::string shownName =
        inQuotes(extension.empty() ? std::string_view(prefix) : extension);
    throw MeshError(subject() + " can only be understood with the 3MF extension " + shownName +
                        ", which is not read",
                    "Export it as a plain triangle mesh");
  }
}

void ThreeMfPartReader::beginObject(XmlAttributes attributes) {
  countPart();
  objectId_ = id(attributes.find("id"), "the id of an object");
  const auto [place, isNew] = part_.objects.try_emplace(objectId_);
  if (!isNew) throw error("has two objects with the id " + std::to_string(objectId_));
  object_ = &place->second;
  if (const char* name = attributes.find("name")) {
    object_->name = std::string_view(name).substr(0, longestName);
  }
  if (const char* type = attributes.find("type")) {
    object_->type = withoutBlanks(std::string_view(type).substr(0, longestName));
  }
}

void ThreeMfPartReader::addVertex(XmlAttributes attributes) {
  Corner vertex;
  for (const auto& [name, coordinate] :
       {std::pair{"x", &vertex.x}, std::pair{"y", &vertex.y}, std::pair{"z", &vertex.z}}) {
    const char* text = attributes.find(name);
    const auto where = [&, axis = name] {
      return std::string(axis) + " of vertex " + grouped(object_->vertices.size()) +
             " (counted from 0) of object " + std::to_string(objectId_);
    };
    const std::string_view number = withoutBlanks(text == nullptr ? "" : text);
    bool isNumber = false;
    if (millimetres_ == 1) {
      const auto value = toFloat(number);
      isNumber = value.has_value();
      *coordinate = value.value_or(0);
    } else {
      const auto value = toDouble(number);
      isNumber = value.has_value();
      *coordinate = static_cast<float>(value.value_or(0) * millimetres_);
    }
    if (!isNumber) {
      throw error("has no number for " + where() + ": it is " + shown(text));
    }
    if (!std::isfinite(*coordinate)) {
      throw MeshError(
          subject() + " has " + shown(text) + " for " + where() + ", which is not a finite number",
          repair);
    }
  }
  if (++totals_.vertices > mostVertices) {
    throw MeshError("the 3MF has more than " + grouped(mostVertices) + " vertices",
                    "Simplify it in a modelling program");
  }
  object_->vertices.push_back(vertex);
}

void ThreeMfPartReader::addTriangle(XmlAttributes attributes) {
  std::array<std::uint32_t, 3> triangle{};
  constexpr std::array<std::string_view, 3> names{"v1", "v2", "v3"};
  for (std::size_t i = 0; i < 3; ++i) {
    const char* text = attributes.find(names[i]);
    const auto index = toInteger(withoutBlanks(text == nullptr ? "" : text));
    if (!index || *index < 0 || *index >= static_cast<std::int64_t>(mostVertices)) {
      throw error("has no vertex for " + std::string(names[i]) + " of triangle " +
                  grouped(object_->triangles.size()) + " (counted from 0) of object " +
                  std::to_string(objectId_) + ": it is " + shown(text));
    }
    triangle[i] = static_cast<std::uint32_t>(*index);
  }
  requireTriangleCount(++totals_.triangles);
  object_->triangles.push_back(triangle);
}

void ThreeMfPartReader::checkTriangles() const {
  const std::size_t vertices = object_->vertices.size();
  for (std::size_t i = 0; i < object_->triangles.size(); ++i) {
    for (const std::uint32_t vertex : object_->triangles[i]) {
      if (vertex < vertices) continue;
      throw error("has a triangle, number " + grouped(i) + " (counted from 0) of object " +
                  std::to_string(objectId_) + ", that names vertex " + std::to_string(vertex) +
                  ", but the object has " + grouped(vertices) + " vertices, counted from 0");
    }
  }
}

void ThreeMfPartReader::addItem(XmlAttributes attributes) {
  countPart();
  ThreeMfItem item;
  static_cast<ThreeMfPlacement&>(item) =
      placement(attributes, "build item " + grouped(part_.items.size() + 1));
  // Slicers write it, the core of 3MF has no word for it.
  if (const char* printable = attributes.find("printable")) {
    item.isPrintable = std::strcmp(printable, "0") != 0 && std::strcmp(printable, "false") != 0;
  }
  part_.items.push_back(std::move(item));
}

ThreeMfPlacement ThreeMfPartReader::placement(XmlAttributes attributes,
                                              const std::string& what) const {
  ThreeMfPlacement placement;
  placement.object = id(attributes.find("objectid"), "the object of " + what);
  if (const char* path = attributes.find("path", productionSpace)) placement.path = path;
  if (const char* text = attributes.find("transform")) {
    const auto transform = Transform::parse(text, millimetres_);
    if (!transform) throw error("has a transform, of " + what + ", that is not 12 numbers");
    const double determinant = transform->determinant();
    if (!std::isfinite(determinant) || determinant == 0) {
      throw error("has a transform, of " + what + ", that leaves no volume");
    }
    placement.transform = *transform;
  }
  return placement;
}

std::uint32_t ThreeMfPartReader::id(const char* text, const std::string& what) const {
  const auto number = toInteger(withoutBlanks(text == nullptr ? "" : text));
  if (number && *number >= 0 && *number <= 0xffffffff) return static_cast<std::uint32_t>(*number);
  throw error("has no number for " + what + ": it is " + shown(text));
}

void ThreeMfPartReader::countPart() {
  if (++totals_.parts <= mostParts) return;
  throw MeshError(
      "the 3MF has more than " + grouped(mostParts) + " objects, components and build items",
      "Simplify it in a modelling program");
}

}  // namespace stiltforge::mesh
