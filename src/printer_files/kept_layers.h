#pragma once

#include <cstddef>
#include <memory>

#include "printer_files/printer_file.h"

namespace stiltforge::printer_files {

/// The same file, for who reads its layers again and again: they stay decoded, as runs, as far as
/// they fit into so many bytes, those that are read first before others. What lacks memory to stay
/// is decoded again.
std::unique_ptr<PrinterFile> keepLayers(std::unique_ptr<PrinterFile> file, std::size_t mostBytes);

}  // namespace stiltforge::printer_files
