#pragma once

#include <cstring>
#include <type_traits>

namespace stiltforge {

/// std::bit_cast, which the C++ library of emscripten 3.1 lacks.
template <typename To, typename From>
To bitCast(const From& from) {
  static_assert(sizeof(To) == sizeof(From));
  static_assert(std::is_trivially_copyable_v<To> && std::is_trivially_copyable_v<From>);
  To to;
  std::memcpy(&to, &from, sizeof to);
  return to;
}

}  // namespace stiltforge
