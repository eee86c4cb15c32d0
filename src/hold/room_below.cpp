#include "hold/room_below.h"

#include <algorithm>
#include <span>
#include <utility>

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

bool RoomBelow::isBelow(int x, int y) const {
  const uint32_t free = at(x, y);
  return free >= (free + 1 == layerCount_ ? layersOnPlate_ : layers_);
}

void RoomBelow::findRoom(Run run, int y, RunRows& roomy) {
  if (layerCount_ <= std::min(layers_ + 1, layersOnPlate_)) return;
  rest_.assign(1, run);
  for (std::size_t i = 1; i < below_.size() && !rest_.empty(); ++i) {
    std::span<const Run> row = below_[i].row(y);
    if (row.empty() || row.back().end <= run.begin || row.front().begin >= run.end) continue;
    next_.clear();
    for (const Run& rest : rest_) {
      forEachUncovered(rest, row, [&](int32_t begin, int32_t end) {
        next_.push_back({static_cast<uint16_t>(begin), static_cast<uint16_t>(end)});
      });
    }
    std::swap(rest_, next_);
  }
  for (const Run& rest : rest_) roomy.add(rest.begin, rest.end);
}

}  // namespace stiltforge::hold
