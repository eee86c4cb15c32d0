#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/slice.h"

namespace stiltforge::slicing {

/// The slice that this picture of it, `width` pixels wide, shows.
Slice sliceOf(const std::vector<uint8_t>& rgba, int width);

/// Fails the test where slices differ.
void expectEqual(const Slice& actual, const Slice& expected);
void expectEqual(std::span<const Slice> actual, std::span<const Slice> expected);

}  // namespace stiltforge::slicing
