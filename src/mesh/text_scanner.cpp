#include "mesh/text_scanner.h"

#include <algorithm>
#include <cstring>

#include "mesh/limits.h"
#include "mesh/mesh_error.h"

namespace stiltforge::mesh {

namespace {

bool isBlank(char character) {
  return character == ' ' || character == '\t' || character == '\v' || character == '\f';
}

bool endsLine(char character) {
  return character == '\n' || character == '\r';
}

// How far the scanner looks ahead without asking for more: the longest word and what ends it.
constexpr std::size_t lookAhead = longestWord + 3;

}  // namespace

TextScanner::TextScanner(files::ByteSource& source, Dialect dialect, std::uint64_t offset,
                         std::size_t pieceSize)
    : source_(source), dialect_(dialect), pieceOffset_(offset) {
  const std::uint64_t wanted = std::min<std::uint64_t>(pieceSize, source.size() + 1);
  piece_.resize(std::max(static_cast<std::size_t>(wanted), 2 * lookAhead));
  refill();
}

// True when there is more to look at than before.
bool TextScanner::refill() {
  if (sourceEnded_) return false;
  std::memmove(piece_.data(), piece_.data() + position_, end_ - position_);
  end_ -= position_;
  pieceOffset_ += position_;
  position_ = 0;
  const std::size_t count =
      source_.read(pieceOffset_ + end_, std::span<char>(piece_).subspan(end_));
  sourceEnded_ = count < piece_.size() - end_;
  end_ += count;
  return count > 0;
}

bool TextScanner::isLineEnd(std::size_t at) const {
  return at < end_ && endsLine(piece_[at]);
}

void TextScanner::passLineEnd() {
  const bool isPair =
      piece_[position_] == '\r' && position_ + 1 < end_ && piece_[position_ + 1] == '\n';
  position_ += isPair ? 2 : 1;
  ++line_;
}

// True when a word follows.
bool TextScanner::skipBlanks(bool acrossLines) {
  for (;;) {
    if (end_ - position_ < lookAhead) refill();
    if (position_ == end_) return false;
    const char character = piece_[position_];
    if (isBlank(character)) {
      ++position_;
    } else if (endsLine(character)) {
      if (!acrossLines) return false;
      passLineEnd();
    } else if (character == '\\' && dialect_.joinsLines && isLineEnd(position_ + 1)) {
      ++position_;
      passLineEnd();
    } else if (character == dialect_.comment && character != '\0') {
      while (position_ < end_ && !endsLine(piece_[position_])) {
        if (++position_ == end_) refill();
      }
    } else {
      return true;
    }
  }
}

std::string_view TextScanner::takeWord() {
  const std::size_t begin = position_;
  while (position_ < end_) {
    const char character = piece_[position_];
    if (isBlank(character) || endsLine(character)) break;
    if (character == '\\' && dialect_.joinsLines && isLineEnd(position_ + 1)) break;
    ++position_;
    if (position_ - begin > longestWord) {
      throw MeshError("line " + grouped(line_) + " has a word of more than " +
                          counted(longestWord, "character"),
                      copyAgain);
    }
  }
  return {piece_.data() + begin, position_ - begin};
}

std::string_view TextScanner::word() {
  return skipBlanks(true) ? takeWord() : std::string_view();
}

std::string_view TextScanner::wordOfLine() {
  return skipBlanks(false) ? takeWord() : std::string_view();
}

std::string TextScanner::restOfLine(std::size_t most) {
  std::string rest;
  while (skipBlanks(false)) {
    const std::string_view next = takeWord();
    if (rest.size() >= most) continue;
    if (!rest.empty()) rest.push_back(' ');
    rest.append(next);
  }
  rest.resize(std::min(rest.size(), most));
  return rest;
}

void TextScanner::skipLine() {
  for (;;) {
    while (position_ < end_ && !endsLine(piece_[position_])) ++position_;
    if (position_ < end_) break;
    if (!refill()) return;
  }
  if (end_ - position_ < 2) refill();
  passLineEnd();
}

bool TextScanner::atEnd() {
  return !skipBlanks(true);
}

}  // namespace stiltforge::mesh
