#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/byte_source.h"
#include "mesh/ply_header.h"
#include "mesh/text_scanner.h"

namespace stiltforge::mesh {

/// The values of a PLY after its header, one after the other. Each call is false, or nothing, when
/// the file ends before it.
class PlyText {
 public:
  PlyText(files::ByteSource& source, const PlyHeader& header);

  /// Throws MeshError with the line when what is there is no number.
  bool coordinate(PlyType type, float& value);
  bool integer(PlyType type, std::int64_t& value);
  bool skip(PlyType type, std::uint64_t values);
  std::uint64_t bytesLeft() const;
  /// For messages: "line 12: ".
  std::string place() const;

 private:
  files::ByteSource& source_;
  TextScanner text_;
  std::uint64_t linesBefore_;
};

class PlyBinary {
 public:
  PlyBinary(files::ByteSource& source, const PlyHeader& header);

  bool coordinate(PlyType type, float& value);
  bool integer(PlyType type, std::int64_t& value);
  bool skip(PlyType type, std::uint64_t values);
  std::uint64_t bytesLeft() const;
  std::string place() const { return {}; }

 private:
  std::optional<std::uint64_t> bits(std::size_t bytes);

  files::ByteSource& source_;
  const bool isBigEndian_;
  std::vector<char> piece_;
  std::uint64_t offset_;  // in the source, of the next value
  std::uint64_t pieceBegin_ = 0;
  std::uint64_t pieceEnd_ = 0;
};

}  // namespace stiltforge::mesh
