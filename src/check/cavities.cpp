#include "check/cavities.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "check/joined_layers.h"

namespace stiltforge::check {

namespace {

constexpr uint32_t outside = 0;

// The pixels that are not among the material.
RunRows freeOf(const RunRows& material, int width) {
  RunRows free;
  for (int y = 0; y < material.height(); ++y) {
    int32_t at = 0;
    for (const Run& run : material.row(y)) {
      free.add(at, run.begin);
      at = run.end;
    }
    free.add(at, width);
    free.endRow();
  }
  return free;
}

std::vector<uint32_t> componentsAtBorder(const hold::Components& free, int width) {
  std::vector<uint32_t> found;
  const RunRows& rows = free.pixels;
  const auto height = static_cast<std::size_t>(rows.height());
  for (std::size_t y = 0; y < height; ++y) {
    const bool isBorder = y == 0 || y + 1 == height;
    for (uint32_t run = rows.rowStart(y); run < rows.rowStart(y + 1); ++run) {
      if (!isBorder && rows[run].begin != 0 && rows[run].end != width) continue;
      if (found.empty() || found.back() != free.ofRun[run]) found.push_back(free.ofRun[run]);
    }
  }
  return found;
}

}  // namespace

void Cavities::end(Cavity& cavity, End how) {
  cavity.end = how;
  ended_(cavity);
}

void Cavities::add(const RunRows& material, int width, uint32_t layer) {
  hold::Components free = hold::findComponents(freeOf(material, width), hold::Contact::sides);
  const auto before = static_cast<uint32_t>(cavities_.size());
  const JoinedLayer joined =
      joinLayers(free, below_, cavityOf_, before, componentsAtBorder(free, width));
  std::vector<uint8_t> isInside(free.count);
  for (uint32_t component = 0; component < free.count; ++component) {
    isInside[component] = joined.ofComponent[component] != outside ? 1 : 0;
  }
  const std::vector<Extent> extents = extentsOf(free, layer, isInside);

  constexpr uint32_t none = hold::Components::none;
  std::vector<uint32_t> numberOf(joined.count, none);
  numberOf[outside] = outside;
  std::vector<Cavity> cavities(1);
  std::vector<uint64_t> openings(1, 0);
  cavityOf_.resize(free.count);
  for (uint32_t component = 0; component < free.count; ++component) {
    uint32_t& number = numberOf[joined.ofComponent[component]];
    if (number == none) {
      number = static_cast<uint32_t>(cavities.size());
      cavities.emplace_back();
      openings.push_back(0);
    }
    cavityOf_[component] = number;
    if (number == outside) continue;
    cavities[number].extent.join(extents[component]);
    cavities[number].reachesPlate |= layer == 0;
    openings[number] += extents[component].pixels;
  }
  for (uint32_t cavity = 1; cavity < before; ++cavity) {
    const uint32_t number = numberOf[joined.ofBody[cavity]];
    if (number == none) {
      end(cavities_[cavity], End::closed);
    } else if (number == outside) {
      end(cavities_[cavity], End::vented);
    } else {
      Cavity& merged = cavities[number];
      merged.extent.join(cavities_[cavity].extent);
      merged.reachesPlate |= cavities_[cavity].reachesPlate;
      merged.largestOpening = std::max(merged.largestOpening, cavities_[cavity].largestOpening);
    }
  }
  for (std::size_t i = 1; i < cavities.size(); ++i) {
    cavities[i].largestOpening = std::max(cavities[i].largestOpening, openings[i]);
  }
  cavities_ = std::move(cavities);
  below_ = std::move(free);
}

void Cavities::finish() {
  for (std::size_t i = 1; i < cavities_.size(); ++i) end(cavities_[i], End::open);
  cavities_.resize(1);
}

}  // namespace stiltforge::check
