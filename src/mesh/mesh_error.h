#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace stiltforge::mesh {

/// A mesh file that can't be used. what() is for the person who chose it: a sentence with what is
/// wrong and where, and one with what to do.
class MeshError : public std::runtime_error {
 public:
  /// Both start in lower and upper case respectively, and end without a full stop.
  MeshError(const std::string& problem, const std::string& remedy)
      : std::runtime_error(problem + ". " + remedy + ".") {}
};

/// The caller has asked for an end.
class Cancelled : public std::runtime_error {
 public:
  Cancelled() : std::runtime_error("The reading was cancelled.") {}
};

/// The usual remedies.
inline constexpr const char* copyAgain = "The file is cut off or damaged; copy or export it again";
inline constexpr const char* repair = "Repair the mesh in a modelling program and export it again";

/// Text of a file as a message can show it: in quotation marks, printable, and not long.
std::string inQuotes(std::string_view text);

/// "1 triangle", "1,234 triangles".
std::string counted(unsigned long long count, const std::string& noun);

/// A whole number with commas between the thousands.
std::string grouped(unsigned long long number);

}  // namespace stiltforge::mesh
