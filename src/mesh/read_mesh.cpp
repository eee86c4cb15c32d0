#include "mesh/read_mesh.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "files/byte_source.h"
#include "mesh/mesh_error.h"
#include "mesh/obj.h"
#include "mesh/ply.h"
#include "mesh/stl.h"
#include "mesh/three_mf.h"

namespace stiltforge::mesh {

namespace {

constexpr std::size_t headBytes = 4096;
constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view utf16Marks[] = {"\xff\xfe", "\xfe\xff"};

/// Formats that people take for meshes, by how their files begin.
constexpr std::array<std::pair<std::string_view, const char*>, 8> otherFormats{{
    {"ISO-10303-21", "STEP"},
    {"glTF", "glTF"},
    {"Kaydara FBX", "FBX"},
    {"BLENDER", "Blender"},
    {"\x1f\x8b", "gzip"},
    {"%PDF", "PDF"},
    {"\x89PNG", "PNG"},
    {"\xff\xd8\xff", "JPEG"},
}};

/// Nothing where it is none of those.
const char* otherFormatOf(std::string_view head) {
  for (const auto& [begin, name] : otherFormats) {
    if (head.starts_with(begin)) return name;
  }
  return nullptr;
}

std::string lowerCase(std::string text) {
  for (char& character : text) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return text;
}

/// A binary file has zeros or other control characters soon. Some programs end a text with a few of
/// them.
bool isText(std::string_view head) {
  constexpr std::string_view endMarks("\0\x1a", 2);
  head = head.substr(0, head.find_last_not_of(endMarks) + 1);
  return std::none_of(head.begin(), head.end(), [](unsigned char character) {
    return character < 0x20 && (character < '\t' || character > '\r');
  });
}

bool isBlank(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

/// Whether the word is there and ends there.
bool hasWordAt(std::string_view text, std::size_t at, std::string_view word) {
  return text.substr(at, word.size()) == word &&
         (at + word.size() >= text.size() || isBlank(text[at + word.size()]));
}

bool beginsWithSolid(std::string_view head) {
  constexpr std::size_t length = 5;
  const auto begin =
      static_cast<std::size_t>(std::find_if_not(head.begin(), head.end(), isBlank) - head.begin());
  const std::string_view rest = head.substr(begin);
  return lowerCase(std::string(rest.substr(0, length))) == "solid" &&
         (rest.size() == length || isBlank(rest[length]) || rest[length] == '\0');
}

/// Whether a line begins with a keyword of OBJ.
bool hasObjLine(std::string_view head) {
  for (std::size_t line = 0; line < head.size();) {
    for (const std::string_view word : {"v", "f", "o", "g", "vn", "vt", "mtllib", "usemtl"}) {
      if (hasWordAt(head, line, word)) return true;
    }
    line = std::min(head.find_first_of("\r\n", line), head.size() - 1) + 1;
  }
  return false;
}

MeshError unknownContent(std::string_view head, const std::string& extension) {
  const char* remedy = "Export the model as one of STL, OBJ, PLY or 3MF";
  if (const char* const name = otherFormatOf(head)) {
    return {std::string("the content is that of a ") + name + " file", remedy};
  }
  for (const char* known : {".stl", ".obj", ".ply", ".3mf"}) {
    if (extension == known) {
      return {"the content is not that of a file named " + extension, remedy};
    }
  }
  return {"the content is none of STL, OBJ, PLY or 3MF", remedy};
}

Mesh readSource(files::ByteSource& source, const std::string& extension) {
  if (source.size() == 0) throw MeshError("the file is empty", "Copy or export it again");
  std::array<char, headBytes> buffer{};
  const std::string_view whole(buffer.data(), source.read(0, buffer));
  if (whole.starts_with("PK\x03\x04") || whole.starts_with("PK\x05\x06")) {
    return readThreeMf(source);
  }
  if (whole.starts_with("ply\n") || whole.starts_with("ply\r")) return readPly(source);
  if (hasBinaryStlLength(source)) return readBinaryStl(source);

  if (std::any_of(std::begin(utf16Marks), std::end(utf16Marks),
                  [&](std::string_view mark) { return whole.starts_with(mark); })) {
    throw MeshError("the text is in UTF-16", "Save it in UTF-8, or export the model again");
  }
  const std::size_t begin = whole.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
  const std::string_view head = whole.substr(begin);
  if (!isText(head)) {
    // A binary STL of the wrong length has nothing else to tell it by.
    const bool isCalledStl = extension == ".stl" && otherFormatOf(head) == nullptr;
    if (isCalledStl || beginsWithSolid(head)) return readBinaryStl(source);
    throw unknownContent(head, extension);
  }
  if (beginsWithSolid(head)) return readTextStl(source, begin);
  if (hasObjLine(head) || extension == ".obj") return readObj(source, begin);
  throw unknownContent(head, extension);
}

}  // namespace

Mesh readMesh(std::span<const char> bytes, const std::filesystem::path& name,
              const std::atomic<bool>* cancelled) {
  files::MemorySource source(bytes);
  source.cancelWhen(cancelled);
  return readSource(source, lowerCase(name.extension().string()));
}

Mesh readMeshFile(const std::filesystem::path& file, const std::atomic<bool>* cancelled) {
  files::FileSource source(file, "a mesh file");
  source.cancelWhen(cancelled);
  return readSource(source, lowerCase(file.extension().string()));
}

}  // namespace stiltforge::mesh
