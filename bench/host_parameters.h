#pragma once

#include <map>
#include <string>

namespace stiltforge::bench {

// The analysis parameters of a host by key; a boolean is 0 or 1.
using HostParameters = std::map<std::string, double>;

// Reads lines of a key and a number. Throws std::runtime_error when the file cannot be read.
HostParameters readParameters(const std::string& path);

}  // namespace stiltforge::bench
