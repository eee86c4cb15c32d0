#pragma once

#include <memory>
#include <vector>

#include "files/byte_source.h"
#include "printer_files/printer_file.h"

namespace stiltforge::printer_files {

/// A print in a GOO file. Its layers are runs in the file already.
class GooFile : public PrinterFile {
 public:
  /// Finds all layers. Throws FileError when the file is cut off or makes no sense.
  GooFile(std::unique_ptr<files::ByteSource> source, uint8_t threshold);

  void readMaterial(uint32_t layer, RunRows& material) override;
  void readChannels(uint32_t layer, Slice& slice) override;

 private:
  struct PackedLayer {
    uint64_t offset;
    std::size_t size;
  };

  void findLayers(uint64_t offset);

  std::unique_ptr<files::ByteSource> source_;
  const uint8_t threshold_;
  std::vector<PackedLayer> layers_;
};

}  // namespace stiltforge::printer_files
