#pragma once

#include <optional>
#include <string>

#include "print/print_settings.h"

namespace stiltforge {

/// A setting that cannot be used, alone or together with the others.
struct SettingConflict {
  const char* setting;  ///< its name in PrintSettings
  double value;
  /// What it must be, with the range: "at a pixel size of 0.05 mm it must be from 0 to 204 mm".
  std::string range;
};

/// The first setting that makes no sense or cannot work with the others; nothing when all are well.
/// The screen, offsets and margin are left to the slicer, which knows the part.
std::optional<SettingConflict> findConflict(const PrintSettings& print);

}  // namespace stiltforge
