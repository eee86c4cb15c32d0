#pragma once

#include <memory>
#include <vector>

#include "analysis/group.h"
#include "analysis/layer.h"
#include "support/group_overhang.h"

namespace stiltforge {

/// Records the overhang of a group, with its channels, bands of rows in parallel. The lattice and
/// the norms are the caller's to set.
std::unique_ptr<SampleRecord> recordOverhang(const Layer& layer,
                                             const std::vector<OverhangSpan>& overhang);

}  // namespace stiltforge
