#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis/run_rows.h"

namespace stiltforge {

/// Appends a row of grey pixels, one byte each, as the runs of those of at least `threshold`, which
/// is above 0.
void addMaskRow(const uint8_t* row, int width, uint8_t threshold, RunRows& material);

/// The material of a grey picture, one byte a pixel: pixels of at least `threshold`, which is above
/// 0. `stride` is the distance between the starts of two rows, in bytes. Replaces `material`.
void findMaskRuns(const uint8_t* mask, std::size_t stride, int width, int height, uint8_t threshold,
                  RunRows& material);

}  // namespace stiltforge
