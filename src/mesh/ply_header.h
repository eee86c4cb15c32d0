#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "files/byte_source.h"

namespace stiltforge::mesh {

enum class PlyType : std::uint8_t { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

/// Bytes of a value.
std::size_t sizeOf(PlyType type);

struct PlyProperty {
  std::string name;
  PlyType type = PlyType::float32;
  /// Of a list: the type of the number of items, which precedes them.
  std::optional<PlyType> countType;
};

struct PlyElement {
  std::string name;
  std::uint64_t count = 0;
  std::vector<PlyProperty> properties;

  /// The place of a property; nothing when there is none of this name.
  std::optional<std::size_t> find(const std::string& property) const;
  /// What one element takes in the file at least: bytes of a binary file, characters of a text.
  std::uint64_t leastBytes(bool isText) const;
};

struct PlyHeader {
  enum class Encoding { text, littleEndian, bigEndian };

  Encoding encoding = Encoding::text;
  std::vector<PlyElement> elements;
  std::uint64_t end = 0;    ///< offset of the first byte after it
  std::uint64_t lines = 0;  ///< lines up to there
};

/// Throws MeshError.
PlyHeader readPlyHeader(files::ByteSource& source);

}  // namespace stiltforge::mesh
