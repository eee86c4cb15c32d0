#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

#include "print/print_settings.h"

namespace stiltforge::orient {

/// What a print of a part in one orientation costs.
struct Measures {
  uint32_t points = 0;   ///< supports after finishing
  double overhang = 0;   ///< mm2 of steep overhang, seen from below
  uint32_t islands = 0;  ///< bodies that begin in the air and that nothing takes soon
  double height = 0;     ///< mm from the lowest point to the highest
  double cups = 0;       ///< mm3 that are closed in while they are printed, see check::Cavities
  double marks = 0;      ///< mm2 of the side to be kept clean that supports or the plate would mark
  double material = 0;   ///< mm3 of the slices
};

/// A support after finishing, mm in the coordinates of the measured mesh.
struct Support {
  double x = 0;
  double y = 0;
  double z = 0;
  bool isIsland = false;
};

struct Measured {
  Measures measures;
  std::vector<Support> supports;  ///< bottom first
};

/// Thrown when the `cancelled` flag was raised.
struct Cancelled : std::runtime_error {
  Cancelled() : std::runtime_error("the search was cancelled") {}
};

struct MeasureSettings {
  PrintSettings print;
  double islandHeight = 0.2;  ///< mm that a body may grow in the air before something takes it
};

/// Slices, analyses and finishes the part as it stands, as the command does. Leaves marks at 0.
/// Nothing when no pixel of it would be printed. The print must be usable, see findConflict().
/// Throws SlicingError as the slicer does, Cancelled and std::bad_alloc.
std::optional<Measured> measure(std::span<const float> positions, const MeasureSettings& settings,
                                const std::atomic<bool>* cancelled = nullptr);

}  // namespace stiltforge::orient
