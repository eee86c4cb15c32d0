#pragma once

#include <cstdint>
#include <vector>

#include "hold/survey.h"

namespace stiltforge::hold {

/// Of each track of the part, 1 where it is a speck: an island of one pixel that ends within so
/// many layers and touches nothing else. Meshes with open edges leave hundreds of them. Nothing
/// grows on a speck, and the tip of a support is many times as large.
std::vector<uint8_t> specksOf(const Survey& survey, uint32_t layers);

}  // namespace stiltforge::hold
