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

uint64_t GhostStamp::mostInRows(uint32_t firstRow, uint32_t endRow) const {
  constexpr uint64_t steepest = 255;
  uint64_t most = 0;
  for (const Footprint& footprint : footprints_) {
    // Cells beside each other fall onto one pixel where a coordinate is rounded towards 0 from both
    // sides; they are in different spans.
    uint64_t rows = 0;
    for (const Span& span : footprint.rows) {
      rows += span.place < endRow && span.place + span.length > firstRow ? 1 : 0;
    }
    most += steepest * rows * footprint.columns.size();
  }
  return most;
}

template <typename Sum>
void GhostStamp::addRow(const Footprint& footprint, uint32_t tableRow, Sum* line) const {
  const uint8_t* table = spread_.row(tableRow);
  for (const Span& columns : footprint.columns) {
    const uint8_t* from = table + columns.cell;
    Sum* to = line + columns.place;
    for (uint32_t k = 0; k < columns.length; ++k) to[k] = static_cast<Sum>(to[k] + from[k]);
  }
}

template <typename Sum>
void GhostStamp::addRows(uint32_t firstRow, uint32_t endRow, Sum* sums) const {
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

template void GhostStamp::addRows(uint32_t, uint32_t, uint16_t*) const;
template void GhostStamp::addRows(uint32_t, uint32_t, float*) const;

}  // namespace stiltforge
