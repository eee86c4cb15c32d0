#pragma once

#include <cstdint>
#include <vector>

#include "analysis/plane.h"
#include "support/candidate_sort.h"
#include "support/nearest_site.h"

namespace stiltforge {

/// Finds the candidate nearest to a pixel, which is the pixel itself where it is a candidate; of
/// equally near ones the first in the candidates' order.
class CandidateSnap {
 public:
  /// Candidates must not be empty; samples are in raster order.
  CandidateSnap(const ScratchVector<Candidate>& candidates, const Plane<uint16_t>& sampleX,
                const Plane<uint16_t>& sampleY);

  /// Searches rows, and columns of a row, from the pixel outwards.
  Site nearest(Site place) const;

 private:
  struct Place {
    uint16_t x = 0;
    uint32_t rank = 0;  // position among the candidates
  };
  struct Best;

  void searchRow(Site place, int32_t row, Best& best) const;

  ScratchVector<Place> places_;     // in raster order
  std::vector<uint32_t> rowFirst_;  // row r has places_ [rowFirst_[r], rowFirst_[r + 1])
  uint16_t top_ = 0;                // pixel row of row 0
};

}  // namespace stiltforge
