#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "analysis/voxel.h"

namespace stiltforge {

/// Columns [xMin, xMax) and rows [yMin, yMax) of a slice, pixels.
struct Box {
  uint16_t xMin = 0;
  uint16_t yMin = 0;
  uint16_t xMax = 0;
  uint16_t yMax = 0;
};

/// Columns [begin, end) of row y.
struct RowSpan {
  uint16_t y = 0;
  uint16_t begin = 0;
  uint16_t end = 0;
};

/// What a sampled group keeps so that its sampling state can be rebuilt after its layer's pixels
/// are gone: the blue and green bytes of its unsupported pixels, packed, and the lattice and
/// normalisers that the sampler ended with.
struct SampleRecord {
  std::vector<RowSpan> rows;    ///< maximal runs of unsupported pixels, in raster order
  std::vector<uint8_t> packed;  ///< their (blue, green) pairs, see analysis/byte_pairs.h
  uint32_t stepX = 1;
  uint32_t stepY = 1;
  float ghostNorm = 0.1f;
  float scoreNorm = 0.1f;
};

/// The supports of a group, its own and the ones it inherited.
struct Placement {
  std::vector<Voxel> supports;
  std::vector<Voxel*> ghostSupports;      ///< owned by groups of lower layers
  std::unique_ptr<SampleRecord> samples;  ///< null when the generator never sampled the group
};

/// One connected region of material of one layer.
struct Group {
  uint32_t id = 0;              ///< label, and index in Layer::groups; 0 is the placeholder
  uint32_t numPixel = 0;        ///< pixels of the region
  uint32_t supportedPixel = 0;  ///< pixels that lie over any group of the layer below
  uint16_t xMin = 0;
  uint16_t yMin = 0;
  uint16_t xMax = 0;                     ///< exclusive
  uint16_t yMax = 0;                     ///< exclusive
  uint32_t islandDistance = 0;           ///< layers of continuous material below; 0 for an island
  uint32_t firstOverlap = 0;             ///< index in Layer::overlaps of the group's first entry
  uint32_t overlapEntries = 0;           ///< lower groups that this group touches
  float pixelStrength = 0;               ///< support strength per pixel, weighed by the layer above
  float fromBelow = 0;                   ///< strength that the layer below passes up, pixels
  float owed = 0;                        ///< weight that nothing held before its supports, pixels
  uint32_t unsupportedPixelCount = 0;    ///< pixels with blue below 255
  uint32_t almostNotBlueCount = 0;       ///< ... below Settings::almostNotBlueCounterLimit
  uint32_t islandBlueCount = 0;          ///< ... below Settings::islandMinBlue
  std::unique_ptr<Placement> placement;  ///< null while there is nothing to hold

  Box box() const { return {xMin, yMin, xMax, yMax}; }
  Placement& ensurePlacement() {
    if (!placement) placement = std::make_unique<Placement>();
    return *placement;
  }
};

}  // namespace stiltforge
