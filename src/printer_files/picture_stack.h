#pragma once

#include <memory>
#include <optional>
#include <string>

#include "printer_files/archive_settings.h"
#include "printer_files/picture_source.h"
#include "printer_files/png_layer.h"
#include "printer_files/printer_file.h"

namespace stiltforge::printer_files {

/// A print whose layers are PNG pictures.
class PictureStack : public PrinterFile {
 public:
  /// Reads the first picture's size. Throws FileError when that fails or the settings contradict
  /// it.
  PictureStack(std::unique_ptr<PictureSource> pictures, const ArchiveSettings& settings,
               uint8_t threshold);

  void readMaterial(uint32_t layer, RunRows& material) override;
  void readChannels(uint32_t layer, Slice& slice) override;

 private:
  std::string describe(uint32_t layer) const;
  void takeSettings(const ArchiveSettings& settings, const PngPicture& first);
  void requireSameSize(const PngPicture& picture) const;
  template <class Decode>
  void decode(uint32_t layer, const Decode& decodePicture);

  std::unique_ptr<PictureSource> pictures_;
  PixelUse use_;
  std::optional<DecodeMemoryPool> memory_;
};

}  // namespace stiltforge::printer_files
