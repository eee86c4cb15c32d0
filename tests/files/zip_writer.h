#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace stiltforge::files {

struct ZipEntry {
  ZipEntry(std::string entryName, std::string entryContent)
      : name(std::move(entryName)), content(std::move(entryContent)) {}

  std::string name;
  std::string content;
  bool isDeflated = true;
  // What its headers say instead of the truth, where they are set.
  std::uint16_t flags = 0;
  int method = -1;
  std::int64_t unpackedSize = -1;
  std::int64_t checksum = -1;
};

/// The bytes of a zip archive.
std::string zipArchive(const std::vector<ZipEntry>& entries);

}  // namespace stiltforge::files
