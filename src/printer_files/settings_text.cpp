#include "printer_files/settings_text.h"

#include <fast_float/fast_float.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "files/file_error.h"

namespace stiltforge::printer_files {

namespace {

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

}  // namespace

std::optional<double> numberIn(std::string_view text) {
  double value = 0;
  const auto [end, failure] = fast_float::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

IniSettings::IniSettings(std::string name, std::string_view text) : name_(std::move(name)) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || line.starts_with('#') || line.starts_with(';')) {
      continue;
    }
    values_.emplace(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
  }
}

std::string IniSettings::text(const std::string& key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? std::string() : found->second;
}

std::optional<double> IniSettings::positiveNumber(const std::string& key) const {
  const std::string value = text(key);
  if (value.empty()) return std::nullopt;
  const std::optional<double> number = numberIn(value);
  if (number && *number > 0) return number;
  throw files::FileError(
      name_ + " has the " + key + " " + files::inQuotes(value) + ", which is no positive number",
      "Export the print again");
}

std::optional<uint32_t> IniSettings::count(const std::string& key) const {
  const std::string value = text(key);
  if (value.empty()) return std::nullopt;
  const std::optional<double> number = numberIn(value);
  constexpr double most = 1e9;
  if (number && *number >= 0 && *number <= most && *number == std::floor(*number)) {
    return static_cast<uint32_t>(*number);
  }
  throw files::FileError(
      name_ + " has the " + key + " " + files::inQuotes(value) + ", which is no whole number",
      "Export the print again");
}

}  // namespace stiltforge::printer_files
