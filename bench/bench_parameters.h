#pragma once

#include <map>
#include <string>

namespace stiltforge::bench {

// The 28 parameters of the host as it sets them for 35 micrometre pixels and 0.05 mm layers.
std::map<std::string, double> typicalParameters();

}  // namespace stiltforge::bench
