#pragma once

#include <cstddef>
#include <vector>

namespace stiltforge::capi {

/// The handle, or null where it is none of its kind.
template <typename T>
const T* checked(const T* handle) {
  return handle && handle->isOf(T::kind) ? handle : nullptr;
}

/// What a function gives back of a list of a handle: null and 0 when it is empty, or null.
template <typename T>
const T* listOf(const std::vector<T>* list, std::size_t* count) {
  if (count) *count = list ? list->size() : 0;
  return list && !list->empty() ? list->data() : nullptr;
}

/// The same of a handle that may be none.
template <typename H, typename T>
const T* listOf(const H* handle, std::vector<T> H::*list, std::size_t* count) {
  return listOf(checked(handle) ? &(handle->*list) : nullptr, count);
}

}  // namespace stiltforge::capi
