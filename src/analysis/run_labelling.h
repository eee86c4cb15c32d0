#pragma once

#include <cstdint>

#include "analysis/layer.h"

namespace stiltforge {

/// Fills layer.groupOfRun: every run gets the label of its group, 1 to the returned count, in
/// raster order of the groups' first pixels.
///
/// Two passes over the runs (L. He, Y. Chao, K. Suzuki, "A run-based two-scan labeling algorithm",
/// 2008): runs of neighbouring rows that share a column take one provisional label, labels that
/// meet are united in a disjoint-set forest; bands of rows are labelled in parallel and joined at
/// their seams. Corner contacts are one-way links from the upper to the lower component; groups are
/// then collected from each component not yet taken, in raster order, along the links. This equals
/// a fill of vertical runs that steps diagonally down from the end of a run.
uint32_t labelRuns(Layer& layer);

}  // namespace stiltforge
