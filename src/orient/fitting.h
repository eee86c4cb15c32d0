#pragma once

#include <optional>
#include <span>

#include "print/print_settings.h"
#include "print/turn.h"

namespace stiltforge::orient {

/// The turn with the smallest of some turns about z, 0 and 90 degrees first, that puts the part on
/// the screen; nothing when none does. mm.
std::optional<Turn> fitOnScreen(std::span<const float> positions, Turn turn,
                                const PrintSettings& print);

}  // namespace stiltforge::orient
