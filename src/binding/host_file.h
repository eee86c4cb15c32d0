#pragma once

#include <napi.h>

#include <filesystem>
#include <string>
#include <vector>

namespace stiltforge::binding {

/// A file of a host: its path, or a copy of its bytes.
struct HostFile {
  std::string name;  ///< as the host gave it, UTF-8; of bytes empty where it has none
  bool isPath = false;
  std::vector<char> bytes;  ///< of what is no path

  std::filesystem::path path() const { return {std::u8string(name.begin(), name.end())}; }
  /// Of every sentence about the file.
  std::string prefix() const { return name.empty() ? "" : name + ": "; }
};

/// Reads a path or bytes; `name`, undefined or a string, is that of the bytes. Nothing that the
/// host does with the bytes later has an effect. Throws a TypeError, which says what `what`, "The
/// mesh", must be, or a refusal with that code.
HostFile readHostFile(const Napi::Value& source, const Napi::Value& name, const std::string& what,
                      const char* code);

}  // namespace stiltforge::binding
