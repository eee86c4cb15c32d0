#pragma once

#include "files/file_error.h"

namespace stiltforge::mesh {

/// A mesh file that can't be used.
using MeshError = files::FileError;
using files::Cancelled;

using files::copyAgain;
inline constexpr const char* repair = "Repair the mesh in a modelling program and export it again";

using files::counted;
using files::grouped;
using files::inQuotes;

}  // namespace stiltforge::mesh
