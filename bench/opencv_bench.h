#pragma once

#include "slice_picture.h"

namespace stiltforge::bench {

// Registers OpenCV's labelling with statistics of the picture's material, on one thread and on all.
// The picture must outlive the runs.
void registerOpenCv(const SlicePicture& picture);

}  // namespace stiltforge::bench
