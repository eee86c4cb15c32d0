#include "check/joined_layers.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "runtime/disjoint_sets.h"

namespace stiltforge::check {

namespace {

JoinedLayer numbered(DisjointSets& sets, uint32_t bodies) {
  JoinedLayer joined;
  joined.ofBody.resize(bodies);
  joined.ofComponent.resize(sets.size() - bodies);
  // A root comes before the others of its set.
  for (uint32_t i = 0; i < sets.size(); ++i) {
    const uint32_t root = sets.root(i);
    uint32_t& number = i < bodies ? joined.ofBody[i] : joined.ofComponent[i - bodies];
    if (root == i) {
      number = joined.count++;
    } else {
      number = root < bodies ? joined.ofBody[root] : joined.ofComponent[root - bodies];
    }
  }
  return joined;
}

}  // namespace

JoinedLayer joinLayers(const hold::Components& layer, const hold::Components& below,
                       const std::vector<uint32_t>& bodyOf, uint32_t bodies,
                       const std::vector<uint32_t>& anchored) {
  DisjointSets sets(bodies + layer.count);
  hold::forEachShared(layer.pixels, below.pixels,
                      [&](uint32_t run, uint32_t lower, uint16_t, uint16_t) {
                        sets.unite(bodies + layer.ofRun[run], bodyOf[below.ofRun[lower]]);
                      });
  for (const uint32_t component : anchored) sets.unite(0, bodies + component);
  return numbered(sets, bodies);
}

JoinedLayer joinLayersWithin(const Reach& reach, const hold::Components& layer,
                             const hold::Components& below, const std::vector<uint32_t>& bodyOf,
                             uint32_t bodies) {
  DisjointSets sets(bodies + layer.count);
  for (int y = 0; y < layer.pixels.height(); ++y) {
    uint32_t position = layer.pixels.rowStart(static_cast<std::size_t>(y));
    for (const Run& run : layer.pixels.row(y)) {
      const uint32_t component = layer.ofRun[position++];
      for (int away = -reach.rows(); away <= reach.rows(); ++away) {
        const int columns = reach.columnsAt(away);
        const std::span<const Run> row = below.pixels.row(y + away);
        auto lower = std::partition_point(
            row.begin(), row.end(), [&](const Run& r) { return r.end + columns <= run.begin; });
        for (; lower != row.end() && lower->begin - columns < run.end; ++lower) {
          sets.unite(bodies + component,
                     bodyOf[below.ofRun[static_cast<std::size_t>(&*lower - below.pixels.data())]]);
        }
      }
    }
  }
  return numbered(sets, bodies);
}

}  // namespace stiltforge::check
