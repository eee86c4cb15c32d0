#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "slicing/contour_closing.h"
#include "slicing/mesh_topology.h"
#include "slicing/screen_placement.h"
#include "slicing/triangle_mesh.h"
#include "slicing/z_sweep.h"

namespace stiltforge::slicing {

/// The contours of a mesh in horizontal planes: closed chains of directed segments, whatever the
/// mesh.
class LayerContours {
 public:
  LayerContours() = default;
  LayerContours(TriangleMesh mesh, const MeshTopology& topology);

  /// What of the mesh a plane meets.
  struct Cut {
    double plane = 0;  ///< z of the model
    std::vector<uint32_t> triangles;
    std::vector<uint32_t> openEdges;
  };
  /// Replaces `cut` by the plane's. Ascending planes cost what they meet. One call at a time.
  void sweepTo(double plane, Cut& cut);

  /// Replaces `segments` by the contours of a plane, in pixels of the crop, in no particular order.
  /// Calls for several cuts may run at once.
  void trace(const Cut& cut, const ScreenPlacement& placement,
             std::vector<Segment>& segments) const;

  /// The longest line, in pixels, that trace() adds to close a contour in any of the ascending
  /// planes; 0 when it adds none. Where more than 2^18 contours end in all, it looks at every n-th
  /// plane, so that a mesh of loose triangles takes no longer. One call at a time.
  double widestGap(std::span<const double> planes, const ScreenPlacement& placement);

 private:
  // An edge at which the surface is not continued: layers that cut it have an open end there.
  struct OpenEdge {
    Vertex low, high;
    int32_t surplus;
  };

  std::vector<OpenEnd> endsAt(double plane, std::span<const uint32_t> edges,
                              const ScreenPlacement& placement) const;

  TriangleMesh mesh_;
  std::vector<OpenEdge> openEdges_;
  ZSweep triangleSweep_;
  ZSweep edgeSweep_;
};

}  // namespace stiltforge::slicing
