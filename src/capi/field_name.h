#pragma once

#include <string>

namespace stiltforge::capi {

/// "layerHeight" to "layer_height": how the header calls a setting of the core.
std::string fieldName(const std::string& setting);

}  // namespace stiltforge::capi
