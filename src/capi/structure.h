#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "capi/refusal.h"

namespace stiltforge::capi {

/// Bytes of a structure in the first version that had it: its fields without what follows them.
template <typename T>
constexpr std::size_t firstSize = 0;

/// More than any structure of a later version can have.
inline constexpr std::size_t mostStructSize = 4096;

template <typename T>
std::size_t checkedSize(const T* structure, const char* name) {
  static_assert(firstSize<T> > 0 && firstSize<T> <= sizeof(T));
  requireArgument(structure, name);
  const std::size_t size = structure->struct_size;
  if (size < firstSize<T> || size > mostStructSize) {
    throw InvalidArgument(std::string(name) + "->struct_size is " + std::to_string(size) +
                          "; it must be the size of the structure, which is " +
                          std::to_string(sizeof(T)) + " in this version");
  }
  return size;
}

/// The host's structure; fields that its header did not have yet are zero.
template <typename T>
T readStructure(const T* given, const char* name) {
  const std::size_t size = checkedSize(given, name);
  T structure{};
  std::memcpy(&structure, given, std::min(size, sizeof(T)));
  const auto* bytes = reinterpret_cast<const unsigned char*>(given);
  const bool isKnown =
      size <= sizeof(T) ||
      std::all_of(bytes + sizeof(T), bytes + size, [](unsigned char byte) { return byte == 0; });
  if (!isKnown) {
    throw InvalidArgument(std::string(name) +
                          " sets fields that this version of the library does not know");
  }
  return structure;
}

/// Fills the host's structure in, as far as it reaches; fields that are not known become zero.
template <typename T>
void writeStructure(T* target, T value, const char* name) {
  const std::size_t size = checkedSize(target, name);
  value.struct_size = size;
  std::memcpy(target, &value, std::min(size, sizeof(T)));
  if (size > sizeof(T)) {
    std::memset(reinterpret_cast<unsigned char*>(target) + sizeof(T), 0, size - sizeof(T));
  }
}

}  // namespace stiltforge::capi
