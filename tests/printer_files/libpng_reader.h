#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace stiltforge::printer_files {

/// The samples of a PNG file, 16 bits each, in raster order with the channels beside each other, as
/// libpng reads them; empty when it refuses the file.
std::vector<uint16_t> libpngSamples(const std::string& file);

}  // namespace stiltforge::printer_files
