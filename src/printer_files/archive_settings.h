#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "printer_files/zip_pictures.h"

namespace stiltforge::printer_files {

/// What the settings in an archive say. Numbers are positive.
struct ArchiveSettings {
  std::string format;        ///< "SL1", "NanoDLP" or "archive of pictures"
  std::string countSource;   ///< the file that tells the number of layers, for messages
  std::string screenSource;  ///< likewise of the screen
  std::string layerPrefix;   ///< what the names of the layers begin with; empty when it is not said
  std::optional<uint32_t> layerCount;
  std::optional<double> layerHeight;       ///< mm
  std::optional<double> firstLayerHeight;  ///< mm
  /// Of the screen, pixels; exchanged in layers that are turned.
  std::optional<uint32_t> screenWidth, screenHeight;
  std::optional<double> pixelWidth, pixelHeight;  ///< mm, of the screen's pixels
  bool isTurned = false;
  bool isMirroredX = false;
  bool isMirroredY = false;
  std::string printer;
  std::string material;
};

/// Reads config.ini and prusaslicer.ini of an SL1, or the JSON files of a NanoDLP archive. Throws
/// FileError when they are damaged or make no sense.
ArchiveSettings readArchiveSettings(PrintArchive& archive);

}  // namespace stiltforge::printer_files
