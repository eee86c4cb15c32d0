#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace stiltforge {

/// A run-length code for sequences of byte pairs (the blue and green channels of a region, which
/// are constant over most of it). Blocks of a 16-bit little-endian header: count, and with the top
/// bit set one pair that stands count times, otherwise count pairs. Encodings may be concatenated.

/// Appends the code of (first[i], second[i]) for i in [0, n) to `packed`.
void packPairs(const uint8_t* first, const uint8_t* second, std::size_t n,
               std::vector<uint8_t>& packed);

/// Decodes a concatenation of packPairs() outputs, pair by pair.
class PairReader {
 public:
  explicit PairReader(const std::vector<uint8_t>& packed) : next_(packed.data()) {}
  /// Reads the next n pairs; no more may be read than were packed.
  void read(uint8_t* first, uint8_t* second, std::size_t n);

 private:
  const uint8_t* next_;
  std::size_t left_ = 0;
  bool repeated_ = false;
};

}  // namespace stiltforge
