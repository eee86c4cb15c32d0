#include "host_parameters.h"

#include <fstream>
#include <stdexcept>

namespace stiltforge::bench {

HostParameters readParameters(const std::string& path) {
  std::ifstream file(path);
  HostParameters parameters;
  std::string key;
  for (double value = 0; file >> key >> value;) parameters[key] = value;
  if (parameters.empty()) throw std::runtime_error("no parameters in " + path);
  return parameters;
}

}  // namespace stiltforge::bench
