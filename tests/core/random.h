#pragma once

#include <cstdint>
#include <random>

namespace stiltforge {

// Numbers for randomised tests, the same for a seed on every standard library.
class Random {
 public:
  explicit Random(uint64_t seed) : engine_(seed) {}

  // In [0, n).
  uint32_t below(uint32_t n) { return static_cast<uint32_t>(engine_() % n); }
  // In [low, high].
  int between(int low, int high) {
    return low + static_cast<int>(below(static_cast<uint32_t>(high - low) + 1));
  }
  bool oneIn(uint32_t n) { return below(n) == 0; }
  // In [0, 1).
  float unit() { return static_cast<float>(engine_() >> 40) / 16777216.0f; }

 private:
  std::mt19937_64 engine_;
};

}  // namespace stiltforge
