#pragma once

#include "host_parameters.h"

namespace stiltforge::bench {

// Registers the support pass, plain and fast, over one group of 2000 x 2000 box pixels that needs
// 200 supports, with 200 ghosts below it and 5 iterations: with every third pixel of every third
// row a candidate, and, unless quick, with every pixel. The parameters not named here are those
// given, which must outlive the runs.
void registerPlacement(const HostParameters& parameters, bool quick);

}  // namespace stiltforge::bench
