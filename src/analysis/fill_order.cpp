#include "analysis/fill_order.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace stiltforge {

namespace {

// The plain fill, for its order alone: slow, and run only for a slice that cannot be analysed
// anyway.
class ScanlineFill {
 public:
  ScanlineFill(const Slice& slice, std::size_t markers)
      : markers_(markers),
        width_(slice.width),
        height_(slice.height),
        state_(std::size_t{slice.width} * slice.height, background) {
    for (uint32_t y = 0; y < height_; ++y) {
      for (const Run& run : slice.material.row(static_cast<int>(y))) {
        uint8_t* const row = state_.data() + std::size_t{y} * width_;
        std::fill(row + run.begin, row + run.end, solid);
      }
    }
  }

  void run() {
    for (uint32_t i = 0; i < state_.size(); ++i) {
      if (state_[i] != solid) continue;
      stack_.push_back(i);
      while (!stack_.empty()) {
        const uint32_t seed = stack_.back();
        stack_.pop_back();
        fillColumn(seed % width_, seed / width_);
      }
    }
  }

 private:
  enum State : uint8_t { background, solid, labelled };

  void visit(uint32_t i) {
    if (state_[i] != solid) return;
    if (i >= markers_) {
      throw std::out_of_range("vector::_M_range_check: __n (which is " + std::to_string(i) +
                              ") >= this->size() (which is " + std::to_string(markers_) + ")");
    }
    state_[i] = labelled;
  }

  void lookAside(bool inside, uint32_t neighbour, bool& flag) {
    if (!inside || state_[neighbour] == background) {
      flag = false;
    } else if (state_[neighbour] == solid && !flag) {
      stack_.push_back(neighbour);
      flag = true;
    }
  }

  void fillColumn(uint32_t x, uint32_t y) {
    while (y > 0 && state_[(y - 1) * width_ + x] != background) --y;
    bool left = false;
    bool right = false;
    for (;; ++y) {
      const uint32_t i = y * width_ + x;
      visit(i);
      lookAside(x > 0, i - 1, left);
      lookAside(x + 1 < width_, i + 1, right);
      if (y + 1 == height_) return;
      const uint32_t below = i + width_;
      if (state_[below] != background) continue;
      if (x > 0 && state_[below - 1] == solid && !left) stack_.push_back(below - 1);
      if (x + 1 < width_ && state_[below + 1] == solid && !right) stack_.push_back(below + 1);
      return;
    }
  }

  const std::size_t markers_;
  const uint32_t width_;
  const uint32_t height_;
  std::vector<uint8_t> state_;
  std::vector<uint32_t> stack_;
};

}  // namespace

void requireMarkers(const Slice& slice, std::size_t markers) {
  ScanlineFill(slice, markers).run();
}

}  // namespace stiltforge
