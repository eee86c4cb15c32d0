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
    : spread_(spread),
      boxWidth_(static_cast<uint32_t>(box.xMax - box.xMin)),
      boxHeight_(static_cast<uint32_t>(box.yMax - box.yMin)) {
  for (const Voxel* ghost : ghosts) {
    if (ghost->toDelete) continue;
    Footprint footprint{spansAlong(ghost->y, box.yMin, boxHeight_), {}};
    if (footprint.rows.empty()) continue;
    footprint.columns = spansAlong(ghost->x, box.xMin, boxWidth_);
    if (!footprint.columns.empty()) footprints_.push_back(std::move(footprint));
  }
  sortIntoTileRows();
}

void GhostStamp::sortIntoTileRows() {
  inTileRow_.resize((boxHeight_ + tileHeight - 1) / tileHeight);
  for (uint32_t number = 0; number < footprints_.size(); ++number) {
    for (const Span& rows : footprints_[number].rows) {
      for (uint32_t tile = rows.place / tileHeight; tile * tileHeight < rows.place + rows.length;
           ++tile) {
        std::vector<uint32_t>& inRow = inTileRow_[tile];
        if (inRow.empty() || inRow.back() != number) inRow.push_back(number);
      }
    }
  }
}

uint64_t GhostStamp::mostInRows(uint32_t firstRow, uint32_t endRow) const {
  constexpr uint64_t steepest = 255;
  uint64_t most = 0;
  for (uint32_t tile = firstRow / tileHeight; tile * tileHeight < endRow; ++tile) {
    for (const uint32_t number : inTileRow_[tile]) {
      const Footprint& footprint = footprints_[number];
      // Cells beside each other fall onto one pixel where a coordinate is rounded towards 0 from
      // both sides; they are in different spans. Each counts in its first tile.
      uint64_t rows = 0;
      for (const Span& span : footprint.rows) {
        const uint32_t begin = std::max(firstRow, span.place);
        const uint32_t end = std::min(endRow, span.place + span.length);
        rows += begin < end && begin / tileHeight == tile ? 1 : 0;
      }
      most += steepest * rows * footprint.columns.size();
    }
  }
  return most;
}

// The largest entry of the table where both spans meet, or of the squares around them.
uint64_t GhostStamp::mostInSpans(const Span& rows, const Span& columns) const {
  constexpr uint32_t side = GhostSpread::squareSide;
  uint8_t most = 0;
  for (uint32_t i = rows.cell / side; i * side < rows.cell + rows.length; ++i) {
    for (uint32_t j = columns.cell / side; j * side < columns.cell + columns.length; ++j) {
      most = std::max(most, spread_.mostInSquare(i, j));
    }
  }
  return most;
}

std::vector<uint64_t> GhostStamp::mostInTiles() const {
  const uint32_t across = tilesAcross();
  std::vector<uint64_t> most(std::size_t{across} * ((boxHeight_ + tileHeight - 1) / tileHeight), 0);
  // Calls visit(tile, part of the span in it).
  const auto forEachTile = [](const Span& span, uint32_t side, auto&& visit) {
    for (uint32_t tile = span.place / side; tile * side < span.place + span.length; ++tile) {
      const uint32_t begin = std::max(span.place, tile * side);
      const uint32_t end = std::min(span.place + span.length, (tile + 1) * side);
      visit(tile, Span{span.cell + (begin - span.place), begin, end - begin});
    }
  };
  for (const Footprint& footprint : footprints_) {
    for (const Span& allRows : footprint.rows) {
      for (const Span& allColumns : footprint.columns) {
        forEachTile(allRows, tileHeight, [&](uint32_t i, const Span& rows) {
          forEachTile(allColumns, tileWidth, [&](uint32_t j, const Span& columns) {
            most[std::size_t{i} * across + j] += mostInSpans(rows, columns);
          });
        });
      }
    }
  }
  return most;
}

uint64_t GhostStamp::sumAt(uint32_t x, uint32_t y) const {
  uint64_t sum = 0;
  for (const Footprint& footprint : footprints_) {
    for (const Span& rows : footprint.rows) {
      if (y - rows.place >= rows.length) continue;
      const uint8_t* const table = spread_.row(rows.cell + (y - rows.place));
      for (const Span& columns : footprint.columns) {
        if (x - columns.place < columns.length) sum += table[columns.cell + (x - columns.place)];
      }
    }
  }
  return sum;
}

template <typename Sum>
void GhostStamp::addRow(const Footprint& footprint, uint32_t tableRow, const Part& part,
                        Sum* line) const {
  const uint8_t* table = spread_.row(tableRow);
  for (const Span& columns : footprint.columns) {
    const uint32_t begin = std::max(part.left, columns.place);
    const uint32_t end = std::min(part.right, columns.place + columns.length);
    const uint8_t* from = table + columns.cell + (begin - columns.place);
    Sum* to = line + begin;
    for (uint32_t k = 0; begin + k < end; ++k) to[k] = static_cast<Sum>(to[k] + from[k]);
  }
}

template <typename Sum>
void GhostStamp::add(const Part& part, Sum* sums) const {
  for (uint32_t tile = part.firstRow / tileHeight; tile * tileHeight < part.endRow; ++tile) {
    const uint32_t firstRow = std::max(part.firstRow, tile * tileHeight);
    const uint32_t endRow = std::min(part.endRow, (tile + 1) * tileHeight);
    for (const uint32_t number : inTileRow_[tile]) {
      const Footprint& footprint = footprints_[number];
      for (const Span& rows : footprint.rows) {
        const uint32_t end = std::min(endRow, rows.place + rows.length);
        uint32_t y = std::max(firstRow, rows.place);
        if (y >= end) continue;
        y += (part.step - y % part.step) % part.step;
        for (; y < end; y += part.step) {
          addRow(footprint, rows.cell + (y - rows.place), part,
                 sums + std::size_t{y - part.firstRow} * boxWidth_);
        }
      }
    }
  }
}

template void GhostStamp::add(const Part&, uint16_t*) const;
template void GhostStamp::add(const Part&, float*) const;

}  // namespace stiltforge
