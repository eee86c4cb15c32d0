#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace stiltforge {

/// Memory of large temporary lists, kept for the next ones: in a slice of noise, taking pages from
/// the system and giving them back costs as much as a fifth of the work. Any thread may call.
namespace scratch_memory {

/// At least `bytes` bytes, aligned for any scalar type. Throws std::bad_alloc.
void* take(std::size_t bytes);
/// Takes back what take(bytes) returned; keeps at most 64 MiB, rather of the sizes
/// that are in use now than of earlier ones.
void give(void* block, std::size_t bytes) noexcept;
/// Frees what is kept.
void release() noexcept;
/// Bytes that are kept.
std::size_t kept() noexcept;

}  // namespace scratch_memory

/// Standard allocator over scratch_memory.
template <typename T>
struct ScratchAllocator {
  static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
  using value_type = T;

  ScratchAllocator() = default;
  template <typename U>
  ScratchAllocator(const ScratchAllocator<U>&) noexcept {}

  T* allocate(std::size_t n) { return static_cast<T*>(scratch_memory::take(n * sizeof(T))); }
  void deallocate(T* block, std::size_t n) noexcept { scratch_memory::give(block, n * sizeof(T)); }

  /// A new element is left as the memory is where its type allows: who makes a list longer writes
  /// it.
  template <typename U>
  void construct(U* place) noexcept(std::is_nothrow_default_constructible_v<U>) {
    ::new (static_cast<void*>(place)) U;
  }
  template <typename U, typename... Args>
  void construct(U* place, Args&&... args) {
    ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
  }

  template <typename U>
  bool operator==(const ScratchAllocator<U>&) const noexcept {
    return true;
  }
};

/// A list that lives for one stage of one slice and may have an entry for every run of the slice.
template <typename T>
using ScratchVector = std::vector<T, ScratchAllocator<T>>;

}  // namespace stiltforge
