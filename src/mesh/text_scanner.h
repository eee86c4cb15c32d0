#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "files/byte_source.h"

namespace stiltforge::mesh {

/// Words of a text file, read in pieces. Lines end with a line feed, a carriage return or both.
class TextScanner {
 public:
  struct Dialect {
    /// A backslash at the end of a line joins the next one to it.
    bool joinsLines = false;
    /// A word that begins with it makes the rest of its line a comment.
    char comment = '\0';
  };

  /// From the byte at `offset` on. pieceSize: bytes read at once, more than twice longestWord.
  TextScanner(files::ByteSource& source, Dialect dialect, std::uint64_t offset = 0,
              std::size_t pieceSize = std::size_t{256} << 10);

  /// The next word, on whichever line; empty at the end of the file. Valid until the next call.
  /// Throws MeshError when it is longer than longestWord.
  std::string_view word();
  /// The next word of this line; empty at its end.
  std::string_view wordOfLine();
  /// What is left of this line, without blanks around it, its first `most` bytes.
  std::string restOfLine(std::size_t most);
  /// Goes to the begin of the next line.
  void skipLine();

  /// True when only blanks follow.
  bool atEnd();
  /// Of the last word, counted from 1.
  std::uint64_t line() const { return line_; }
  /// Of the next byte to look at, counted from the begin of the source.
  std::uint64_t offset() const { return pieceOffset_ + position_; }

 private:
  bool refill();
  bool isLineEnd(std::size_t at) const;
  void passLineEnd();
  bool skipBlanks(bool acrossLines);
  std::string_view takeWord();

  files::ByteSource& source_;
  const Dialect dialect_;
  std::vector<char> piece_;
  std::uint64_t pieceOffset_;  // of the piece's first byte in the source
  std::size_t position_ = 0;
  std::size_t end_ = 0;
  bool sourceEnded_ = false;
  std::uint64_t line_ = 1;
};

}  // namespace stiltforge::mesh
