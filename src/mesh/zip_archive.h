#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>

#include "mesh/byte_source.h"

namespace stiltforge::mesh {

/// The entries of a zip archive, unpacked piece by piece. Nothing but the directory is read before
/// an entry is asked for.
class ZipArchive {
 public:
  struct Entry {
    std::string name;            ///< as the archive has it
    std::uint64_t unpackedSize;  ///< bytes, as the directory has it
    std::uint64_t directoryOffset, number;
    unsigned long method;
    bool isEncrypted;
  };

  /// Throws MeshError when the bytes are no whole zip archive or it has too many entries.
  explicit ZipArchive(ByteSource& source);
  ~ZipArchive();
  ZipArchive(const ZipArchive&) = delete;
  ZipArchive& operator=(const ZipArchive&) = delete;

  /// The entry of a part, whose name is compared in either case, with or without a slash before it
  /// and percent signs in it; nullptr when there is none.
  const Entry* find(const std::string& partName) const;

  /// Hands the entry's unpacked bytes to `take`, in pieces. Throws MeshError when they are damaged,
  /// also when only their checksum tells, encrypted, or packed in a way that is not read.
  void unpack(const Entry& entry, const std::function<void(std::span<const char>)>& take);

 private:
  struct Reader;

  void listEntries();
  void check(int result, const std::string& problem) const;

  std::unique_ptr<Reader> reader_;
  std::unordered_map<std::string, Entry> entries_;  // by name in lower case
};

}  // namespace stiltforge::mesh
