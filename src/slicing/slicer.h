#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "analysis/run_rows.h"
#include "analysis/slice.h"
#include "slicing/channel_falloff.h"
#include "slicing/channel_filler.h"
#include "slicing/layer_contours.h"
#include "slicing/mesh_report.h"
#include "slicing/screen_placement.h"
#include "slicing/slice_info.h"
#include "slicing/slice_source.h"

namespace stiltforge::slicing {

/// The most layers of a model.
inline constexpr uint32_t mostLayers = 65535;

struct SlicerSettings {
  ScreenSettings screen;
  /// layerHeight is the slicer's; pixelSize is taken from the screen.
  ChannelSettings channels;
  double lift = 0;  ///< mm from the plate to the model's lowest point; layers below it are empty
};

/// Cuts a triangle mesh into slices, bottom first.
///
/// Layer i is cut through its middle, (i + 0.5) * layerHeight above the plate, on which the model's
/// lowest point stands unless it is lifted. The last layer is the last whose middle lies below the
/// model's highest point. The same mesh and settings give the same slices on every platform, in any
/// order of layers and for any number of workers. One call at a time.
class Slicer : public SliceSource {
 public:
  /// positions: nine floats a triangle, mm, see TriangleMesh. Throws SlicingError when the mesh or
  /// a setting cannot be sliced: what is wrong, by how much, and what to do.
  Slicer(std::span<const float> positions, const SlicerSettings& settings);

  uint32_t layerCount() const override { return layerCount_; }
  uint32_t width() const override { return static_cast<uint32_t>(placement_.width); }
  uint32_t height() const override { return static_cast<uint32_t>(placement_.height); }
  const ScreenPlacement& placement() const { return placement_; }
  /// Of the mesh with its triangles oriented coherently, as the slices have it; the misoriented
  /// edges are those of the mesh as it came.
  const MeshReport& report() const { return report_; }
  /// Triangles of the mesh, ascending, that the slices have turned around, see orientCoherently().
  const std::vector<uint32_t>& turnedTriangles() const { return turnedTriangles_; }

  /// mm above the plate: the middle of the layer.
  double heightOf(uint32_t index) const { return (index + 0.5) * layerHeight_; }
  /// z of the plate in the mesh's coordinates, mm.
  double plateZ() const { return report_.bounds.min.z - lift_; }

  /// Replaces slices[i] by layer first + i, all of them below layerCount, or it throws
  /// SlicingError. The layers are spread over the worker pool: a few for each worker are enough to
  /// keep all busy. Needs memory for the contours of these layers, none for the screen's pixels.
  /// Calls that go on where the last ended are cheapest.
  void slice(uint32_t first, std::span<Slice> slices) override;

  /// The same layer as a picture: writes layer `index`, below layerCount, into width * height * 4
  /// bytes; see ChannelFiller for the pixels.
  SliceInfo slice(uint32_t index, uint8_t* rgba) override;

 private:
  Slicer(TriangleMesh mesh, const SlicerSettings& settings);

  double widestGap();
  void requireLayers(uint32_t first, std::size_t count) const;
  const RunRows* materialBelow(uint32_t index);
  void sweepTo(uint32_t index, LayerContours::Cut& cut);
  void rasterize(const LayerContours::Cut& cut, RunRows& material) const;

  double layerHeight_;
  double lift_;
  uint32_t layerCount_;
  ScreenPlacement placement_;
  MeshReport report_;
  std::vector<uint32_t> turnedTriangles_;
  ChannelFalloff falloff_;
  LayerContours contours_;
  std::vector<LayerContours::Cut> cuts_;
  std::optional<ChannelFiller> filler_;  // made for the first picture
  RunRows material_;                     // of the layer last sliced
  std::optional<uint32_t> lastIndex_;
  RunRows below_;
};

}  // namespace stiltforge::slicing
