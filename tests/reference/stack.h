#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace stiltforge::reference {

// A model cut into slices, bottom first. A slice holds width x height pixels, row by row, four
// bytes each: red (material when not 0), green (stroke value), blue (support value), alpha.
// `parameters` holds the 28 analysis parameters by key; a boolean is 0 or 1.
struct Stack {
  std::map<std::string, double> parameters;
  uint16_t width = 0;
  uint16_t height = 0;
  std::vector<std::vector<uint8_t>> slices;
};

}  // namespace stiltforge::reference
