#pragma once

#include "slice_picture.h"

namespace stiltforge::bench {

// Registers, for a picture: FloodFill::run with and without buffers wanted, the plain version of
// the same, a memcpy of the slice (on ordinary and on large pages), and reading it on all cores.
// The picture must outlive the runs.
void registerSegmentation(const SlicePicture& picture);

}  // namespace stiltforge::bench
