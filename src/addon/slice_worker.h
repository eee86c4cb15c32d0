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
#include "analysis/plane.h"

namespace stiltforge {

/// Held while a layer is appended to SliceWorker::layers.
inline std::mutex g_pages_mutex;

/// The job of one AnalyseSlice call: copies the pixels, sends them down the SlicePipeline and makes
/// the result object of the layer that comes out. The settings and the history of the model are
/// static; what else the process keeps of it is in model_state.h. docs/parameters.md says which
/// values are good.
class SliceWorker : public Job {
 public:
  /// The size of every slice in pixels: each up to 65535, their product up to 2147483647.
  static inline uint16_t width = 0;
  static inline uint16_t height = 0;
  /// Slices of the model. Echoed in each result, used for nothing else.
  static inline uint32_t sliceCount = 0;
  /// Pixels that one support holds. It is stored and nothing reads it: the stages read
  /// Poisson::supportStrength, which is set from the same parameter.
  static inline float supportStrength = 0;
  /// Results carry the labelled pixels, the markers and the blue bytes.
  static inline bool needBuffer = false;
  /// The support pass runs. Without it results tell only the groups and what they rest on.
  static inline bool addSupport = true;

  /// The history, bottom first.
  static inline std::vector<Layer> layers;
  /// One marker per pixel, see FloodFill. Null until a slice with needBuffer needs it.
  static inline Plane<uint32_t> topPixelBuffer;

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

  uint16_t layerIndex = 0;  // echoed in the result, no part of the analysis
  Layer layer;
  std::size_t entry = 0;  // of `layers`, once analysed
  std::optional<Buffers> buffers;
  Plane<uint32_t> spentPixels;
};

}  // namespace stiltforge
