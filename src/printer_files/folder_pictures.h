#pragma once

#include <atomic>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "printer_files/picture_source.h"

namespace stiltforge::printer_files {

/// The numbered PNG files of a folder.
class FolderPictures : public PictureSource {
 public:
  /// `cancelled` as for files::ByteSource. Throws FileError when the folder can't be read or its
  /// pictures are not numbered without gaps.
  FolderPictures(const std::filesystem::path& folder, const std::atomic<bool>* cancelled);

  uint32_t count() const override { return static_cast<uint32_t>(names_.size()); }
  const std::string& nameOf(uint32_t layer) const override { return names_[layer]; }
  std::span<const uint8_t> read(uint32_t layer, DecodeMemory& memory) override;

 private:
  const std::atomic<bool>* cancelled_;
  std::vector<std::filesystem::path> files_;
  std::vector<std::string> names_;
};

}  // namespace stiltforge::printer_files
