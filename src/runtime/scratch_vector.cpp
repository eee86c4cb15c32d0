#include "runtime/scratch_vector.h"

#include <array>
#include <bit>
#include <mutex>
#include <new>
#include <vector>

#include "runtime/huge_pages.h"

namespace stiltforge::scratch_memory {

namespace {

// Smaller blocks hardly ever go back to the system.
constexpr std::size_t smallest = std::size_t{1} << 13;

// The address sanitizer must see where each block ends, so under it none is kept.
#ifndef __has_feature
#define __has_feature(x) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
constexpr std::size_t mostKept = 0;
#else
constexpr std::size_t mostKept = std::size_t{64} << 20;
#endif

struct Cache {
  std::mutex mutex;
  std::array<std::vector<void*>, 64> blocks;  // by the binary logarithm of their size
  std::size_t bytes = 0;
};

// Never destroyed, since workers may outlive the destruction of static objects.
Cache& cache() {
  static Cache& instance = *new Cache;
  return instance;
}

std::vector<void*>& blocksOf(std::size_t size) {
  return cache().blocks[static_cast<std::size_t>(std::countr_zero(size))];
}

// Frees a block of the largest size that is not `size`; false when there is none.
bool dropOther(std::size_t size) {
  for (std::size_t other = mostKept; other >= smallest; other /= 2) {
    std::vector<void*>& free = blocksOf(other);
    if (other == size || free.empty()) continue;
    ::operator delete(free.back());
    free.pop_back();
    cache().bytes -= other;
    return true;
  }
  return false;
}

bool isKept(std::size_t bytes) {
  return bytes >= smallest && bytes <= mostKept;
}

}  // namespace

void* take(std::size_t bytes) {
  if (!isKept(bytes)) return ::operator new(bytes);
  const std::size_t size = std::bit_ceil(bytes);
  {
    const std::lock_guard<std::mutex> lock(cache().mutex);
    std::vector<void*>& free = blocksOf(size);
    if (!free.empty()) {
      void* const block = free.back();
      free.pop_back();
      cache().bytes -= size;
      return block;
    }
  }
  void* const block = ::operator new(size);
  preferHugePages(block, size);
  return block;
}

void give(void* block, std::size_t bytes) noexcept {
  if (isKept(bytes)) {
    const std::size_t size = std::bit_ceil(bytes);
    try {
      const std::lock_guard<std::mutex> lock(cache().mutex);
      bool fits = cache().bytes + size <= mostKept;
      while (!fits && dropOther(size)) fits = cache().bytes + size <= mostKept;
      if (fits) {
        blocksOf(size).push_back(block);
        cache().bytes += size;
        return;
      }
    } catch (const std::bad_alloc&) {
      // The list of blocks could not grow, so this one is not kept.
    }
  }
  ::operator delete(block);
}

void release() noexcept {
  const std::lock_guard<std::mutex> lock(cache().mutex);
  for (std::vector<void*>& free : cache().blocks) {
    for (void* block : free) ::operator delete(block);
    std::vector<void*>().swap(free);
  }
  cache().bytes = 0;
}

std::size_t kept() noexcept {
  const std::lock_guard<std::mutex> lock(cache().mutex);
  return cache().bytes;
}

}  // namespace stiltforge::scratch_memory
