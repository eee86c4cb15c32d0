#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>

#include "mesh/mesh_builder.h"
#include "mesh/mesh_error.h"
#include "mesh/number.h"
#include "mesh/stl.h"
#include "mesh/text_scanner.h"

namespace stiltforge::mesh {

namespace {

constexpr std::size_t longestName = 100;

/// In either case: some programs write FACET.
bool is(std::string_view word, std::string_view keyword) {
  const auto inLowerCase = [](char a) { return a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a; };
  return std::equal(word.begin(), word.end(), keyword.begin(), keyword.end(),
                    [&](char a, char b) { return inLowerCase(a) == b; });
}

class TextStlReader {
 public:
  TextStlReader(files::ByteSource& source, std::uint64_t offset) : text_(source, {}, offset) {}

  Mesh read() {
    for (std::string_view word = text_.word(); is(word, "solid"); word = text_.word()) {
      builder_.beginObject(text_.restOfLine(longestName));
      readFacets();
      word_ = {};
      if (text_.atEnd()) return builder_.finish();
    }
    builder_.warn("What follows the last \"endsolid\" of the text STL, from line " +
                  grouped(text_.line()) + " on, is left out.");
    return builder_.finish();
  }

 private:
  void readFacets() {
    for (;;) {
      word_ = next();
      if (is(word_, "endsolid")) break;
      if (!is(word_, "facet")) throw unexpected("\"facet\" or \"endsolid\"");
      readFacet();
    }
    text_.restOfLine(0);
  }

  void readFacet() {
    // The normal is not needed: the order of the corners says the same.
    word_ = next();
    for (int words = 0; words < 4 && !is(word_, "outer"); ++words) word_ = next();
    if (!is(word_, "outer")) throw unexpected("\"outer loop\"");
    word_ = next();
    if (!is(word_, "loop")) throw unexpected("\"loop\"");
    std::array<Corner, 3> corners;
    std::size_t count = 0;
    for (word_ = next(); is(word_, "vertex"); word_ = next()) {
      const Corner corner = readCorner();
      if (count < corners.size()) corners[count] = corner;
      ++count;
    }
    if (!is(word_, "endloop")) throw unexpected("\"vertex\" or \"endloop\"");
    if (count != corners.size()) {
      throw MeshError("the facet that ends in line " + grouped(text_.line()) +
                          " of the text STL has " + counted(count, "corner") + " instead of 3",
                      "Export it again as triangles");
    }
    word_ = next();
    if (!is(word_, "endfacet")) throw unexpected("\"endfacet\"");
    builder_.add(corners[0], corners[1], corners[2]);
  }

  Corner readCorner() {
    Corner corner;
    for (float* value : {&corner.x, &corner.y, &corner.z}) {
      word_ = next();
      const auto number = toFloat(word_);
      if (!number) throw unexpected("a coordinate");
      if (!std::isfinite(*number)) {
        throw MeshError("line " + grouped(text_.line()) + " of the text STL has the coordinate " +
                            inQuotes(word_) + ", which is not a finite number",
                        repair);
      }
      *value = *number;
    }
    return corner;
  }

  std::string_view next() {
    const std::string_view word = text_.word();
    if (word.empty()) throw cutOff();
    return word;
  }

  MeshError cutOff() const {
    return {"the text STL is cut off after " + counted(builder_.triangleCount(), "whole triangle") +
                ": its last \"endsolid\" is missing",
            "Copy or export it again"};
  }

  MeshError unexpected(const std::string& expected) {
    const std::string found = inQuotes(word_);
    const std::uint64_t line = text_.line();
    // The last word of a file that is cut off is often half a word.
    if (text_.atEnd()) return cutOff();
    return {"line " + grouped(line) + " of the text STL has " + found + " where " + expected +
                " was expected",
            copyAgain};
  }

  TextScanner text_;
  MeshBuilder builder_{Format::textStl};
  std::string_view word_;
};

}  // namespace

Mesh readTextStl(files::ByteSource& source, std::uint64_t offset) {
  return TextStlReader(source, offset).read();
}

}  // namespace stiltforge::mesh
