#pragma once

#include <cstdint>

namespace stiltforge {

/// What is known of a model before it is analysed. The first five are certain; of the others a host
/// gives what it expects, rather too much than too little.
struct ModelSize {
  uint16_t width = 0;   ///< pixels
  uint16_t height = 0;  ///< pixels
  uint32_t layers = 0;
  bool needBuffer = false;
  float ghostRadius = 0;  ///< Settings::ghostRadius, pixels

  uint32_t queuedSlices = 1;      ///< handed over and not yet analysed, at any one time
  uint32_t heldResults = 0;       ///< results with buffers that the host keeps
  uint32_t regionsPerLayer = 20;  ///< in the layers with the most
  uint64_t supports = 0;          ///< in the whole model
  /// Unsupported pixels of a region for each support that it gets: Settings::supportStrength,
  /// unless the slices mark wide regions as unsupported over and over.
  double pixelsPerSupport = 0;
  double unsupportedShare = 0.1;     ///< of a layer's pixels, in the layer with the most
  uint32_t ghostsPerRegion = 10000;  ///< Settings::maxGhost
};

/// Bytes that an analysis takes at its peak, beyond what the process holds without it and beyond
/// the host's own slices.
struct MemoryEstimate {
  uint64_t slices = 0;  ///< runs and overhang of the slices in hand and, with buffers, their pixels
  uint64_t regions = 0;    ///< labels, groups and their relations, of two layers
  uint64_t placement = 0;  ///< work space of the support pass
  uint64_t history = 0;    ///< what stays of every layer: boxes, supports, packed samples
  uint64_t fixed = 0;      ///< threads, tables, allocator

  uint64_t total() const { return slices + regions + placement + history + fixed; }
};

/// Predicts the peak from the sizes of the structures that the stages keep. It is an upper bound
/// for parts whose rows cross a region a few times; a slice of thin stripes or noise takes more:
/// count its runs as regions.
MemoryEstimate estimateMemory(const ModelSize& model);

}  // namespace stiltforge
