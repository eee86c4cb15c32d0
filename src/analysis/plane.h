#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "runtime/huge_pages.h"

namespace stiltforge {

/// An owned block of plain values, left uninitialised: every user writes before it reads. A
/// moved-from or released plane is null and has size 0.
template <typename T>
class Plane {
 public:
  Plane() = default;
  explicit Plane(std::size_t size) : data_(new T[size]), size_(size) {
    preferHugePages(data_.get(), size * sizeof(T));
  }
  Plane(Plane&& other) noexcept : data_(std::move(other.data_)), size_(other.size_) {
    other.size_ = 0;
  }
  Plane& operator=(Plane&& other) noexcept {
    data_ = std::move(other.data_);
    size_ = other.size_;
    other.size_ = 0;
    return *this;
  }

  T* data() { return data_.get(); }
  const T* data() const { return data_.get(); }
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }

  void release() {
    data_.reset();
    size_ = 0;
  }

 private:
  std::unique_ptr<T[]> data_;
  std::size_t size_ = 0;
};

}  // namespace stiltforge
