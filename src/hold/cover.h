#pragma once

#include <cstddef>

#include "hold/survey.h"

namespace stiltforge::hold {

/// About the fewest points that bring that share of the overhang, in [0, 1], within `reach` mm of
/// one: chosen greedily among the overhang itself, each where it reaches most that none before it
/// does (D. S. Johnson, "Approximation algorithms for combinatorial problems", 1974). What a set of
/// points may be compared with; it heeds neither islands nor room.
///
/// Overhang is taken in cubes of a twelfth of the reach, each by the first of its pixels.
std::size_t coverSize(const Survey& survey, double reach, double share);

}  // namespace stiltforge::hold
