#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "check/extent.h"

namespace stiltforge::check {

enum class Kind : uint8_t {
  emptyLayers,   ///< layers without material
  floatingPart,  ///< something that never hangs together with the plate or a support
  island,        ///< material that begins in the air and is taken too late, or only just in time
  overhang,      ///< material too far from what carries it
  screenEdge,    ///< material at the border of the screen
  resinTrap,     ///< a cavity without an opening
  suctionCup,    ///< a cavity that is open towards the film alone while it is printed
  specks,        ///< small things that swim off, all of a print
  idlePoints,    ///< support points that touch no material, all of a print
};
inline constexpr std::size_t kinds = 9;

enum class Severity : uint8_t {
  fails,  ///< what is printed is lost or useless
  risk,   ///< it may go wrong
  note,   ///< good to know
};
inline constexpr std::size_t severities = 3;

/// Something wrong with a print: one for each cause, without what follows from it.
struct Finding {
  Kind kind = Kind::emptyLayers;
  Severity severity = Severity::note;
  Extent extent;  ///< without pixels: of layers alone, or of points alone
  uint32_t count =
      1;              ///< of a floating part: islands it begins with; of specks and points: of them
  double volume = 0;  ///< mm3 of material, of a cavity: of resin; 0 where there is none to tell
  double area = 0;    ///< mm2: of the largest piece in a layer; of a cavity: of its opening
  uint32_t takenIn = 0;       ///< of an island: the layer in which it is taken
  bool reachesPlate = false;  ///< of a cavity: the plate is one of its walls
};

/// How many there are.
using Counts = std::array<uint32_t, severities>;

}  // namespace stiltforge::check
