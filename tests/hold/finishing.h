#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "hold/finisher.h"
#include "part.h"

namespace stiltforge::hold {

// Counted in pixels and layers: a point reaches 6 of them.
inline FinishSettings unitFinish() {
  FinishSettings settings;
  settings.spacing = 3;
  settings.reach = 6;
  settings.farReach = 10;
  settings.ownReach = 5;
  settings.leastOwnArea = 20;
  settings.leastGap = 1;
  settings.islandHeight = 2;
  return settings;
}

inline Finished finishedOf(const Part& part, const FinishSettings& settings = unitFinish(),
                           const SurveySettings& surveyed = unitSettings()) {
  return finish(part.survey(surveyed), settings);
}

// So many equal layers.
struct Storey {
  std::size_t layers = 1;
  Rows rows;
};

// Bottom first.
inline Part partOf(std::initializer_list<Storey> storeys) {
  Part part;
  for (const Storey& storey : storeys) part.addLayers(storey.layers, storey.rows);
  return part;
}

// A plank beside a pillar, in the layers from plankLayer on, with points of the analysis below it
// in those columns; the pillar is column 0.
inline constexpr uint32_t plankLayer = 4;
inline Part plank(std::size_t width, std::initializer_list<int> columns = {}) {
  std::string pillar(1 + width, '.');
  std::string plank(1 + width, '#');
  pillar[0] = plank[0] = '+';
  Part part = partOf({{plankLayer, {pillar}}, {3, {plank}}});
  for (const int column : columns) part.addPoint(plankLayer, column, 0);
  return part;
}

template <class Value, class Item, class ValueOf>
std::vector<Value> eachOf(const std::vector<Item>& items, ValueOf&& valueOf) {
  std::vector<Value> values;
  for (const Item& item : items) values.push_back(valueOf(item));
  return values;
}

inline std::vector<Reason> reasonsOf(const Finished& finished) {
  return eachOf<Reason>(finished.points, [](const FinishedPoint& point) { return point.reason; });
}

// Why each point of the analysis that is gone was dropped, by number.
inline std::vector<DropReason> dropReasonsOf(const Finished& finished) {
  return eachOf<DropReason>(finished.dropped,
                            [](const DroppedPoint& dropped) { return dropped.reason; });
}

// Of each point its number in the analysis.
inline std::vector<uint32_t> analysedOf(const Finished& finished) {
  return eachOf<uint32_t>(finished.points,
                          [](const FinishedPoint& point) { return point.analysed; });
}

inline std::vector<int> columnsOf(const Finished& finished) {
  return eachOf<int>(finished.points,
                     [](const FinishedPoint& point) { return point.site.place.x; });
}

inline std::vector<uint32_t> layersOf(const Finished& finished) {
  return eachOf<uint32_t>(finished.points,
                          [](const FinishedPoint& point) { return point.site.place.layer; });
}

using Reasons = std::vector<Reason>;
using DropReasons = std::vector<DropReason>;
using Numbers = std::vector<uint32_t>;
using Columns = std::vector<int>;

// What a failed test says.
inline void PrintTo(Reason reason, std::ostream* out) {
  *out << nameOf(reason);
}
inline void PrintTo(DropReason reason, std::ostream* out) {
  *out << nameOf(reason);
}

}  // namespace stiltforge::hold
