#pragma once

#include <cstdint>
#include <vector>

#include "reference/group_bitmaps.h"
#include "reference/slice_model.h"
#include "reference/stack.h"

namespace stiltforge::reference {

struct SupportResult {
  uint32_t index = 0;
  uint16_t x = 0;
  uint16_t y = 0;
  uint16_t z = 0;
  bool isMinima = false;
  float score = 0.0f;
  friend bool operator==(const SupportResult&, const SupportResult&) = default;
};

// Where an inherited support was placed: slice from 0, group id from 1, position in its supports.
struct GhostResult {
  uint32_t layerIndex = 0;
  uint32_t groupIndex = 0;
  uint32_t supportIndex = 0;
  friend bool operator==(const GhostResult&, const GhostResult&) = default;
};

struct GroupResult : GroupFigures {
  std::vector<SupportResult> supports;
  std::vector<GhostResult> ghostSupports;
  GroupBitmaps bitmaps;
};

struct SliceResult {
  uint16_t width = 0;
  uint16_t height = 0;
  uint32_t pixelCount = 0;
  uint32_t groupCount = 0;
  uint32_t supportCount = 0;
  std::vector<GroupResult> groups;  // without the placeholder: entry k is the group with id k + 1
  std::vector<uint32_t> pixelBuffer;
  std::vector<uint32_t> topPixelBuffer;
  std::vector<uint8_t> supportedPixels;
};

// Analyses a whole stack, slice after slice, group after group.
std::vector<SliceResult> analyseStack(const Stack& stack);

}  // namespace stiltforge::reference
