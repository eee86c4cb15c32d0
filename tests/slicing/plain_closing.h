#pragma once

#include <vector>

#include "slicing/contour_closing.h"

namespace stiltforge::slicing {

/// What closeContours must append, by sorting all pairs of an end and a start. The places must
/// differ.
std::vector<Segment> plainClosing(std::vector<OpenEnd> ends);

}  // namespace stiltforge::slicing
