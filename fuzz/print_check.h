#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "files/file_error.h"
#include "printer_files/open_printer_file.h"
#include "require.h"

// Each row's runs ascend, do not touch and lie within the width; there are as many rows.
inline void checkRows(const stiltforge::RunRows& rows, uint32_t width, uint32_t height) {
  require(rows.height() == static_cast<int>(height), "not all rows");
  for (int y = 0; y < rows.height(); ++y) {
    int32_t last = -1;
    for (const stiltforge::Run& run : rows.row(y)) {
      require(run.begin > last && run.end > run.begin && run.end <= width, "runs out of order");
      last = run.end;
    }
  }
}

inline void checkSentence(const std::string& sentence) {
  require(sentence.size() > 20 && sentence.back() == '.', "an error without a sentence");
  for (const char character : sentence) {
    require(character >= ' ' && character < 0x7f, "an error that shows control characters");
  }
}

// Any bytes give an error with a sentence or a print whose layers do.
inline void checkPrint(std::vector<char> bytes) {
  constexpr uint32_t mostLayers = 8;
  try {
    const auto file = stiltforge::printer_files::openPrinterFile(std::move(bytes));
    const auto& info = file->info();
    require(info.layerCount > 0 && info.width > 0 && info.height > 0, "a print of nothing");
    for (const auto& length : {info.layerHeight, info.pixelWidth, info.pixelHeight}) {
      require(!length || *length > 0, "a length that is not positive");
    }
    for (uint32_t layer = 0; layer < std::min(info.layerCount, mostLayers); ++layer) {
      stiltforge::RunRows material;
      file->readMaterial(layer, material);
      checkRows(material, info.width, info.height);
    }
  } catch (const stiltforge::files::FileError& error) {
    checkSentence(error.what());
  }
}
