#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/plane.h"
#include "support/slice_pipeline.h"

namespace stiltforge {

/// The standing and the memory of the one model that the process can have open. Its settings and
/// its history are SliceWorker's. Written by jobs and, while none is queued, by the main thread of
/// the owner, see analysis_owner.h.
class ModelState {
 public:
  /// SliceWorker::layers holds only the husks of a model that was freed.
  static inline bool freed = false;
  /// Id of the environment that last changed the settings; 0: none did yet.
  static inline uint32_t openedBy = 0;
  /// Entries that SliceWorker::topPixelBuffer has once it is made.
  static inline std::size_t topPixelCount = 0;
  /// Poisson::ghostSpread fits Poisson::ghostRadius.
  static inline bool ghostSpreadCurrent = false;
  /// Lent from slice to slice.
  static inline SliceScratch scratch;

  /// Frees the model and starts one with an empty history. `topPixels` has pixelCount entries or,
  /// until they are needed, none.
  static void start(Plane<uint32_t> topPixels, std::size_t pixelCount);
  /// Frees all memory of the model, the ghost spread table and the two lists of ghosts. The history
  /// keeps its entries, emptied.
  static void close();

  /// Rebuilds Poisson::ghostSpread where it does not fit the settings.
  static void ensureGhostSpread();
  /// Makes SliceWorker::topPixelBuffer and fills it with zeros, unless this model has done so.
  static void ensureTopPixels();

  /// A plane with that many entries, left as it was: a kept one whose pages need not be faulted in
  /// again, or a new one.
  static Plane<uint32_t> takePixels(std::size_t count);
  /// Keeps the plane for takePixels() where there is room.
  static void keepPixels(Plane<uint32_t> pixels);

 private:
  static void freeModel();

  static inline bool topPixelsReady = false;
  static inline std::vector<Plane<uint32_t>> sparePixels;
};

}  // namespace stiltforge
