#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace stiltforge::digest {

// FNV-1a, 64 bits (G. Fowler, L. C. Noll, K.-P. Vo), over the bytes of values, low byte first on
// every machine. Floats count by their bits, but every NaN is the same: its sign is the
// processor's.
class Digest {
 public:
  template <typename T>
  void add(T value) {
    static_assert(std::is_arithmetic_v<T>);
    if constexpr (std::is_floating_point_v<T>) {
      const T counted = std::isnan(value) ? std::numeric_limits<T>::quiet_NaN() : value;
      std::conditional_t<sizeof(T) == sizeof(uint32_t), uint32_t, uint64_t> word = 0;
      static_assert(sizeof word == sizeof counted);
      std::memcpy(&word, &counted, sizeof word);
      addBytes(word, sizeof word);
    } else {
      static_assert(std::is_integral_v<T>);
      addBytes(
          static_cast<
              std::make_unsigned_t<std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>>>(
              value),
          sizeof value);
    }
  }

  // A list counts with its length, so that neighbours cannot trade entries.
  template <typename T>
  void add(const std::vector<T>& values) {
    add(static_cast<uint64_t>(values.size()));
    for (const T& value : values) add(value);
  }

  uint64_t value() const { return state_; }

 private:
  void addBytes(uint64_t word, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      state_ = (state_ ^ (word >> (8 * i) & 0xFF)) * 0x100000001b3u;
    }
  }

  uint64_t state_ = 0xcbf29ce484222325u;
};

}  // namespace stiltforge::digest
