#include "support/ghost_stamp.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

#include "runtime/float_conversion.h"
#include "support/poisson.h"

namespace stiltforge {

namespace {

// Side of the table: the number of whole i >= 0 with i < 2 * ghostRadius.
uint32_t tableSide = 0;
std::vector<float> coneSteps;

uint32_t sideOf(float radius) {
  const float diameter = 2.0f * radius;
  return diameter > 0 ? static_cast<uint32_t>(std::ceil(diameter)) : 0;
}

// Box coordinate of a table cell; a cell left of or above the box wraps to a large number.
uint16_t boxCoordinate(uint16_t ghost, uint32_t cell, uint16_t boxMin) {
  return toUint16(static_cast<float>(ghost) - Poisson::ghostRadius + static_cast<float>(cell) -
                  static_cast<float>(boxMin));
}

}  // namespace

void Poisson::createGhostSpread() {
  if (ghostRadius > maxGhostRadius) {
    throw std::length_error("ghostRadius " + std::to_string(ghostRadius) +
                            " is too large: at most 4096 pixels are supported");
  }
  const float radius = ghostRadius;
  const uint32_t side = sideOf(radius);
  const int32_t centre = static_cast<int16_t>(toInt32(radius));
  ghostSpread.resize(std::size_t{side} * side);
  std::size_t k = 0;
  for (uint32_t i = 0; i < side; ++i) {
    for (uint32_t j = 0; j < side; ++j) {
      const auto dx = static_cast<float>(static_cast<int32_t>(j) - centre);
      const auto dy = static_cast<float>(static_cast<int32_t>(i) - centre);
      const float distance = std::sqrt(dx * dx + dy * dy);
      ghostSpread[k++] = distance > radius ? 0.0f : (radius - distance) / radius * 255.0f;
    }
  }
  GhostStamp::rebuildTable();
}

void Poisson::releaseGhostSpread() {
  std::vector<float>().swap(ghostSpread);
  GhostStamp::releaseTable();
}

void GhostStamp::releaseTable() {
  tableSide = 0;
  std::vector<float>().swap(coneSteps);
}

void GhostStamp::rebuildTable() {
  const float radius = Poisson::ghostRadius;
  tableSide = sideOf(radius);
  coneSteps.resize(Poisson::ghostSpread.size());
  for (uint32_t i = 0; i < tableSide; ++i) {
    for (uint32_t j = 0; j < tableSide; ++j) {
      // The row length in this index is 2 * radius, whole or not. Above 2^24 entries it may round
      // up past the last corner, whose weight is 0.
      const float index = static_cast<float>(j) + 2.0f * (static_cast<float>(i) * radius);
      const float weight = Poisson::ghostSpread[std::min<std::size_t>(
          toUint32(index), Poisson::ghostSpread.size() - 1)];
      coneSteps[std::size_t{i} * tableSide + j] = static_cast<float>(toInt32(weight) & 0xFF);
    }
  }
}

std::vector<GhostStamp::Span> GhostStamp::spansAlong(uint16_t ghost, uint16_t boxMin,
                                                     uint32_t boxLength) {
  std::vector<Span> spans;
  for (uint32_t cell = 0; cell < tableSide; ++cell) {
    const uint32_t place = boxCoordinate(ghost, cell, boxMin);
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

GhostStamp::GhostStamp(const std::vector<Voxel*>& ghosts, Box box)
    : boxWidth_(static_cast<uint32_t>(box.xMax - box.xMin)) {
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
  const float* table = coneSteps.data() + std::size_t{tableRow} * tableSide;
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
