#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "addon/job.h"
#include "addon/result_buffer.h"
#include "analysis/layer.h"
#include "support/slice_pipeline.h"

namespace stiltforge {

inline std::mutex g_pages_mutex;  ///< held while a layer is appended to SliceWorker::layers

/// The job of one AnalyseSlice call, and the settings and state of the model that it works on. The
/// state is written by jobs and, while none is queued, by the main thread of its owner.
class SliceWorker : public Job {
 public:
  static inline uint16_t width = 0;
  static inline uint16_t height = 0;
  static inline uint32_t sliceCount = 0;
  static inline float supportStrength = 0;
  static inline bool needBuffer = false;
  static inline bool addSupport = true;
  static inline std::vector<Layer> layers;  ///< the history, bottom first
  /// One marker per pixel, see FloodFill. Made when a slice first needs it.
  static inline Plane<uint32_t> topPixelBuffer;
  static inline std::size_t topPixelCount = 0;  ///< entries that topPixelBuffer has once it is made
  static inline bool topPixelsWritten = false;  ///< its entries are zeros or markers
  static inline bool ghostSpreadCurrent =
      false;  ///< Poisson::ghostSpread fits Poisson::ghostRadius
  static inline bool modelFreed =
      false;                            ///< `layers` holds only the husks of a model that was freed
  static inline uint32_t openedBy = 0;  ///< id of the environment that last changed the settings

  /// Empties the history. `topPixels` has that many entries or, until they are needed, none.
  static void startModel(Plane<uint32_t> topPixels, std::size_t pixelCount);
  /// Frees all memory of the model; `layers` keeps its entries, emptied.
  static void freeModel();
  /// Frees the ghost spread table and the two lists of ghosts.
  static void freeGhosts();
  /// Rebuilds Poisson::ghostSpread where it does not fit the settings.
  static void ensureGhostSpread();

  /// `pixels` are width * height RGBA words, which are copied.
  SliceWorker(const Napi::Function& callback, std::shared_ptr<Environment> owner,
              uint16_t echoedIndex, const void* pixels);

  std::string subject() const override;

 private:
  struct Buffers {
    ResultBuffer pixel;
    ResultBuffer topPixel;
    ResultBuffer supportedPixels;
  };

  void work() override;
  void OnOK() override;
  void fillBuffers(Layer& analysed);

  static Plane<uint32_t> takePixels(std::size_t count);
  static void keepPixels(Plane<uint32_t> pixels);

  uint16_t layerIndex = 0;  // echoed in the result, no part of the analysis
  Layer layer;
  std::size_t entry = 0;  // of `layers`, once analysed
  std::optional<Buffers> buffers;
  Plane<uint32_t> spentPixels;

  // The pixel copies of earlier slices: memory whose pages need not be faulted in again.
  static inline std::vector<Plane<uint32_t>> sparePixels;
  static inline SliceScratch scratch;
};

}  // namespace stiltforge
