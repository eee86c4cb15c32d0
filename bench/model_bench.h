#pragma once

#include <vector>

namespace stiltforge::bench {

// Registers the whole analysis of sampled layers of the demo mesh on the 4K screen, plain and fast:
// short windows of neighbouring layers, spread over the height, the first of each not timed since
// it has nothing below. The time is that of all layers timed, their number the counter "layers".
void registerModel(const std::vector<float>& soup, int windows);

}  // namespace stiltforge::bench
