#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace stiltforge::files {

/// A file that can't be used. what() is for the person who chose it: a sentence with what is wrong
/// and where, and one with what to do.
class FileError : public std::runtime_error {
 public:
  /// Both start in lower and upper case respectively, and end without a full stop.
  FileError(const std::string& problem, const std::string& remedy)
      : std::runtime_error(problem + ". " + remedy + ".") {}
};

/// The caller has asked for an end.
class Cancelled : public std::runtime_error {
 public:
  Cancelled() : std::runtime_error("The reading was cancelled.") {}
};

/// The usual remedy.
inline constexpr const char* copyAgain = "The file is cut off or damaged; copy or export it again";

/// Text of a file as a message can show it: in quotation marks, printable, and not long.
std::string inQuotes(std::string_view text);

/// "1 triangle", "1,234 triangles".
std::string counted(unsigned long long count, const std::string& noun);

/// A whole number with commas between the thousands.
std::string grouped(unsigned long long number);

}  // namespace stiltforge::files
