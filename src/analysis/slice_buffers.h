#pragma once

#include <cstdint>

#include "analysis/layer.h"
#include "analysis/plane.h"

namespace stiltforge {

/// Where the pixels of an analysed slice go when a host wants them. Each block has an entry for
/// every pixel of the slice, row by row.
struct SliceBuffers {
  /// The picture as the host sent it, RGBA words whose low byte is red; read, null for background
  /// 0, 0, 0, 255. May be the same block as `labels`.
  const uint32_t* picture = nullptr;
  /// Background as in the picture, material as 0x80000000 + (label & 0xFFFFFF); written.
  uint32_t* labels = nullptr;
  /// Per pixel 0xFE000000 + (n & 0xFFFFFF) for the highest layer n so far with material there, 0
  /// without any; written. Null where only the model's record is to be kept.
  uint32_t* markers = nullptr;
  /// Support values of the material, 0 elsewhere; written.
  uint8_t* supportValues = nullptr;
};

/// Fills the three blocks from a segmented layer that still has its overhang, rows in parallel.
/// `markerRecord` belongs to the model and has an entry for every pixel index of the material: that
/// is marked there with `layerIndex`, then the record is copied out, with 0 beyond its end.
void fillBuffers(const Layer& layer, uint32_t layerIndex, Plane<uint32_t>& markerRecord,
                 const SliceBuffers& buffers);

}  // namespace stiltforge
