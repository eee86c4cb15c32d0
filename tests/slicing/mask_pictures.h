#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::slicing {

/// A picture with '#' for material, all rows equally long.
using MaskPicture = std::vector<std::string>;

RunRows runsOf(const MaskPicture& mask);

/// Each pixel is material with this probability.
MaskPicture noise(std::mt19937& random, std::size_t width, std::size_t height, double density);
/// Discs of radius 0 to 39, every fourth a hole.
MaskPicture discs(std::mt19937& random, std::size_t width, std::size_t height, int count);

}  // namespace stiltforge::slicing
