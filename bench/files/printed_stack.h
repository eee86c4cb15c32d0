#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/run_rows.h"
#include "slice_picture.h"

namespace stiltforge::bench {

/// Some layers of a mesh as files hold them: grey, with soft edges.
struct PrintedStack {
  ScreenSize screen;
  std::vector<std::string> pngs;  ///< rows without filters, as slicers write them
  std::string sl1;
  std::string goo;
};

/// `layers` neighbouring layers from the middle of the mesh, see meshSlicer().
PrintedStack printedStack(const std::vector<float>& soup, ScreenSize screen, uint32_t layers);

/// Writes all layers of the mesh as an SL1.
void writeSl1(const std::vector<float>& soup, ScreenSize screen, const std::string& path);

}  // namespace stiltforge::bench
