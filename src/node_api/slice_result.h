#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "analysis/slice_buffers.h"
#include "node_api/layer_result.h"
#include "node_api/result_buffer.h"
#include "node_api/value_maker.h"

namespace stiltforge {

/// The Buffers of a result that carries pixels.
struct SliceResultBuffers {
  /// For a slice of so many pixels. Throws std::bad_alloc.
  SliceResultBuffers(Napi::Env env, const MemoryFunctions& functions, std::size_t pixels);

  /// Where the analysis writes; `picture` as SliceBuffers says.
  SliceBuffers blocks(const uint32_t* picture);

  ResultBuffer pixel;
  ResultBuffer topPixel;
  ResultBuffer supportedPixels;
};

/// What a host is told of an analysed slice.
struct SliceResult {
  LayerResult layer;
  uint32_t sliceCount = 0;  ///< of the model, as the host gave it
  uint16_t layerIndex = 0;
  std::optional<SliceResultBuffers> buffers;
};

/// Turns results into the host's objects: SliceResult of packages/stiltforge/index.d.cts. One for
/// several results makes their keys once.
class SliceConverter {
 public:
  explicit SliceConverter(ValueMaker& make);
  napi_value convert(const SliceResult& slice) const;

 private:
  napi_value valueOf(const ResultBuffer& buffer) const;

  ValueMaker& make_;
  LayerConverter layers_;
  napi_value pixelBuffer_, topPixelBuffer_, width_, height_, sliceCount_, needBuffer_, layerIndex_,
      layer_, supportedPixels_;
};

}  // namespace stiltforge
