#pragma once

#include <cstdint>
#include <vector>

#include "slicing/plane_crossing.h"

namespace stiltforge::slicing {

/// A directed piece of a layer's contour.
struct Segment {
  Point from, to;
};

/// A point of a layer where contours end or start without another that goes on.
struct OpenEnd {
  Point at;
  /// Contours that end here, less those that start here; never 0.
  int32_t surplus = 0;
};

/// Appends segments that lead from where contours end to where contours start, until none is open:
/// the closest two ends first, then the next closest of those left, and so on; where hundreds are
/// about equally far apart, one of them. A mesh's hole is so closed by straight lines in every
/// layer that cuts it, and no row of pixels is left with a winding number other than 0 behind its
/// last contour. The surpluses must add up to 0 and the coordinates be finite; the ends are used
/// up. Takes memory for the ends and n log n steps for n of them.
void closeContours(std::vector<OpenEnd>& ends, std::vector<Segment>& segments);

}  // namespace stiltforge::slicing
