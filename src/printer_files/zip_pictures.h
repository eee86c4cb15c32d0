#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "files/byte_source.h"
#include "files/zip_archive.h"
#include "printer_files/picture_source.h"

namespace stiltforge::printer_files {

/// A zip archive with a print's layers and settings.
class PrintArchive {
 public:
  /// Throws FileError when the bytes are no whole archive.
  explicit PrintArchive(std::unique_ptr<files::ByteSource> source);

  std::vector<std::string> names() const;
  /// The text of an entry in no folder; nothing when there is none. Throws FileError.
  std::optional<std::string> text(const std::string& name);
  /// The bytes of the entry at that position of names(); they are in `memory`. For any number of
  /// threads. Throws Defect.
  std::span<const uint8_t> read(std::size_t index, DecodeMemory& memory);

 private:
  std::unique_ptr<files::ByteSource> source_;
  std::mutex mutex_;  // for the archive
  files::ZipArchive archive_;
};

class ZipPictures : public PictureSource {
 public:
  /// layers: the archive's entries in order. Throws FileError when a name leads out of the archive.
  ZipPictures(std::unique_ptr<PrintArchive> archive, const std::vector<std::size_t>& layers);

  uint32_t count() const override { return static_cast<uint32_t>(layers_.size()); }
  const std::string& nameOf(uint32_t layer) const override { return names_[layer]; }
  std::span<const uint8_t> read(uint32_t layer, DecodeMemory& memory) override;

 private:
  std::unique_ptr<PrintArchive> archive_;
  std::vector<std::size_t> layers_;
  std::vector<std::string> names_;
};

}  // namespace stiltforge::printer_files
