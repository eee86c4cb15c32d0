#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "analysis/run_rows.h"
#include "slicing/channel_filler.h"
#include "slicing/layer_contours.h"
#include "slicing/mesh_report.h"
#include "slicing/screen_placement.h"
#include "slicing/slice_info.h"
#include "slicing/slice_rasterizer.h"

namespace stiltforge::slicing {

/// The most layers of a model.
inline constexpr uint32_t mostLayers = 65535;

struct SlicerSettings {
  ScreenSettings screen;
  /// layerHeight is the slicer's; pixelSize is taken from the screen.
  ChannelSettings channels;
};

/// Cuts a triangle mesh into RGBA slices, bottom first.
///
/// Layer i is cut through its middle, (i + 0.5) * layerHeight above the model's lowest point, which
/// stands on the plate. The last layer is the last whose middle lies below the model's highest
/// point. The same mesh and settings give the same bytes on every platform and in any order of
/// layers.
class Slicer {
 public:
  /// positions: nine floats a triangle, mm, see TriangleMesh. Throws SlicingError when the mesh or
  /// a setting cannot be sliced: what is wrong, by how much, and what to do.
  Slicer(std::span<const float> positions, const SlicerSettings& settings);

  uint32_t layerCount() const { return layerCount_; }
  const ScreenPlacement& placement() const { return placement_; }
  const MeshReport& report() const { return report_; }

  /// Writes layer `index`, below layerCount, into width * height * 4 bytes; see ChannelFiller for
  /// the pixels. Ascending calls are cheapest: other orders compute the layer below anew. One call
  /// at a time.
  SliceInfo slice(uint32_t index, uint8_t* rgba);

 private:
  Slicer(TriangleMesh mesh, const SlicerSettings& settings);

  double heightOf(uint32_t index) const { return (index + 0.5) * layerHeight_; }
  void rasterize(uint32_t index, RunRows& material);

  double layerHeight_;
  uint32_t layerCount_;
  ScreenPlacement placement_;
  MeshReport report_;
  LayerContours contours_;
  SliceRasterizer rasterizer_;
  ChannelFiller filler_;
  RunRows material_;  // of the layer last sliced
  std::optional<uint32_t> lastIndex_;
  RunRows below_;
};

}  // namespace stiltforge::slicing
