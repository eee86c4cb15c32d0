#include "stack_file.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace stiltforge::digest {

reference::Stack readStackFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  reference::Stack stack;
  for (std::string line; std::getline(file, line) && !line.empty();) {
    std::istringstream words(line);
    std::string name;
    words >> name;
    words >> stack.parameters[name];
    if (!words) throw std::runtime_error(path + " has a line that is not a name and a number");
  }
  const auto takeOut = [&](const char* name) {
    const auto entry = stack.parameters.find(name);
    if (entry == stack.parameters.end()) throw std::runtime_error(path + " lacks " + name);
    const double value = entry->second;
    stack.parameters.erase(entry);
    return value;
  };
  stack.width = static_cast<uint16_t>(takeOut("width"));
  stack.height = static_cast<uint16_t>(takeOut("height"));
  const auto count = static_cast<std::size_t>(takeOut("slices"));
  for (std::size_t i = 0; i < count; ++i) {
    std::vector<uint8_t> slice(std::size_t{4} * stack.width * stack.height);
    file.read(reinterpret_cast<char*>(slice.data()), static_cast<std::streamsize>(slice.size()));
    if (!file) throw std::runtime_error(path + " is shorter than its header states");
    stack.slices.push_back(std::move(slice));
  }
  return stack;
}

}  // namespace stiltforge::digest
