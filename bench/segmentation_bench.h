#pragma once

#include "host_parameters.h"
#include "slice_picture.h"

namespace stiltforge::bench {

// Registers, for a picture: FloodFill::run with and without buffers wanted, the plain version of
// the same, a memcpy of the slice (on ordinary and on large pages), and reading it on all cores.
// The arguments must outlive the runs.
void registerSegmentation(const SlicePicture& picture, const HostParameters& parameters);

// Registers FloodFill::run and memcpy with nothing of the slice in the caches, where a small screen
// would otherwise fit and a large one not.
void registerColdSegmentation(const SlicePicture& picture);

}  // namespace stiltforge::bench
