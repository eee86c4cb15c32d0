#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "node_api/host_memory.h"
#include "node_api/model_limits.h"

namespace stiltforge::binding {

/// "8 x 6 pixels".
std::string sizeText(std::size_t width, std::size_t height);

/// The whole number of a script value. Throws a refusal with that code, which says what `what` is
/// instead.
uint32_t wholeNumber(const Napi::Value& value, const char* code, const std::string& what,
                     double least, double most);

/// The bytes of a host's picture. Throws a refusal unless they are those of a slice of that size;
/// std::bad_alloc.
HostBytes pixelsOf(const Napi::Value& value, const SliceSize& size);

/// Throws a refusal unless the slices of a slicer, of so many pixels, have that size.
void requireSameSize(Napi::Env env, std::size_t width, std::size_t height, const SliceSize& model);

}  // namespace stiltforge::binding
