#include "hold/room_below.h"

#include <algorithm>
#include <span>
#include <vector>

#include "hold/components.h"

namespace stiltforge::hold {

void RoomBelow::add(const RunRows& material) {
  below_.push_front(material);
  if (below_.size() > std::size_t{layers_} + 1) below_.pop_back();
  ++layerCount_;
}

uint32_t RoomBelow::at(int x, int y) const {
  uint32_t room = 0;
  while (room + 1 < below_.size() && findRun(below_[room + 1], x, y) == Components::none) ++room;
  return room;
}

void RoomBelow::findRoom(Run run, int y, RunRows& roomy) const {
  if (layerCount_ <= layers_) return;
  std::vector<Run> blocked;
  for (std::size_t i = 1; i < below_.size(); ++i) {
    const std::span<const Run> row = below_[i].row(y);
    auto first = std::partition_point(row.begin(), row.end(),
                                      [&](const Run& r) { return r.end <= run.begin; });
    for (; first != row.end() && first->begin < run.end; ++first) blocked.push_back(*first);
  }
  std::sort(blocked.begin(), blocked.end(),
            [](const Run& a, const Run& b) { return a.begin < b.begin; });
  int32_t at = run.begin;
  for (const Run& material : blocked) {
    roomy.add(at, std::min(material.begin, run.end));
    at = std::max<int32_t>(at, material.end);
  }
  roomy.add(at, run.end);
}

}  // namespace stiltforge::hold
