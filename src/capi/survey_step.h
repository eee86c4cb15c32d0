#pragma once

#include <cstdint>

#include "capi/handles.h"

namespace stiltforge::capi {

/// Throws a Refusal when an earlier call failed in the middle of a layer.
void requireWhole(const stiltforge_survey& survey);

/// Throws a Refusal when the survey takes no more layers.
void requireGoingOn(const stiltforge_survey& survey);

/// Throws InvalidArgument unless the survey has pixels and layers of the slicer's size.
void requireSamePrint(const stiltforge_survey& survey, const PrintSettings& slicers);

/// Adds the next layer. Throws a Refusal when the survey cannot take it.
void addLayer(stiltforge_survey& survey, const Slice& slice, const hold::LayerFindings& findings);

}  // namespace stiltforge::capi
