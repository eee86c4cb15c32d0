#pragma once

#include <cstdint>
#include <span>

#include "analysis/slice.h"
#include "slicing/slice_info.h"

namespace stiltforge::slicing {

/// The layers of a model as slices, counted from 0 at the plate, whatever they are made of. One
/// call at a time.
class SliceSource {
 public:
  virtual ~SliceSource() = default;
  SliceSource() = default;
  SliceSource(const SliceSource&) = delete;
  SliceSource& operator=(const SliceSource&) = delete;

  virtual uint32_t layerCount() const = 0;
  virtual uint32_t width() const = 0;   ///< pixels of a slice
  virtual uint32_t height() const = 0;  ///< pixels of a slice

  /// Replaces slices[i] by layer first + i, all of them below layerCount, or it throws. The layers
  /// are spread over the worker pool: a few for each worker are enough to keep all busy. Calls that
  /// go on where the last ended are cheapest.
  virtual void slice(uint32_t first, std::span<Slice> slices) = 0;

  /// The same layer as a picture: writes layer `index`, below layerCount, into width * height * 4
  /// bytes; see ChannelFiller for the pixels.
  virtual SliceInfo slice(uint32_t index, uint8_t* rgba) = 0;
};

}  // namespace stiltforge::slicing
