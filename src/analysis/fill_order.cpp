#include "analysis/fill_order.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace stiltforge {

namespace {

// The plain fill, for its order alone: slow, and run only for a slice that cannot be analysed
// anyway.
class ScanlineFill {
 public:
  ScanlineFill(const Layer& layer, std::size_t markers)
      : layer_(layer), markers_(markers), width_(layer.width), state_(layer.pixelBuffer.size()) {
    for (std::size_t i = 0; i < state_.size(); ++i) {
      state_[i] = (layer.pixelBuffer[i] & 0xFF) != 0 ? solid : background;
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
      if (y + 1 == layer_.height) return;
      const uint32_t below = i + width_;
      if (state_[below] != background) continue;
      if (x > 0 && state_[below - 1] == solid && !left) stack_.push_back(below - 1);
      if (x + 1 < width_ && state_[below + 1] == solid && !right) stack_.push_back(below + 1);
      return;
    }
  }

  const Layer& layer_;
  const std::size_t markers_;
  const uint32_t width_;
  std::vector<uint8_t> state_;
  std::vector<uint32_t> stack_;
};

}  // namespace

void requireMarkers(const Layer& layer, std::size_t markers) {
  ScanlineFill(layer, markers).run();
}

}  // namespace stiltforge
