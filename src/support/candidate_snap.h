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
  /// The arguments must outlive the object; candidates must not be empty.
  CandidateSnap(const std::vector<Candidate>& candidates, const Plane<uint16_t>& sampleX,
                const Plane<uint16_t>& sampleY);

  Site nearest(Site place) const;

 private:
  std::vector<Site> places_;
};

}  // namespace stiltforge
