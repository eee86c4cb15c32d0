#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"
#include "slicing/contour_closing.h"

namespace stiltforge::slicing {

/// Turns closed contours into runs of material pixels by the non-zero winding rule.
///
/// A pixel is material when the contours wind around its centre a number of times other than 0, in
/// whichever direction. Centres on a contour belong to the material on the contour's right and
/// below it, so shapes that share a border share no pixel and leave none out.
class SliceRasterizer {
 public:
  SliceRasterizer(int width, int height);

  /// Replaces `material` by the rows of the picture. Contours are clipped to it.
  void rasterize(const std::vector<Segment>& contours, RunRows& material);

 private:
  // First column whose centre is at or right of a contour, and the contour's direction there.
  struct Crossing {
    int32_t column;
    int32_t winding;
  };

  void countCrossings(const std::vector<Segment>& contours);
  void findCrossings(const std::vector<Segment>& contours, int firstRow, int endRow);
  void addRow(std::size_t begin, std::size_t end, RunRows& material);

  int width_;
  int height_;
  ScratchVector<std::size_t> counts_;    // crossings of each row
  ScratchVector<Crossing> crossings_;    // of a band of rows, row by row
  ScratchVector<std::size_t> bandRows_;  // where the band's rows end in crossings_
};

}  // namespace stiltforge::slicing
