#include "capi/field_name.h"

namespace stiltforge::capi {

std::string fieldName(const std::string& setting) {
  std::string name;
  for (const char c : setting) {
    const bool isUpper = c >= 'A' && c <= 'Z';
    if (isUpper) name += '_';
    name += isUpper ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return name;
}

}  // namespace stiltforge::capi
