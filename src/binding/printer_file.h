#pragma once

#include <napi.h>

#include <memory>
#include <string>

#include "printer_files/printer_file.h"

namespace stiltforge::binding {

/// A printer file that is open, and what errors call it.
struct OpenPrinterFile {
  std::string prefix;  ///< of every sentence about the file
  std::unique_ptr<printer_files::PrinterFile> file;
};

// openPrinterFile(source, options?) => Promise<PrinterFile>;
// packages/stiltforge/src/printer_file.ts declares it. Refused arguments reject the promise.
Napi::Value openPrinterFile(const Napi::CallbackInfo& info);
// isPrinterFile(source, name?) => boolean
Napi::Value isPrinterFile(const Napi::CallbackInfo& info);

/// The file of a script value that openPrinterFile() has made; null for any other.
std::shared_ptr<OpenPrinterFile> printerFileOf(Napi::Value value);

}  // namespace stiltforge::binding
