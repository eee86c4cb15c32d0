#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace stiltforge::reference {

// RGBA pixels of a slice drawn as rows of text: '#' is material, anything else background.
inline std::vector<uint8_t> picture(const std::vector<std::string>& rows, uint8_t blue = 0,
                                    uint8_t green = 0) {
  std::vector<uint8_t> pixels;
  for (const std::string& row : rows) {
    for (const char c : row) {
      if (c == '#') {
        pixels.insert(pixels.end(), {255, green, blue, 255});
      } else {
        pixels.insert(pixels.end(), {0, 0, 0, 255});
      }
    }
  }
  return pixels;
}

}  // namespace stiltforge::reference
