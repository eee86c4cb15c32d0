#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "analysis/run_rows.h"
#include "analysis/slice.h"

namespace stiltforge::printer_files {

/// What a file says of its print.
struct PrintInfo {
  std::string format;  ///< "SL1", "NanoDLP", "GOO", "archive of pictures", "folder of pictures"
  uint32_t layerCount = 0;  ///< 1 to mostLayers
  uint32_t width = 0;       ///< pixels of a layer, 1 to longestSide
  uint32_t height = 0;      ///< pixels of a layer, 1 to longestSide
  // Nothing, or an empty text, where the file does not say.
  std::optional<double> layerHeight;       ///< mm
  std::optional<double> firstLayerHeight;  ///< mm
  std::optional<double> pixelWidth;        ///< mm
  std::optional<double> pixelHeight;       ///< mm
  // How a layer shows the plate. Without any of these x runs along its columns and y against its
  // rows.
  bool isTurned = false;     ///< by a quarter: x runs against the rows and y against the columns
  bool isMirroredX = false;  ///< then left and right are exchanged
  bool isMirroredY = false;  ///< ... and top and bottom
  std::string printer;
  std::string material;
};

/// A file or folder with the layers of a print. Any number of threads may read at once.
class PrinterFile {
 public:
  virtual ~PrinterFile() = default;
  PrinterFile(const PrinterFile&) = delete;
  PrinterFile& operator=(const PrinterFile&) = delete;

  const PrintInfo& info() const { return info_; }

  /// Replaces `material` by the lit pixels of a layer, counted from 0 at the plate. Throws
  /// files::FileError when the layer is damaged or of another size than the first,
  /// files::Cancelled.
  virtual void readMaterial(uint32_t layer, RunRows& material) = 0;
  /// Replaces the slice by the layer with the channels that its picture carries.
  virtual void readChannels(uint32_t layer, Slice& slice) = 0;

 protected:
  PrinterFile() = default;

  PrintInfo info_;
};

}  // namespace stiltforge::printer_files
