// Damaged printer files: as they are, or, when they begin with "x", as the settings of an archive
// with two good layers, parted by zeros: config.ini, prusaslicer.ini, plate.json, options.json and
// profile.json.

#include <algorithm>
#include <string>
#include <string_view>

#include "files/zip_writer.h"
#include "print_check.h"
#include "printer_files/png_writer.h"

using stiltforge::files::ZipEntry;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  if (!text.starts_with('x')) {
    checkPrint({text.begin(), text.end()});
    return 0;
  }
  text.remove_prefix(1);
  static const std::string layer = stiltforge::printer_files::evenPng(6, 4, 255);
  std::vector<ZipEntry> entries{{"0.png", layer}, {"1.png", layer}};
  for (const char* name :
       {"config.ini", "prusaslicer.ini", "plate.json", "options.json", "profile.json"}) {
    const std::size_t end = std::min(text.find('\0'), text.size());
    if (end > 0) entries.emplace_back(name, std::string(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  for (ZipEntry& entry : entries) entry.isDeflated = false;
  const std::string archive = stiltforge::files::zipArchive(entries);
  checkPrint({archive.begin(), archive.end()});
  return 0;
}
