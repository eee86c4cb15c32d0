#include "soup_file.h"

#include <cstddef>
#include <fstream>
#include <ios>
#include <stdexcept>

namespace stiltforge::bench {

std::vector<float> readSoup(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) throw std::runtime_error("cannot open " + path);
  std::vector<float> soup(static_cast<std::size_t>(file.tellg()) / sizeof(float));
  file.seekg(0);
  file.read(reinterpret_cast<char*>(soup.data()),
            static_cast<std::streamsize>(soup.size() * sizeof(float)));
  return soup;
}

}  // namespace stiltforge::bench
