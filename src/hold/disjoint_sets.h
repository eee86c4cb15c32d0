#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace stiltforge::hold {

/// A forest of sets of numbers; the smallest number of a set stands for it.
class DisjointSets {
 public:
  uint32_t size() const { return static_cast<uint32_t>(parent_.size()); }

  /// Adds the next number, as a set of its own.
  uint32_t add() {
    parent_.push_back(size());
    return size() - 1;
  }

  uint32_t root(uint32_t number) {
    while (parent_[number] != number) {
      parent_[number] = parent_[parent_[number]];
      number = parent_[number];
    }
    return number;
  }

  /// Returns what stands for both now.
  uint32_t unite(uint32_t a, uint32_t b) {
    a = root(a);
    b = root(b);
    parent_[std::max(a, b)] = std::min(a, b);
    return std::min(a, b);
  }

 private:
  std::vector<uint32_t> parent_;
};

}  // namespace stiltforge::hold
