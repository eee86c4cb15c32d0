#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/run_rows.h"
#include "slicing/channel_falloff.h"

namespace stiltforge::slicing {

/// A picture with '#' for material, all rows equally long.
using MaskPicture = std::vector<std::string>;

RunRows runsOf(const MaskPicture& mask);

/// What ChannelFiller must write, by looking at every pair of pixels. `below` empty: on the plate.
std::vector<uint8_t> plainChannels(const MaskPicture& material, const MaskPicture& below,
                                   const ChannelFalloff& falloff);

}  // namespace stiltforge::slicing
