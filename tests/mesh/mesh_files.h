#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "files/zip_writer.h"
#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// Nine floats a triangle.
using Soup = std::vector<float>;

/// The twelve triangles of a box, outwards.
Soup box(Corner min, Corner max);
/// A closed surface of 2 * rings * rings triangles with coordinates that no short decimal equals.
Soup lumpyBall(int rings);
/// Its volume, mm3, negative when it is inside out.
double volumeOf(const Soup& soup);

/// A mesh as each kind of file holds it. Text has the digits that give back each float.
std::string binaryStl(const Soup& soup);
std::string textStl(const Soup& soup);
std::string obj(const Soup& soup);
std::string textPly(const Soup& soup);
enum class ByteOrder { little, big };
std::string binaryPly(const Soup& soup, ByteOrder order);
/// The XML of a 3MF's mesh element.
std::string meshXml(const Soup& soup);
std::string threeMf(const Soup& soup);

/// The XML of a 3MF's model: its resources, its build, and more attributes.
std::string modelXml(const std::string& resources, const std::string& build,
                     const std::string& attributes = "unit=\"millimeter\"");
/// An object with id 1 and the mesh.
std::string objectXml(const std::string& content, const std::string& attributes = "id=\"1\"");

using files::zipArchive;
using files::ZipEntry;

/// An archive with this model as its root.
std::string packed(const std::string& model);
/// The list that names the root model.
ZipEntry relationships(const std::string& target);

/// Reads the bytes.
Mesh read(std::string_view bytes);
/// What reading the bytes is refused with; empty when it is not.
std::string refusal(std::string_view bytes);

}  // namespace stiltforge::mesh
