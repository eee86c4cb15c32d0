#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace stiltforge::printer_files {

/// A print as a GOO file holds it.
struct TestGoo {
  int width = 1;
  int height = 1;
  float screenWidth = 1;      ///< mm
  float screenHeight = 1;     ///< mm
  float layerHeight = 0.05F;  ///< mm
  bool isMirroredX = false;
  bool isMirroredY = false;
  std::string printer = "a printer";
  std::string material = "a resin";
  std::vector<std::string> layers;  ///< packed, see gooLayer()
  bool hasLineEnds = true;          ///< between a layer's exposure and its runs
  int announcedLayers = -1;         ///< unless it is negative, what the header says instead
};

/// The runs of a layer, with the byte before and the checksum behind them.
std::string gooLayer(const std::vector<uint8_t>& grey);
/// These runs likewise.
std::string gooRuns(const std::string& runs);
std::string gooFile(const TestGoo& goo);

}  // namespace stiltforge::printer_files
