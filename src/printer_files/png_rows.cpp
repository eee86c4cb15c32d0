#include "printer_files/png_rows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "printer_files/big_endian.h"
#include "printer_files/defect.h"

namespace stiltforge::printer_files {

namespace {

enum Filter : int { none = 0, sub = 1, up = 2, average = 3, paeth = 4 };

constexpr std::size_t wordBytes = 8;

uint64_t wordAt(const uint8_t* bytes) {
  uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

bool isAllZero(const uint8_t* bytes, std::size_t size) {
  constexpr std::size_t blockBytes = 8 * wordBytes;
  std::size_t i = 0;
  for (; i + blockBytes <= size; i += blockBytes) {
    uint64_t any = 0;
    for (std::size_t word = 0; word < blockBytes; word += wordBytes)
      any |= wordAt(bytes + i + word);
    if (any != 0) return false;
  }
  return std::all_of(bytes + i, bytes + size, [](uint8_t byte) { return byte == 0; });
}

uint8_t paethOf(int left, int above, int aboveLeft) {
  const int estimate = left + above - aboveLeft;
  const int toLeft = std::abs(estimate - left);
  const int toAbove = std::abs(estimate - above);
  const int toAboveLeft = std::abs(estimate - aboveLeft);
  if (toLeft <= toAbove && toLeft <= toAboveLeft) return static_cast<uint8_t>(left);
  return static_cast<uint8_t>(toAbove <= toAboveLeft ? above : aboveLeft);
}

/// Undoes a filter byte by byte; left and aboveLeft are those of the same channel.
template <class Predict>
void undo(uint8_t* row, const uint8_t* above, std::size_t size, std::size_t pixelBytes,
          const Predict& predict) {
  for (std::size_t i = 0; i < std::min(size, pixelBytes); ++i) row[i] += predict(0, above[i], 0);
  for (std::size_t i = pixelBytes; i < size; ++i) {
    row[i] += predict(row[i - pixelBytes], above[i], above[i - pixelBytes]);
  }
}

// Rows of one byte a pixel mostly go on as they are: eight pixels at once where the filter says so.

void undoSubOfBytes(uint8_t* row, std::size_t size) {
  uint8_t left = 0;
  std::size_t i = 0;
  while (i < size) {
    if (i + wordBytes <= size && wordAt(row + i) == 0) {
      std::memset(row + i, left, wordBytes);
      i += wordBytes;
      continue;
    }
    left = row[i] = static_cast<uint8_t>(row[i] + left);
    ++i;
  }
}

void undoAverageOfBytes(uint8_t* row, const uint8_t* above, std::size_t size) {
  constexpr uint64_t ones = 0x0101010101010101;
  uint8_t left = 0;
  std::size_t i = 0;
  while (i < size) {
    if (i + wordBytes <= size && wordAt(row + i) == 0 && wordAt(above + i) == left * ones) {
      std::memset(row + i, left, wordBytes);
      i += wordBytes;
      continue;
    }
    left = row[i] = static_cast<uint8_t>(row[i] + (left + above[i]) / 2);
    ++i;
  }
}

void undoPaethOfBytes(uint8_t* row, const uint8_t* above, std::size_t size) {
  uint8_t left = 0;
  uint8_t aboveLeft = 0;
  std::size_t i = 0;
  while (i < size) {
    // Where the last pixel is like the one above it, the estimate is the pixel above.
    if (left == aboveLeft && i + wordBytes <= size && wordAt(row + i) == 0) {
      std::memcpy(row + i, above + i, wordBytes);
      i += wordBytes;
      left = aboveLeft = above[i - 1];
      continue;
    }
    left = row[i] = static_cast<uint8_t>(row[i] + paethOf(left, above[i], aboveLeft));
    aboveLeft = above[i];
    ++i;
  }
}

}  // namespace

PngRows::PngRows(const PngPicture& picture, DecodeMemory& memory)
    : picture_(picture),
      memory_(memory),
      rowBytes_(picture.rowBytes()),
      pixelBytes_(std::max(1, picture.channels() * picture.bitDepth / 8)) {
  memory_.zeros.assign(rowBytes_, 0);
  above_ = memory_.zeros.data();
  unpack();
}

void PngRows::unpack() {
  std::span<const uint8_t> packed = picture_.parts.front();
  if (picture_.parts.size() > 1) {
    std::size_t size = 0;
    for (const auto& part : picture_.parts) size += part.size();
    uint8_t* const joined = memory_.joined.reserve(size);
    uint8_t* end = joined;
    for (const auto& part : picture_.parts) end = std::copy(part.begin(), part.end(), end);
    packed = {joined, size};
  }
  const std::size_t expected = picture_.height * (rowBytes_ + 1);
  if (packed.size() < expected / mostDeflateRatio) {
    throw Defect{"is cut off: " + files::counted(packed.size(), "byte") + " can't hold the " +
                 files::counted(picture_.height, "row") + " that it should have"};
  }
  constexpr std::size_t headBytes = 2;
  constexpr std::size_t checksumBytes = 4;
  constexpr int deflateMethod = 8;
  constexpr int dictionaryFlag = 0x20;
  const Defect damaged{"is damaged: its pixels can't be unpacked"};
  if (packed.size() < headBytes + checksumBytes || (packed[0] & 0xf) != deflateMethod ||
      bigEndian16(packed.data()) % 31 != 0 || (packed[1] & dictionaryFlag) != 0) {
    throw damaged;
  }
  rows_ = memory_.rows.reserve(expected);
  std::size_t used = 0;
  std::size_t unpacked = 0;
  const libdeflate_result result = libdeflate_deflate_decompress_ex(
      memory_.decompressor.get(), packed.data() + headBytes,
      packed.size() - headBytes - checksumBytes, rows_, expected, &used, &unpacked);
  if (result == LIBDEFLATE_INSUFFICIENT_SPACE) {
    throw Defect{"is damaged: it holds more pixels than its size says"};
  }
  if (result != LIBDEFLATE_SUCCESS) throw damaged;
  if (unpacked < expected) {
    throw Defect{"is cut off: it holds " + files::grouped(unpacked / (rowBytes_ + 1)) + " of " +
                 files::counted(picture_.height, "row")};
  }
  expectedChecksum_ = bigEndian32(packed.data() + headBytes + used);
}

void PngRows::undoFilter(int filter, uint8_t* row) const {
  const auto pixelBytes = static_cast<std::size_t>(pixelBytes_);
  const bool isBytes = pixelBytes == 1;
  switch (filter) {
    case none:
      break;
    case sub:
      if (isBytes) {
        undoSubOfBytes(row, rowBytes_);
      } else {
        undo(row, above_, rowBytes_, pixelBytes, [](int left, int, int) { return left; });
      }
      break;
    case up:
      for (std::size_t i = 0; i < rowBytes_; ++i) row[i] += above_[i];
      break;
    case average:
      if (isBytes) {
        undoAverageOfBytes(row, above_, rowBytes_);
      } else {
        undo(row, above_, rowBytes_, pixelBytes,
             [](int left, int above, int) { return (left + above) / 2; });
      }
      break;
    case paeth:
      if (isBytes) {
        undoPaethOfBytes(row, above_, rowBytes_);
      } else {
        undo(row, above_, rowBytes_, pixelBytes, paethOf);
      }
      break;
    default:
      throw Defect{"is damaged: row " + std::to_string(done_) + " has the filter " +
                   std::to_string(filter) + ", which PNG does not know"};
  }
}

PngRows::Row PngRows::next() {
  uint8_t* const start = rows_ + done_ * (rowBytes_ + 1);
  // While the row is on its way through the cache anyway.
  checksum_ = libdeflate_adler32(checksum_, start, rowBytes_ + 1);
  const int filter = start[0];
  uint8_t* const bytes = start + 1;
  Row row{bytes};
  if (filter <= paeth && isAllZero(bytes, rowBytes_)) {
    // An average with zeros is half of what is above, unless that is zero.
    row.isZero = filter == none || filter == sub || isAboveZero_;
    row.isLikeLast = !row.isZero && filter != average;
  }
  if (row.isLikeLast) row.bytes = above_;
  if (!row.isZero && !row.isLikeLast) undoFilter(filter, bytes);
  row.isLikeLast = row.isLikeLast && done_ > 0;
  above_ = row.bytes;
  isAboveZero_ = row.isZero;
  ++done_;
  if (done_ == picture_.height) finish();
  return row;
}

void PngRows::finish() const {
  if (checksum_ != expectedChecksum_) {
    throw Defect{"is damaged: the checksum of its pixels is wrong"};
  }
}

}  // namespace stiltforge::printer_files
