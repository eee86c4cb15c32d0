#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "runtime/scratch_vector.h"

namespace stiltforge {

/// Sets of the numbers 0 to size() - 1 that are united pair by pair (R. E. Tarjan, "Efficiency of a
/// good but not linear set union algorithm", 1975). The root of a set is its smallest number.
class DisjointSets {
 public:
  DisjointSets() = default;
  /// Each number in a set of its own.
  explicit DisjointSets(std::size_t size) : parent_(size), size_(size) {
    std::iota(parent_.begin(), parent_.end(), 0u);
  }

  std::size_t size() const { return size_; }

  /// Adds the next number, as a set of its own.
  uint32_t add() {
    reserve(1);
    return addIf(true);
  }
  /// Makes room for `more` calls of addIf().
  void reserve(std::size_t more) {
    if (size_ + more > parent_.size()) parent_.resize(std::max(2 * parent_.size(), size_ + more));
  }
  /// Returns the next number, which is added as a set of its own where `wanted`: without a branch,
  /// for callers whose wish is a toss-up.
  uint32_t addIf(bool wanted) {
    const auto next = static_cast<uint32_t>(size_);
    parent_[next] = next;
    size_ += wanted;
    return next;
  }

  uint32_t root(uint32_t number) {
    while (parent_[number] != number) {
      parent_[number] = parent_[parent_[number]];
      number = parent_[number];
    }
    return number;
  }
  /// Returns the root of both now.
  uint32_t unite(uint32_t a, uint32_t b) {
    a = root(a);
    b = root(b);
    const uint32_t root = std::min(a, b);
    parent_[std::max(a, b)] = root;
    return root;
  }

  /// Lets every number point to its root; parents are smaller, so one pass upwards does.
  void flatten() {
    for (std::size_t i = 0; i < size_; ++i) parent_[i] = parent_[parent_[i]];
  }
  /// The root, after flatten() and before further changes.
  uint32_t flatRoot(uint32_t number) const { return parent_[number]; }

  /// Replaces the numbers from `offset` on by the other's sets, shifted by it; those must fit.
  void put(uint32_t offset, const DisjointSets& other) {
    for (std::size_t i = 0; i < other.size_; ++i) parent_[offset + i] = other.parent_[i] + offset;
  }

 private:
  ScratchVector<uint32_t> parent_;
  std::size_t size_ = 0;
};

}  // namespace stiltforge
