// Layers of GOO files: two bytes with the size, and the runs, to which the right checksum is added.

#include <string>

#include "print_check.h"
#include "printer_files/defect.h"
#include "printer_files/goo_layer.h"
#include "printer_files/goo_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace stiltforge::printer_files;
  if (size < 2) return 0;
  const uint32_t width = 1 + data[0];
  const uint32_t height = 1 + data[1];
  const std::string packed =
      gooRuns(std::string(reinterpret_cast<const char*>(data) + 2, size - 2));
  try {
    stiltforge::RunRows material;
    decodeGooLayer({reinterpret_cast<const uint8_t*>(packed.data()), packed.size()}, width, height,
                   128, material);
    checkRows(material, width, height);
  } catch (const Defect& defect) {
    checkSentence(defect.problem + ". " + defect.remedy + ".");
  }
  return 0;
}
