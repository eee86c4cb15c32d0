#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "files/byte_source.h"

namespace stiltforge::files {

/// What messages call an archive, and how many entries it may have.
struct ZipKind {
  std::string archive;  ///< "the 3MF archive"
  std::string entry;    ///< "the part"
  std::size_t mostEntries;
};

/// The entries of a zip archive, unpacked piece by piece. Nothing but the directory is read before
/// an entry is asked for. One call at a time.
class ZipArchive {
 public:
  struct Entry {
    std::string name;            ///< as the archive has it
    std::uint64_t packedSize;    ///< bytes, as the directory has it, as the next two
    std::uint64_t unpackedSize;  ///< bytes
    std::uint32_t checksum;      ///< CRC-32 of the unpacked bytes
    std::uint64_t directoryOffset, number;
    unsigned long method;
    bool isEncrypted;

    bool isStored() const { return method == 0; }
  };

  /// Throws FileError when the bytes are no whole zip archive or it has too many entries.
  ZipArchive(ByteSource& source, ZipKind kind);
  ~ZipArchive();
  ZipArchive(const ZipArchive&) = delete;
  ZipArchive& operator=(const ZipArchive&) = delete;

  /// In the order of the directory.
  const std::vector<Entry>& entries() const { return entries_; }
  /// The first entry of a part, whose name is compared in either case, with or without a slash
  /// before it and percent signs in it; nullptr when there is none.
  const Entry* find(const std::string& partName) const;

  /// Hands the entry's unpacked bytes to `take`, in pieces. Throws FileError when they are damaged,
  /// also when only their checksum tells, encrypted, or packed in a way that is not read.
  void unpack(const Entry& entry, const std::function<void(std::span<const char>)>& take);

  /// Where the source has the entry's packed bytes, stored or deflated, Entry::packedSize of them.
  /// Throws FileError as unpack() does for what shows before they are unpacked.
  std::uint64_t packedBytesAt(const Entry& entry);

  /// "the part "3D/a.model" of the 3MF archive"
  std::string describe(const Entry& entry) const;

 private:
  struct Reader;

  void listEntries();
  void check(int result, const std::string& problem) const;
  void goTo(const Entry& entry);

  const ZipKind kind_;
  std::unique_ptr<Reader> reader_;
  std::vector<Entry> entries_;
  std::unordered_map<std::string, std::size_t> byName_;  // the first of a name in lower case
};

}  // namespace stiltforge::files
