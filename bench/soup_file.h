#pragma once

#include <string>
#include <vector>

namespace stiltforge::bench {

/// Nine floats a triangle. Throws std::runtime_error when the file can't be opened.
std::vector<float> readSoup(const std::string& path);

}  // namespace stiltforge::bench
