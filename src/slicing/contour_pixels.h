#pragma once

#include "analysis/run_rows.h"

namespace stiltforge::slicing {

/// Replaces `contours` by the contour pixels of `material`: those with a background pixel, or the
/// picture's border, on at least one of their four sides.
void findContourPixels(const RunRows& material, RunRows& contours);

/// The same for rows within `reach` of one in which `near` has pixels; other rows become empty.
void findContourPixels(const RunRows& material, const RunRows& near, int reach, RunRows& contours);

}  // namespace stiltforge::slicing
