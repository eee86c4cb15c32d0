#include "analysis/layer.h"

#include <algorithm>

namespace stiltforge {

namespace {

template <typename T>
void release(std::vector<T>& values) {
  std::vector<T>().swap(values);
}

}  // namespace

bool Layer::isBackground(uint32_t index) const {
  if (width == 0 || index / width >= height) return true;
  const uint32_t y = index / width;
  const uint32_t x = index % width;
  const auto rowEnd = runs.begin() + rowRuns[y + 1];
  const auto next =
      std::upper_bound(runs.begin() + rowRuns[y], rowEnd, x,
                       [](uint32_t column, const SolidRun& r) { return column < r.end; });
  return next == rowEnd || x < next->begin;
}

void Layer::releasePixels() {
  pixelBuffer.release();
  supportedPixels.release();
  strokePixels.release();
}

void Layer::archive() {
  if (isArchived()) return;
  archived.resize(groups.size());
  for (std::size_t i = 0; i < groups.size(); ++i) {
    archived[i].box = groups[i].box();
    std::unique_ptr<Placement>& placement = groups[i].placement;
    if (!placement) continue;
    // Only a sampled group's images can still ask for the ghosts.
    if (placement->samples) {
      placement->ghostSupports.shrink_to_fit();
    } else {
      release(placement->ghostSupports);
    }
    if (placement->samples || !placement->supports.empty()) {
      archived[i].placement = std::move(placement);
    }
  }
  releasePixels();
  release(groups);
  release(runs);
  release(rowRuns);
  release(overlaps);
}

}  // namespace stiltforge
