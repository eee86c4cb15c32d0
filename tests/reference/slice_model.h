#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace stiltforge::reference {

struct Group;

// One pixel of a group's bounding box, or a support point.
struct Voxel {
  uint32_t index = 0;  // y * slice width + x
  uint16_t x = 0;
  uint16_t y = 0;
  uint16_t z = 0;  // number of layers when the voxel was made, its own layer included
  bool inGroup = false;
  bool offLattice = false;
  bool isSupport = false;
  bool isMinima = false;
  bool toDelete = false;
  bool isSample = false;
  float ghostSum = 0.0f;
  float ghostMax = 0.0f;
  float angleSum = 0.0f;
  float strokeSum = 0.0f;
  float score = 0.0f;
};

// The cell of one support. No later step reads the best sample, the pushed site and the cell's
// own largest distance: the supports do not depend on them.
struct Voronoi {
  float sumX = 0.0f;  // running mean of the assigned samples, the centroid
  float sumY = 0.0f;
  uint32_t count = 0;
  uint32_t bestSample = 0;  // x in the low half, y in the high half
  float bestScore = std::numeric_limits<float>::infinity();
  float siteX = 0.0f;
  float siteY = 0.0f;
  float radius = 100.0f;
  float maxDist2 = 0.0f;
  Group* group = nullptr;
};

// What is measured of a group. An analysis fills it; its result shows it.
struct GroupFigures {
  uint32_t id = 0;
  uint32_t numPixel = 0;
  uint32_t supportedPixel = 0;  // pixels over any group of the layer below
  uint16_t xMin = 0;            // box: xMax and yMax are exclusive, spans are last minus first
  uint16_t yMin = 0;
  uint16_t xMax = 0;
  uint16_t yMax = 0;
  uint16_t spanX = 0;
  uint16_t spanY = 0;
  uint32_t islandDistance = 0;
  std::vector<uint32_t> overlap;  // shared pixels, by id of the group below
  float strength = 0.0f;
  float pixelStrength = 0.0f;
  float maxScore = 0.0f;
  uint32_t unsupportedPixelCount = 0;
  uint32_t almostNotBlueCount = 0;
  uint32_t islandBlueCount = 0;
  float angleNorm = 0.1f;
  float ghostNorm = 0.1f;
  float strokeNorm = 0.1f;
  float scoreNorm = 0.1f;
};

// A connected region of material in one layer.
struct Group : GroupFigures {
  std::vector<std::unique_ptr<Voxel>> samples;  // the box, row by row; empty until sampled
  std::vector<std::unique_ptr<Voxel>> supports;
  std::vector<const Voxel*> ghostSupports;  // supports of lower groups
};

// One analysed slice. `groups` starts with a placeholder, so that an id is an index and label 0
// means no group.
struct Layer {
  uint16_t width = 0;
  uint16_t height = 0;
  std::vector<uint32_t> pixelBuffer;  // background as sent, material as 0x80000000 + label
  std::vector<uint32_t> labels;
  std::vector<uint8_t> supportedPixels;
  std::vector<uint8_t> strokePixels;
  uint32_t pixelCount = 0;
  uint32_t groupCount = 0;
  std::vector<std::unique_ptr<Group>> groups;
};

}  // namespace stiltforge::reference
