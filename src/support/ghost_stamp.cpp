#include "support/ghost_stamp.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "runtime/float_conversion.h"

namespace stiltforge {

namespace {

// First of the cells [from, end) that is not `before`, which holds for cells up to there.
template <typename Before>
uint32_t firstCellNot(uint32_t from, uint32_t end, Before before) {
  while (from < end) {
    const uint32_t middle = from + (end - from) / 2;
    if (before(middle)) {
      from = middle + 1;
    } else {
      end = middle;
    }
  }
  return from;
}

}  // namespace

std::vector<GhostStamp::Span> GhostStamp::spansAlong(uint16_t ghost, uint16_t boxMin,
                                                     uint32_t boxLength) const {
  const auto coordinate = [&](uint32_t cell) {
    return static_cast<float>(ghost) - spread_.radius() + static_cast<float>(cell) -
           static_cast<float>(boxMin);
  };
  // In sixteen bits: what lies left of or above the box wraps to a large number.
  const auto placeOf = [&](uint32_t cell) -> uint32_t { return toUint16(coordinate(cell)); };
  std::vector<Span> spans;
  const auto append = [&](const Span& added) {
    if (!spans.empty() && spans.back().cell + spans.back().length == added.cell &&
        spans.back().place + spans.back().length == added.place) {
      spans.back().length += added.length;
    } else {
      spans.push_back(added);
    }
  };
  const auto appendEach = [&](uint32_t cell, uint32_t end) {
    for (; cell < end; ++cell) {
      const uint32_t place = placeOf(cell);
      if (place < boxLength) append({cell, place, 1});
    }
  };

  const uint32_t cells = spread_.side();
  if (cells == 0) return spans;
  constexpr float wrapsAt = 65536.0f;
  const auto length = static_cast<float>(boxLength);
  if (coordinate(0) <= length - wrapsAt || coordinate(cells - 1) >= wrapsAt) {
    appendEach(0, cells);
    return spans;
  }
  const auto firstFrom = [&](float limit) {
    return firstCellNot(0, cells, [&](uint32_t cell) { return coordinate(cell) < limit; });
  };
  const uint32_t inside = firstFrom(0);
  const uint32_t end = firstFrom(length);
  // What is left of 0 by less than 1 is rounded to it.
  appendEach(firstFrom(-1), inside);
  if (inside == end) return spans;
  // Coarser floats round a larger coordinate further up, never down: where the last cell lies as
  // far on as the first one, so do all between.
  const uint32_t place = placeOf(inside);
  if (placeOf(end - 1) - place == end - 1 - inside) {
    append({inside, place, end - inside});
  } else {
    appendEach(inside, end);
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
