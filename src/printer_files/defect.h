#pragma once

#include <string>

#include "files/file_error.h"

namespace stiltforge::printer_files {

/// What is wrong with a layer, thrown by who decodes it. Who knows the layer's name puts that
/// before the problem, which starts with a verb: "is cut off".
struct Defect {
  std::string problem;
  std::string remedy = files::copyAgain;
};

}  // namespace stiltforge::printer_files
