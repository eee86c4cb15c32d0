#include "printed_stack.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <memory>

#include "files/zip_writer.h"
#include "printer_files/goo_writer.h"
#include "printer_files/png_writer.h"
#include "printer_files/prints.h"

namespace stiltforge::bench {

namespace {

using printer_files::chunk;

/// A row of grey bytes; both ends of each run are dimmer, as a slicer that smooths edges has them.
void fillRow(std::span<const Run> runs, uint8_t* row, std::size_t width) {
  std::fill_n(row, width, uint8_t{0});
  for (const Run& run : runs) {
    std::fill(row + run.begin, row + run.end, uint8_t{255});
    row[run.begin] = static_cast<uint8_t>(128 + run.begin % 128);
    row[run.end - 1] = static_cast<uint8_t>(128 + run.end % 128);
  }
}

std::vector<uint8_t> greyOf(const Slice& slice) {
  const std::size_t width = slice.width;
  std::vector<uint8_t> grey(width * slice.height);
  for (int y = 0; y < slice.height; ++y) {
    fillRow(slice.material.row(y), &grey[static_cast<std::size_t>(y) * width], width);
  }
  return grey;
}

std::string pngOf(const std::vector<uint8_t>& grey, std::size_t width, std::size_t height) {
  std::vector<uint8_t> rows;
  rows.reserve((width + 1) * height);
  for (std::size_t y = 0; y < height; ++y) {
    rows.push_back(0);
    rows.insert(rows.end(), grey.begin() + static_cast<std::ptrdiff_t>(y * width),
                grey.begin() + static_cast<std::ptrdiff_t>((y + 1) * width));
  }
  constexpr int fast = 1;
  const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
      libdeflate_alloc_compressor(fast), libdeflate_free_compressor);
  std::string packed(libdeflate_zlib_compress_bound(compressor.get(), rows.size()), '\0');
  packed.resize(libdeflate_zlib_compress(compressor.get(), rows.data(), rows.size(), packed.data(),
                                         packed.size()));
  return printer_files::pngHead(static_cast<int>(width), static_cast<int>(height)) +
         chunk("IDAT", packed) + chunk("IEND", "");
}

}  // namespace

PrintedStack printedStack(const std::vector<float>& soup, ScreenSize screen, uint32_t layers) {
  slicing::Slicer slicer = meshSlicer(soup, screen);
  std::vector<Slice> slices(layers);
  slicer.slice(slicer.layerCount() / 2, slices);
  PrintedStack stack{screen, {}, {}, {}};
  printer_files::TestGoo goo;
  goo.width = screen.width;
  goo.height = screen.height;
  for (const Slice& slice : slices) {
    const std::vector<uint8_t> grey = greyOf(slice);
    stack.pngs.push_back(pngOf(grey, slice.width, slice.height));
    goo.layers.push_back(printer_files::gooLayer(grey));
  }
  stack.sl1 = printer_files::sl1(screen.width, screen.height, stack.pngs);
  stack.goo = printer_files::gooFile(goo);
  return stack;
}

void writeSl1(const std::vector<float>& soup, ScreenSize screen, const std::string& path) {
  slicing::Slicer slicer = meshSlicer(soup, screen);
  std::vector<std::string> pngs;
  for (uint32_t layer = 0; layer < slicer.layerCount(); ++layer) {
    std::vector<Slice> slices(1);
    slicer.slice(layer, slices);
    pngs.push_back(pngOf(greyOf(slices[0]), slices[0].width, slices[0].height));
  }
  std::ofstream(path, std::ios::binary) << printer_files::sl1(screen.width, screen.height, pngs);
}

}  // namespace stiltforge::bench
