#pragma once

#include <cstdint>
#include <span>

#include "analysis/run_rows.h"

namespace stiltforge::printer_files {

/// Replaces `material` by the pixels of a layer that are at least as bright as the threshold, which
/// is above 0. `packed` are the layer's runs with the byte before and the checksum behind them.
/// Throws Defect when they are damaged or not of as many pixels as there should be.
void decodeGooLayer(std::span<const uint8_t> packed, uint32_t width, uint32_t height,
                    uint8_t threshold, RunRows& material);

}  // namespace stiltforge::printer_files
