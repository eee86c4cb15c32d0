#include "analysis/layer.h"

#include <algorithm>
#include <span>

namespace stiltforge {

namespace {

template <typename Vector>
void release(Vector& values) {
  Vector().swap(values);
}

}  // namespace

bool Layer::isBackground(uint32_t index) const {
  if (width == 0 || index / width >= height) return true;
  const std::span<const Run> row = material.row(static_cast<int>(index / width));
  const uint32_t x = index % width;
  const auto next = std::upper_bound(
      row.begin(), row.end(), x, [](uint32_t column, const Run& run) { return column < run.end; });
  return next == row.end() || x < next->begin;
}

void Layer::releaseOverhang() {
  overhang = RunRows();
  release(blue);
  release(green);
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
  releaseOverhang();
  material = RunRows();
  release(groupOfRun);
  release(groups);
  release(overlaps);
}

}  // namespace stiltforge
