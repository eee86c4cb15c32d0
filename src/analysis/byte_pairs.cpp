#include "analysis/byte_pairs.h"

#include <algorithm>
#include <cstring>

namespace stiltforge {

namespace {

constexpr std::size_t longestBlock = 0x7FFF;
constexpr uint16_t repeatFlag = 0x8000;
// A repeat block costs four bytes, so a shorter repetition is cheaper among the literals.
constexpr std::size_t shortestRepeat = 4;

std::size_t repetition(const uint8_t* first, const uint8_t* second, std::size_t n) {
  std::size_t length = 1;
  while (length < n && first[length] == first[0] && second[length] == second[0]) ++length;
  return length;
}

void putHeader(uint16_t header, std::vector<uint8_t>& packed) {
  packed.push_back(static_cast<uint8_t>(header));
  packed.push_back(static_cast<uint8_t>(header >> 8));
}

}  // namespace

void packPairs(const uint8_t* first, const uint8_t* second, std::size_t n,
               std::vector<uint8_t>& packed) {
  std::size_t literals = 0;
  const auto flush = [&](std::size_t end) {
    if (literals == 0) return;
    putHeader(static_cast<uint16_t>(literals), packed);
    const std::size_t begin = end - literals;
    packed.resize(packed.size() + 2 * literals);
    uint8_t* pairs = packed.data() + packed.size() - 2 * literals;
    for (std::size_t i = 0; i < literals; ++i) {
      pairs[2 * i] = first[begin + i];
      pairs[2 * i + 1] = second[begin + i];
    }
    literals = 0;
  };
  for (std::size_t i = 0; i < n;) {
    const std::size_t length = repetition(first + i, second + i, std::min(n - i, longestBlock));
    if (length >= shortestRepeat) {
      flush(i);
      putHeader(static_cast<uint16_t>(repeatFlag | length), packed);
      packed.push_back(first[i]);
      packed.push_back(second[i]);
      i += length;
      continue;
    }
    if (literals + length > longestBlock) flush(i);
    literals += length;
    i += length;
  }
  flush(n);
}

void PairReader::read(uint8_t* first, uint8_t* second, std::size_t n) {
  while (n > 0) {
    if (left_ == 0) {
      const auto header = static_cast<uint16_t>(next_[0] | next_[1] << 8);
      next_ += 2;
      repeated_ = (header & repeatFlag) != 0;
      left_ = header & longestBlock;
    }
    const std::size_t length = std::min(n, left_);
    left_ -= length;
    n -= length;
    if (repeated_) {
      std::memset(first, next_[0], length);
      std::memset(second, next_[1], length);
      if (left_ == 0) next_ += 2;
    } else {
      for (std::size_t i = 0; i < length; ++i) {
        first[i] = next_[2 * i];
        second[i] = next_[2 * i + 1];
      }
      next_ += 2 * length;
    }
    first += length;
    second += length;
  }
}

}  // namespace stiltforge
