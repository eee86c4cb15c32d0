#include "mesh/ply_values.h"

#include <algorithm>

#include "mesh/mesh_error.h"
#include "mesh/number.h"
#include "runtime/bit_cast.h"

namespace stiltforge::mesh {

namespace {

constexpr std::size_t pieceBytes = std::size_t{256} << 10;

template <typename Signed>
std::int64_t withSign(std::uint64_t bits) {
  return static_cast<Signed>(bits);
}

}  // namespace

PlyText::PlyText(files::ByteSource& source, const PlyHeader& header)
    : source_(source), text_(source, {}, header.end), linesBefore_(header.lines) {}

bool PlyText::coordinate(PlyType, float& value) {
  const std::string_view word = text_.word();
  if (word.empty()) return false;
  const auto number = toFloat(word);
  if (!number) throw MeshError(place() + inQuotes(word) + " is no number", copyAgain);
  value = *number;
  return true;
}

bool PlyText::integer(PlyType, std::int64_t& value) {
  const std::string_view word = text_.word();
  if (word.empty()) return false;
  const auto number = toInteger(word);
  if (!number) throw MeshError(place() + inQuotes(word) + " is no whole number", copyAgain);
  value = *number;
  return true;
}

bool PlyText::skip(PlyType, std::uint64_t values) {
  for (; values > 0; --values) {
    if (text_.word().empty()) return false;
  }
  return true;
}

std::uint64_t PlyText::bytesLeft() const {
  // The last value needs no blank behind it.
  return source_.size() - text_.offset() + 1;
}

std::string PlyText::place() const {
  return "line " + grouped(linesBefore_ + text_.line()) + ": ";
}

PlyBinary::PlyBinary(files::ByteSource& source, const PlyHeader& header)
    : source_(source),
      isBigEndian_(header.encoding == PlyHeader::Encoding::bigEndian),
      piece_(std::min<std::uint64_t>(pieceBytes, source.size())),
      offset_(header.end) {}

std::optional<std::uint64_t> PlyBinary::bits(std::size_t bytes) {
  if (offset_ < pieceBegin_ || offset_ + bytes > pieceEnd_) {
    pieceBegin_ = offset_;
    pieceEnd_ = offset_ + source_.read(offset_, piece_);
    if (offset_ + bytes > pieceEnd_) return std::nullopt;
  }
  const char* first = piece_.data() + (offset_ - pieceBegin_);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) {
    const auto byte = static_cast<unsigned char>(first[isBigEndian_ ? i : bytes - 1 - i]);
    value = value << 8 | byte;
  }
  offset_ += bytes;
  return value;
}

bool PlyBinary::coordinate(PlyType type, float& value) {
  if (type != PlyType::float32 && type != PlyType::float64) {
    std::int64_t whole = 0;
    if (!integer(type, whole)) return false;
    value = static_cast<float>(whole);
    return true;
  }
  const auto pattern = bits(sizeOf(type));
  if (!pattern) return false;
  value = type == PlyType::float32 ? bitCast<float>(static_cast<std::uint32_t>(*pattern))
                                   : static_cast<float>(bitCast<double>(*pattern));
  return true;
}

bool PlyBinary::integer(PlyType type, std::int64_t& value) {
  const auto pattern = bits(sizeOf(type));
  if (!pattern) return false;
  switch (type) {
    case PlyType::int8:
      value = withSign<std::int8_t>(*pattern);
      break;
    case PlyType::int16:
      value = withSign<std::int16_t>(*pattern);
      break;
    case PlyType::int32:
      value = withSign<std::int32_t>(*pattern);
      break;
    default:
      value = static_cast<std::int64_t>(*pattern);
  }
  return true;
}

bool PlyBinary::skip(PlyType type, std::uint64_t values) {
  if (values > bytesLeft() / sizeOf(type)) return false;
  offset_ += values * sizeOf(type);
  return true;
}

std::uint64_t PlyBinary::bytesLeft() const {
  return source_.size() - offset_;
}

}  // namespace stiltforge::mesh
