#pragma once

#include <vector>

#include "host_parameters.h"

namespace stiltforge::bench {

// Registers the whole analysis of sampled layers of the demo mesh on the 4K screen, plain and fast:
// short windows of neighbouring layers, spread over the height, the first of each not timed since
// it has nothing below. The time is that of all layers timed, their number the counter "layers".
// The parameters must outlive the runs.
void registerModel(const std::vector<float>& soup, const HostParameters& parameters, int windows);

}  // namespace stiltforge::bench
