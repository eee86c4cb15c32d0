#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace stiltforge::printer_files {

/// The settings of an ini file: "key = value" a line, without sections.
class IniSettings {
 public:
  /// `name` is the file's, for messages.
  IniSettings(std::string name, std::string_view text);

  /// Empty when there is none.
  std::string text(const std::string& key) const;
  /// Nothing when there is none or it is empty. Throws FileError when it is no number, for the
  /// first also when it is not positive.
  std::optional<double> positiveNumber(const std::string& key) const;
  std::optional<uint32_t> count(const std::string& key) const;
  bool flag(const std::string& key) const { return text(key) == "1"; }

 private:
  std::string name_;
  std::map<std::string, std::string, std::less<>> values_;
};

/// The number that the whole text is; nothing when it is none or not finite.
std::optional<double> numberIn(std::string_view text);

}  // namespace stiltforge::printer_files
