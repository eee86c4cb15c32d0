#pragma once

#include <memory>

#include "capi/handles.h"

namespace stiltforge::capi {

/// The result of a layer that is analysed and not yet archived.
std::unique_ptr<stiltforge_layer> layerResult(const Layer& layer, uint32_t index);

/// How a group was weighed, as hosts see it.
stiltforge_weight toWeight(const hold::RegionRecord& record);

/// A support of the group, as hosts see it.
stiltforge_support toSupport(const Voxel& voxel, uint32_t group);

}  // namespace stiltforge::capi
