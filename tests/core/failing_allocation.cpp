#include "core/failing_allocation.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

std::atomic<std::size_t> largestBlock{std::numeric_limits<std::size_t>::max()};

}  // namespace

namespace stiltforge {

FailingAllocation::FailingAllocation(std::size_t bytes) {
  largestBlock = bytes - 1;
}

FailingAllocation::~FailingAllocation() {
  largestBlock = std::numeric_limits<std::size_t>::max();
}

}  // namespace stiltforge

void* operator new(std::size_t size) {
  if (size > largestBlock) throw std::bad_alloc();
  if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
  return size > largestBlock ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* operator new[](std::size_t size, const std::nothrow_t& how) noexcept {
  return operator new(size, how);
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete[](void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}

void operator delete(void* block, const std::nothrow_t& /*unused*/) noexcept {
  std::free(block);
}

void operator delete[](void* block, const std::nothrow_t& /*unused*/) noexcept {
  std::free(block);
}
