#include "mesh/mesh_files.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "mesh/mesh_error.h"
#include "mesh/read_mesh.h"

namespace stiltforge::mesh {

namespace {

std::string littleEndian(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

std::string floatBytes(float value, ByteOrder order = ByteOrder::little) {
  const std::string bytes = littleEndian(std::bit_cast<std::uint32_t>(value), 4);
  return order == ByteOrder::little ? bytes : std::string(bytes.rbegin(), bytes.rend());
}

std::string decimal(float value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.9g", static_cast<double>(value));
  return text.data();
}

std::string corner(const Soup& soup, std::size_t index) {
  return decimal(soup[3 * index]) + " " + decimal(soup[3 * index + 1]) + " " +
         decimal(soup[3 * index + 2]);
}

std::string plyHeader(const Soup& soup, const std::string& format) {
  return "ply\nformat " + format + " 1.0\nelement vertex " + std::to_string(soup.size() / 3) +
         "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
         std::to_string(soup.size() / 9) + "\nproperty list uchar int vertex_indices\nend_header\n";
}

}  // namespace

Soup box(Corner min, Corner max) {
  constexpr std::array<std::array<int, 4>, 6> faces{
      {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}}};
  Soup soup;
  for (const auto& [a, b, c, d] : faces) {
    for (const int i : {a, b, c, a, c, d}) {
      soup.push_back((i & 1) != 0 ? max.x : min.x);
      soup.push_back((i & 2) != 0 ? max.y : min.y);
      soup.push_back((i & 4) != 0 ? max.z : min.z);
    }
  }
  return soup;
}

Soup lumpyBall(int rings) {
  const auto point = [&](int ring, int step) {
    const double polar = M_PI * ring / rings;
    const double turn = 2 * M_PI * (step % rings) / rings;
    const double radius = (20 + 3 * std::sin(5 * turn)) * std::sin(polar);
    return std::array<float, 3>{static_cast<float>(radius * std::cos(turn)),
                                static_cast<float>(radius * std::sin(turn)),
                                static_cast<float>(-20 * std::cos(polar))};
  };
  Soup soup;
  for (int ring = 0; ring < rings; ++ring) {
    for (int step = 0; step < rings; ++step) {
      const auto a = point(ring, step);
      const auto b = point(ring, step + 1);
      const auto c = point(ring + 1, step);
      const auto d = point(ring + 1, step + 1);
      for (const auto& at : {a, b, d, a, d, c}) soup.insert(soup.end(), at.begin(), at.end());
    }
  }
  return soup;
}

double volumeOf(const Soup& soup) {
  double sum = 0;
  for (std::size_t i = 0; i + 9 <= soup.size(); i += 9) {
    const auto at = [&](std::size_t k) { return static_cast<double>(soup[i + k]); };
    sum += at(0) * (at(4) * at(8) - at(5) * at(7)) + at(1) * (at(5) * at(6) - at(3) * at(8)) +
           at(2) * (at(3) * at(7) - at(4) * at(6));
  }
  return sum / 6;
}

std::string binaryStl(const Soup& soup) {
  std::string bytes(80, '\0');
  bytes += littleEndian(soup.size() / 9, 4);
  for (std::size_t i = 0; i < soup.size(); i += 9) {
    bytes += std::string(12, '\0');
    for (std::size_t k = 0; k < 9; ++k) bytes += floatBytes(soup[i + k]);
    bytes += std::string(2, '\0');
  }
  return bytes;
}

std::string textStl(const Soup& soup) {
  std::string text = "solid part\n";
  for (std::size_t i = 0; i < soup.size() / 3; i += 3) {
    text += "facet normal 0 0 0\n outer loop\n  vertex " + corner(soup, i) + "\n  vertex " +
            corner(soup, i + 1) + "\n  vertex " + corner(soup, i + 2) + "\n endloop\nendfacet\n";
  }
  return text + "endsolid part\n";
}

std::string obj(const Soup& soup) {
  std::string text;
  for (std::size_t i = 0; i < soup.size() / 3; ++i) text += "v " + corner(soup, i) + "\n";
  for (std::size_t i = 1; i <= soup.size() / 3; i += 3) {
    text +=
        "f " + std::to_string(i) + " " + std::to_string(i + 1) + " " + std::to_string(i + 2) + "\n";
  }
  return text;
}

std::string textPly(const Soup& soup) {
  std::string text = plyHeader(soup, "ascii");
  for (std::size_t i = 0; i < soup.size() / 3; ++i) text += corner(soup, i) + "\n";
  for (std::size_t i = 0; i < soup.size() / 3; i += 3) {
    text +=
        "3 " + std::to_string(i) + " " + std::to_string(i + 1) + " " + std::to_string(i + 2) + "\n";
  }
  return text;
}

std::string binaryPly(const Soup& soup, ByteOrder order) {
  const bool isLittle = order == ByteOrder::little;
  std::string bytes = plyHeader(soup, isLittle ? "binary_little_endian" : "binary_big_endian");
  for (const float value : soup) bytes += floatBytes(value, order);
  for (std::size_t i = 0; i < soup.size() / 3; ++i) {
    if (i % 3 == 0) bytes += '\3';
    bytes += floatBytes(std::bit_cast<float>(static_cast<std::uint32_t>(i)), order);
  }
  return bytes;
}

std::string meshXml(const Soup& soup) {
  std::string text = "<mesh><vertices>";
  for (std::size_t i = 0; i < soup.size(); i += 3) {
    text += "<vertex x=\"" + decimal(soup[i]) + "\" y=\"" + decimal(soup[i + 1]) + "\" z=\"" +
            decimal(soup[i + 2]) + "\"/>";
  }
  text += "</vertices><triangles>";
  for (std::size_t i = 0; i < soup.size() / 3; i += 3) {
    text += "<triangle v1=\"" + std::to_string(i) + "\" v2=\"" + std::to_string(i + 1) +
            "\" v3=\"" + std::to_string(i + 2) + "\"/>";
  }
  return text + "</triangles></mesh>";
}

std::string modelXml(const std::string& resources, const std::string& build,
                     const std::string& attributes) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<model " + attributes +
         " xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\""
         " xmlns:p=\"http://schemas.microsoft.com/3dmanufacturing/production/2015/06\">"
         "<resources>" +
         resources + "</resources><build>" + build + "</build></model>";
}

std::string objectXml(const std::string& content, const std::string& attributes) {
  return "<object " + attributes + ">" + content + "</object>";
}

std::string threeMf(const Soup& soup) {
  return packed(modelXml(objectXml(meshXml(soup)), "<item objectid=\"1\"/>"));
}

ZipEntry relationships(const std::string& target) {
  return {"_rels/.rels",
          "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
          "<Relationship Id=\"rel0\" Target=\"" +
              target +
              "\" Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/>"
              "</Relationships>"};
}

std::string packed(const std::string& model) {
  return zipArchive({relationships("/3D/3dmodel.model"), {"3D/3dmodel.model", model}});
}

Mesh read(std::string_view bytes) {
  return readMesh(std::span<const char>(bytes));
}

std::string refusal(std::string_view bytes) {
  try {
    read(bytes);
  } catch (const MeshError& error) {
    return error.what();
  }
  return "";
}

}  // namespace stiltforge::mesh
