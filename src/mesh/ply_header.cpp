#include "mesh/ply_header.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "mesh/mesh_error.h"
#include "mesh/number.h"

namespace stiltforge::mesh {

namespace {

constexpr std::size_t longestHeader = std::size_t{64} << 10;

constexpr std::array<std::pair<std::string_view, PlyType>, 16> typeNames{{
    {"char", PlyType::int8},
    {"int8", PlyType::int8},
    {"uchar", PlyType::uint8},
    {"uint8", PlyType::uint8},
    {"short", PlyType::int16},
    {"int16", PlyType::int16},
    {"ushort", PlyType::uint16},
    {"uint16", PlyType::uint16},
    {"int", PlyType::int32},
    {"int32", PlyType::int32},
    {"uint", PlyType::uint32},
    {"uint32", PlyType::uint32},
    {"float", PlyType::float32},
    {"float32", PlyType::float32},
    {"double", PlyType::float64},
    {"float64", PlyType::float64},
}};

std::optional<PlyType> typeNamed(std::string_view name) {
  for (const auto& [known, type] : typeNames) {
    if (known == name) return type;
  }
  return std::nullopt;
}

std::vector<std::string_view> wordsOf(std::string_view line) {
  constexpr std::string_view blanks = " \t";
  std::vector<std::string_view> words;
  for (std::size_t begin = line.find_first_not_of(blanks); begin != std::string_view::npos;) {
    const std::size_t end = std::min(line.find_first_of(blanks, begin), line.size());
    words.push_back(line.substr(begin, end - begin));
    begin = line.find_first_not_of(blanks, end);
  }
  return words;
}

PlyHeader::Encoding encodingNamed(std::string_view name) {
  if (name == "ascii") return PlyHeader::Encoding::text;
  if (name == "binary_little_endian") return PlyHeader::Encoding::littleEndian;
  if (name == "binary_big_endian") return PlyHeader::Encoding::bigEndian;
  throw MeshError("the PLY format " + inQuotes(name) + " is unknown",
                  "Export it as ascii, binary_little_endian or binary_big_endian");
}

class HeaderReader {
 public:
  explicit HeaderReader(std::string_view text) : text_(text) {}

  PlyHeader read() {
    nextLine();  // "ply"
    bool hasFormat = false;
    for (std::string_view line = nextLine();; line = nextLine()) {
      const std::vector<std::string_view> words = wordsOf(line);
      if (words.empty() || isRemark(words[0])) continue;
      if (words[0] == "end_header") break;
      if (words[0] == "format" && words.size() >= 2) {
        header_.encoding = encodingNamed(words[1]);
        hasFormat = true;
      } else if (!(words[0] == "element" && addElement(words)) &&
                 !(words[0] == "property" && addProperty(words))) {
        throw MeshError("the PLY header has the line " + inQuotes(line), copyAgain);
      }
    }
    if (!hasFormat) throw MeshError("the PLY header has no \"format\" line", copyAgain);
    header_.end = position_;
    header_.lines = lines_;
    return std::move(header_);
  }

 private:
  // Some programs leave out the word "comment". Further down such a line may be a damaged property.
  bool isRemark(std::string_view word) const {
    if (word == "comment" || word == "obj_info") return true;
    constexpr std::array<std::string_view, 4> others{"format", "element", "property", "end_header"};
    return header_.elements.empty() &&
           std::find(others.begin(), others.end(), word) == others.end();
  }

  std::string_view nextLine() {
    const std::size_t begin = position_;
    const std::size_t end = text_.find_first_of("\r\n", begin);
    if (end == std::string_view::npos) {
      throw MeshError("the PLY header has no \"end_header\" line", copyAgain);
    }
    const bool isPair = text_[end] == '\r' && end + 1 < text_.size() && text_[end + 1] == '\n';
    // Where lines end with a carriage return alone, the line feed is the first byte of the data.
    if (lines_ == 0) endsInPairs_ = isPair || text_[end] == '\n';
    position_ = end + (isPair && endsInPairs_ ? 2 : 1);
    ++lines_;
    return text_.substr(begin, end - begin);
  }

  bool addElement(const std::vector<std::string_view>& words) {
    if (words.size() != 3) return false;
    const auto count = toInteger(words[2]);
    if (!count || *count < 0) return false;
    header_.elements.push_back({std::string(words[1]), static_cast<std::uint64_t>(*count), {}});
    return true;
  }

  bool addProperty(const std::vector<std::string_view>& words) {
    if (header_.elements.empty()) return false;
    PlyProperty property;
    const bool isList = words.size() == 5 && words[1] == "list";
    if (!isList && words.size() != 3) return false;
    if (isList) {
      property.countType = typeNamed(words[2]);
      const bool isWhole = property.countType && *property.countType != PlyType::float32 &&
                           *property.countType != PlyType::float64;
      if (!isWhole) return false;
    }
    const auto type = typeNamed(words[isList ? 3 : 1]);
    if (!type) return false;
    property.type = *type;
    property.name = words.back();
    header_.elements.back().properties.push_back(std::move(property));
    return true;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::uint64_t lines_ = 0;
  bool endsInPairs_ = false;
  PlyHeader header_;
};

}  // namespace

std::size_t sizeOf(PlyType type) {
  switch (type) {
    case PlyType::int8:
    case PlyType::uint8:
      return 1;
    case PlyType::int16:
    case PlyType::uint16:
      return 2;
    case PlyType::int32:
    case PlyType::uint32:
    case PlyType::float32:
      return 4;
    case PlyType::float64:
      return 8;
  }
  return 0;
}

std::optional<std::size_t> PlyElement::find(const std::string& property) const {
  for (std::size_t i = 0; i < properties.size(); ++i) {
    if (properties[i].name == property) return i;
  }
  return std::nullopt;
}

std::uint64_t PlyElement::leastBytes(bool isText) const {
  std::uint64_t bytes = 0;
  for (const PlyProperty& property : properties) {
    // A digit and a blank.
    bytes += isText ? 2 : sizeOf(property.countType.value_or(property.type));
  }
  return bytes;
}

PlyHeader readPlyHeader(files::ByteSource& source) {
  std::string text(longestHeader, '\0');
  text.resize(source.read(0, text));
  return HeaderReader(text).read();
}

}  // namespace stiltforge::mesh
