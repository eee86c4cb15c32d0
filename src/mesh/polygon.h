#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// Cuts faces of any number of corners into triangles. Keeps its memory from face to face.
///
/// A convex face becomes a fan around its first corner. Of any other face ears are cut off, as seen
/// along its mean normal: corners whose triangle lies inside the face. A face that crosses itself
/// has no right answer; its edges still meet those of its neighbours, since every cut keeps them.
class PolygonCutter {
 public:
  using Indices = std::array<std::uint32_t, 3>;

  /// The triangles of a face with at least 3 corners, as places in `corners`, turning as it does.
  /// Valid until the next call. Nothing for a face that is not convex and has more corners than
  /// mostCornersNotConvex.
  std::optional<std::span<const Indices>> cut(std::span<const Corner> corners);

 private:
  struct Point {
    double x, y;
  };

  void project(std::span<const Corner> corners);
  bool isConvex() const;
  void cutFan(std::uint32_t count);
  void cutEars();
  double turnAt(std::uint32_t corner) const;
  bool isEar(std::uint32_t corner) const;
  void removeCorner(std::uint32_t corner);

  std::vector<Indices> triangles_;
  std::vector<Point> points_;  // of the face, on the plane that shows it best, turning to the left
  std::vector<std::uint32_t> next_;
  std::vector<std::uint32_t> previous_;
  std::vector<std::uint32_t> reflex_;  // corners that do not turn to the left
  std::vector<std::uint32_t> ears_;
};

}  // namespace stiltforge::mesh
