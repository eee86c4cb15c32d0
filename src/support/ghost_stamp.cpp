#include "support/ghost_stamp.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "runtime/float_conversion.h"

namespace stiltforge {

namespace {

// Box coordinate of a table cell; a cell left of or above the box wraps to a large number.
uint16_t boxCoordinate(uint16_t ghost, float radius, uint32_t cell, uint16_t boxMin) {
  return toUint16(static_cast<float>(ghost) - radius + static_cast<float>(cell) -
                  static_cast<float>(boxMin));
}

}  // namespace

std::vector<GhostStamp::Span> GhostStamp::spansAlong(uint16_t ghost, uint16_t boxMin,
                                                     uint32_t boxLength) const {
  std::vector<Span> spans;
  for (uint32_t cell = 0; cell < spread_.side(); ++cell) {
    const uint32_t place = boxCoordinate(ghost, spread_.radius(), cell, boxMin);
    if (place >= boxLength) continue;
    if (!spans.empty() && spans.back().cell + spans.back().length == cell &&
        spans.back().place + spans.back().length == place) {
      ++spans.back().length;
    } else {
      spans.push_back({cell, place, 1});
    }
  }
  return spans;
}

GhostStamp::GhostStamp(const GhostSpread& spread, const std::vector<Voxel*>& ghosts, Box box)
    : spread_(spread), boxWidth_(static_cast<uint32_t>(box.xMax - box.xMin)) {
  const auto boxHeight = static_cast<uint32_t>(box.yMax - box.yMin);
  for (const Voxel* ghost : ghosts) {
    if (ghost->toDelete) continue;
    Footprint footprint{spansAlong(ghost->y, box.yMin, boxHeight), {}};
    if (footprint.rows.empty()) continue;
    footprint.columns = spansAlong(ghost->x, box.xMin, boxWidth_);
    if (!footprint.columns.empty()) footprints_.push_back(std::move(footprint));
  }
}

void GhostStamp::addRow(const Footprint& footprint, uint32_t tableRow, float* line) const {
  const float* table = spread_.row(tableRow);
  for (const Span& columns : footprint.columns) {
    const float* from = table + columns.cell;
    float* to = line + columns.place;
    for (uint32_t k = 0; k < columns.length; ++k) to[k] += from[k];
  }
}

void GhostStamp::addRows(uint32_t firstRow, uint32_t endRow, float* sums) const {
  for (const Footprint& footprint : footprints_) {
    for (const Span& rows : footprint.rows) {
      const uint32_t end = std::min(endRow, rows.place + rows.length);
      for (uint32_t y = std::max(firstRow, rows.place); y < end; ++y) {
        addRow(footprint, rows.cell + (y - rows.place),
               sums + std::size_t{y - firstRow} * boxWidth_);
      }
    }
  }
}

}  // namespace stiltforge
