#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "printer_files/printer_file.h"

namespace stiltforge::printer_files {

struct ReadOptions {
  /// The lowest grey that is material, at least 1.
  uint8_t threshold = 128;
  /// Ends the reading with files::Cancelled once another thread sets it. Has to outlive the file.
  const std::atomic<bool>* cancelled = nullptr;
};

/// Opens an SL1, NanoDLP or GOO file, another zip archive or a folder of numbered PNG pictures; the
/// content tells which. Reads what it says of the print and finds the layers, but decodes none.
///
/// Throws files::FileError, a message for the person who chose the file, when it is none of these
/// or contradicts itself, and std::bad_alloc.
std::unique_ptr<PrinterFile> openPrinterFile(const std::filesystem::path& path,
                                             const ReadOptions& options = {});

/// The same for the bytes of a file.
std::unique_ptr<PrinterFile> openPrinterFile(std::vector<char> bytes,
                                             const ReadOptions& options = {});

/// Whether a path is for openPrinterFile() and not for the mesh readers: a folder, a name with the
/// extension of a printer file, or a file that begins like one and is no 3MF. False for others that
/// can't be read.
bool isPrinterFile(const std::filesystem::path& path);
/// The same for the bytes of a file, whose name may be empty.
bool isPrinterFile(std::span<const char> bytes, const std::filesystem::path& name);

}  // namespace stiltforge::printer_files
