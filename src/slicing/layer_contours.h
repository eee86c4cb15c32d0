#pragma once

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

  /// Segments of the plane at this z of the model, in pixels of the crop, in no particular order.
  /// Ascending planes cost what they cut. Valid until the next call.
  const std::vector<Segment>& at(double plane, const ScreenPlacement& placement);

 private:
  // An edge at which the surface is not continued: layers that cut it have an open end there.
  struct OpenEdge {
    Vertex low, high;
    int32_t surplus;
  };

  TriangleMesh mesh_;
  std::vector<OpenEdge> openEdges_;
  ZSweep triangleSweep_;
  ZSweep edgeSweep_;
  std::vector<Segment> segments_;
  std::vector<OpenEnd> ends_;
};

}  // namespace stiltforge::slicing
