#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/run_rows.h"
#include "files/zip_writer.h"
#include "printer_files/open_printer_file.h"

namespace stiltforge::printer_files {

/// Opens the bytes of a file.
std::unique_ptr<PrinterFile> open(std::string_view bytes, const ReadOptions& options = {});

/// What opening the bytes, or else reading all their layers, is refused with; empty when it is not.
std::string refusal(std::string_view bytes);
/// The same for a path.
std::string refusalOf(const std::filesystem::path& path);

RunRows materialOf(PrinterFile& file, uint32_t layer);
/// The runs of grey pixels of at least 128, found one by one.
RunRows runsOf(int width, int height, const std::vector<uint8_t>& grey);

/// The entries of an SL1 with these layers: config.ini, prusaslicer.ini and the pictures, of 0.1 mm
/// pixels and 0.05 mm layers.
std::vector<files::ZipEntry> sl1Entries(int width, int height,
                                        const std::vector<std::string>& layers);
std::string sl1(int width, int height, const std::vector<std::string>& layers);

}  // namespace stiltforge::printer_files
