#include "support/group_overhang.h"

#include <limits>
#include <span>

#include "runtime/scratch_vector.h"

namespace stiltforge {

std::vector<std::vector<OverhangSpan>> overhangOfGroups(const Layer& layer,
                                                        const std::vector<uint32_t>& groups) {
  constexpr uint32_t notWanted = std::numeric_limits<uint32_t>::max();
  ScratchVector<uint32_t> listOf(layer.groups.size(), notWanted);
  for (uint32_t i = 0; i < groups.size(); ++i) listOf[groups[i]] = i;

  std::vector<std::vector<OverhangSpan>> lists(groups.size());
  uint32_t pixel = 0;
  for (uint32_t y = 0; y < layer.height; ++y) {
    uint32_t run = layer.material.rowStart(y);
    for (const Run& span : layer.overhang.row(static_cast<int>(y))) {
      while (layer.material[run].end <= span.begin) ++run;
      const uint32_t list = listOf[layer.groupOfRun[run]];
      if (list != notWanted) {
        lists[list].push_back({static_cast<uint16_t>(y), span.begin, span.end, pixel});
      }
      pixel += span.length();
    }
  }
  return lists;
}

}  // namespace stiltforge
