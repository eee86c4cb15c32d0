#pragma once

#include <cstdint>
#include <vector>

#include "slicing/channel_falloff.h"
#include "slicing/mask_pictures.h"

namespace stiltforge::slicing {

/// What ChannelFiller must write, by looking at every pair of pixels. `below` empty: on the plate.
std::vector<uint8_t> plainChannels(const MaskPicture& material, const MaskPicture& below,
                                   const ChannelFalloff& falloff);

}  // namespace stiltforge::slicing
