#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/scratch_vector.h"

namespace stiltforge {

/// A sample as the generator ranks it.
struct Candidate {
  float score = 0;
  uint32_t sample = 0;  ///< position in the generator's list of samples
};

/// Sorts by ascending score with the unstable introspective sort that fixes the order of equal
/// scores (D. R. Musser, "Introspective sorting and selection algorithms", 1997): quicksort on the
/// median of the second, middle and last element, heap sort beyond a depth of 2 * floor(log2 n),
/// insertion sort of what is left below 17 elements. The same input gives the same order on every
/// standard library.
void sortCandidates(ScratchVector<Candidate>& candidates);

/// Puts in front, in the same order, what sortCandidates() would put there: at least the `count`
/// lowest and every further one whose score equals the last of them. Returns how many positions are
/// final.
std::size_t sortLowestCandidates(ScratchVector<Candidate>& candidates, std::size_t count);

}  // namespace stiltforge
