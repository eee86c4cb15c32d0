#include "files/file_error.h"

namespace stiltforge::files {

std::string inQuotes(std::string_view text) {
  constexpr std::size_t longest = 40;
  std::string shown(1, '"');
  for (const char character : text.substr(0, longest)) {
    const bool isPrintable = character >= 0x20 && character < 0x7f;
    shown.push_back(isPrintable ? character : '?');
  }
  if (text.size() > longest) shown.append("...");
  shown.push_back('"');
  return shown;
}

std::string grouped(unsigned long long number) {
  const std::string digits = std::to_string(number);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

std::string counted(unsigned long long count, const std::string& noun) {
  return grouped(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace stiltforge::files
