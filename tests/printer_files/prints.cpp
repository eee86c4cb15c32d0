#include "printer_files/prints.h"

#include <cstddef>
#include <cstdio>

#include "files/file_error.h"

namespace stiltforge::printer_files {

namespace {

void readAll(PrinterFile& file) {
  for (uint32_t layer = 0; layer < file.info().layerCount; ++layer) materialOf(file, layer);
}

}  // namespace

std::unique_ptr<PrinterFile> open(std::string_view bytes, const ReadOptions& options) {
  return openPrinterFile(std::vector<char>(bytes.begin(), bytes.end()), options);
}

std::string refusal(std::string_view bytes) {
  try {
    readAll(*open(bytes));
  } catch (const files::FileError& error) {
    return error.what();
  }
  return "";
}

std::string refusalOf(const std::filesystem::path& path) {
  try {
    readAll(*openPrinterFile(path));
  } catch (const files::FileError& error) {
    return error.what();
  }
  return "";
}

RunRows materialOf(PrinterFile& file, uint32_t layer) {
  RunRows material;
  file.readMaterial(layer, material);
  return material;
}

RunRows runsOf(int width, int height, const std::vector<uint8_t>& grey) {
  RunRows rows;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int at = y * width + x;
      if (grey[static_cast<std::size_t>(at)] >= 128) rows.add(x, x + 1);
    }
    rows.endRow();
  }
  return rows;
}

std::vector<files::ZipEntry> sl1Entries(int width, int height,
                                        const std::vector<std::string>& layers) {
  const std::string count = std::to_string(layers.size());
  std::vector<files::ZipEntry> entries{
      {"config.ini",
       "action = print\njobDir = part\nlayerHeight = 0.05\nmaterialName = resin A\n"
       "numFast = " +
           count + "\nnumSlow = 0\nprinterModel = SL1\n"},
      {"prusaslicer.ini", "display_width = " + std::to_string(0.1 * width) +
                              "\ndisplay_height = " + std::to_string(0.1 * height) +
                              "\ndisplay_pixels_x = " + std::to_string(width) +
                              "\ndisplay_pixels_y = " + std::to_string(height) +
                              "\ndisplay_mirror_x = 1\ndisplay_mirror_y = 0\n"}};
  for (std::size_t i = 0; i < layers.size(); ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "part%05zu.png", i);
    entries.emplace_back(name, layers[i]);
  }
  return entries;
}

std::string sl1(int width, int height, const std::vector<std::string>& layers) {
  return files::zipArchive(sl1Entries(width, height, layers));
}

}  // namespace stiltforge::printer_files
