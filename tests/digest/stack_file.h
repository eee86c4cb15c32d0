#pragma once

#include <string>

#include "reference/stack.h"

namespace stiltforge::digest {

// Reads lines of a name and a number (width, height and slices, then parameters), an empty line,
// and the RGBA bytes of the slices. Throws std::runtime_error when the file is not like that.
reference::Stack readStackFile(const std::string& path);

}  // namespace stiltforge::digest
