#pragma once

#include <cstddef>
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
  /// The arguments must outlive the object; candidates must not be empty. Samples are in raster
  /// order.
  CandidateSnap(const std::vector<Candidate>& candidates, const Plane<uint16_t>& sampleX,
                const Plane<uint16_t>& sampleY);

  Site nearest(Site place) const;

 private:
  bool isCandidate(Site place) const;

  const Plane<uint16_t>& sampleX_;
  const Plane<uint16_t>& sampleY_;
  std::vector<Site> places_;  // of the candidates, in their order
  std::vector<bool> kept_;    // samples that are candidates
};

}  // namespace stiltforge
