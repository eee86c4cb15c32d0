#include "reference/candidate_sort.h"

#include <algorithm>

#ifndef __GLIBCXX__
#error "The order of equal scores is that of libstdc++: build the reference with it."
#endif

namespace stiltforge::reference {

void sortCandidates(std::vector<Voxel*>& candidates) {
  std::sort(candidates.begin(), candidates.end(),
            [](const Voxel* a, const Voxel* b) { return a->score < b->score; });
}

}  // namespace stiltforge::reference
