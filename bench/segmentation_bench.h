#pragma once

#include "host_parameters.h"
#include "slice_picture.h"

namespace stiltforge::bench {

// Registers, for a picture: finding its runs and FloodFill::run, with and without buffers wanted,
// the plain version of the same, a memcpy of the slice (on ordinary and on large pages), and
// reading it on all cores. The arguments must outlive the runs.
void registerSegmentation(const SlicePicture& picture, const HostParameters& parameters);

// Registers the same and memcpy over so many slices in a row that screens of any size touch
// as much memory. The figures are those of one slice.
void registerSegmentationStream(const SlicePicture& picture);

}  // namespace stiltforge::bench
