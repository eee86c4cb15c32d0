#pragma once

#include <cstddef>

namespace stiltforge {

// While one exists, operator new throws std::bad_alloc, or gives nothing where it must not throw,
// for blocks of `bytes` and more, on every thread.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t bytes);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace stiltforge
