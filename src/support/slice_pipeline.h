#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "analysis/layer.h"

namespace stiltforge {

/// Thrown by SlicePipeline::run when its `cancelled` flag was raised between two stages.
struct AnalysisCancelled : std::runtime_error {
  AnalysisCancelled() : std::runtime_error("the analysis was cancelled") {}
};

/// Storage that finished slices leave to the next one, so that a model touches fresh memory once.
struct SliceScratch {
  Plane<uint8_t> supportedPixels;
  Plane<uint8_t> strokePixels;
  std::vector<SolidRun> runs;

  void lend(Layer& layer);
  /// Takes the planes of a slice that is done; its blue bytes stay when they are `wanted`.
  void takePlanes(Layer& layer, bool wanted);
  /// Takes the runs of a layer that no later step reads.
  void takeRuns(Layer& layer);
};

/// The road of one slice: segmentation, append to the history, retirement and inheritance of
/// ghosts, support placement, release of the layer below. One slice at a time; the context is built
/// for one call of run().
struct SlicePipeline {
  std::vector<Layer>* layers = nullptr;  ///< the history, bottom first
  std::mutex* historyMutex = nullptr;    ///< held while the layer is appended
  /// One marker per pixel of the screen, see FloodFill; the plane may be null when needBuffer is
  /// false, topPixelCount is the size that it has or would have.
  Plane<uint32_t>* topPixelBuffer = nullptr;
  std::size_t topPixelCount = 0;
  /// Fill Layer::pixelBuffer with labels, Layer::supportedPixels and the markers.
  bool needBuffer = false;
  bool addSupport = true;
  const std::atomic<bool>* cancelled = nullptr;  ///< optional
  SliceScratch* scratch = nullptr;               ///< optional; kept from slice to slice

  /// Takes a layer with width, height and pixelBuffer set, everything else empty; leaves it,
  /// analysed, as the last entry of *layers. Returns the number of supports placed. When needBuffer
  /// is false the layer's pixelBuffer comes back in `spentPixels` for reuse. Throws what the stages
  /// throw; after a failure beyond segmentation the entry stays in the history.
  uint32_t run(Layer layer);

  Plane<uint32_t> spentPixels;
};

}  // namespace stiltforge
