#include "analysis/run_labelling.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr std::size_t runsPerBand = std::size_t{1} << 16;
constexpr uint32_t unlabelled = 0xFFFFFFFF;

// A forest over provisional labels. Labels are made in raster order of the runs that make them, and
// a root is the smallest label of its set, so it stands for the component's first run.
class LabelSets {
 public:
  uint32_t add() {
    parent_.push_back(static_cast<uint32_t>(parent_.size()));
    return parent_.back();
  }
  uint32_t root(uint32_t label) {
    while (parent_[label] != label) {
      parent_[label] = parent_[parent_[label]];
      label = parent_[label];
    }
    return label;
  }
  void unite(uint32_t a, uint32_t b) {
    a = root(a);
    b = root(b);
    parent_[std::max(a, b)] = std::min(a, b);
  }
  // Lets every label point to its root; parents are smaller, so one pass upwards does.
  void flatten() {
    for (uint32_t& parent : parent_) parent = parent_[parent];
  }
  // Needs flatten() since the last change.
  uint32_t flatRoot(uint32_t label) const { return parent_[label]; }
  std::size_t size() const { return parent_.size(); }

  // Takes over the other's labels, shifted behind its own.
  void append(const LabelSets& other) {
    const auto offset = static_cast<uint32_t>(parent_.size());
    for (const uint32_t parent : other.parent_) parent_.push_back(parent + offset);
  }

 private:
  std::vector<uint32_t> parent_;
};

struct CornerLink {
  uint32_t from = 0;
  uint32_t to = 0;
};

// Rows [firstRow, endRow) with labels of their own.
struct Band {
  uint32_t firstRow = 0;
  uint32_t endRow = 0;
  uint32_t labelOffset = 0;
  LabelSets sets;
  std::vector<CornerLink> links;  // between components of the band
};

// Calls touch(upper, lower) for runs of rows y - 1 and y that share a column and corner(upper,
// lower) for those that meet at a corner, from left to right.
template <typename Touch, typename Corner>
void compareRows(const Layer& layer, uint32_t y, Touch touch, Corner corner) {
  const SolidRun* const runs = layer.runs.data();
  uint32_t upper = layer.rowRuns[y - 1];
  uint32_t lower = layer.rowRuns[y];
  const uint32_t upperEnd = layer.rowRuns[y];
  const uint32_t lowerEnd = layer.rowRuns[y + 1];
  while (upper < upperEnd && lower < lowerEnd) {
    const SolidRun& above = runs[upper];
    const SolidRun& below = runs[lower];
    if (above.begin < below.end && below.begin < above.end) {
      touch(upper, lower);
    } else if (above.begin == below.end || below.begin == above.end) {
      corner(upper, lower);
    }
    // Past equal ends the successors start at least one pixel further on: neither run touches them.
    const bool upperEndsFirst = above.end <= below.end;
    const bool lowerEndsFirst = below.end <= above.end;
    upper += upperEndsFirst;
    lower += lowerEndsFirst;
  }
}

// Keeps the links between different components, as links between their root labels.
void linkRoots(const LabelSets& sets, std::vector<CornerLink>& links) {
  std::size_t kept = 0;
  for (const CornerLink& link : links) {
    const CornerLink roots{sets.flatRoot(link.from), sets.flatRoot(link.to)};
    links[kept] = roots;
    kept += roots.from != roots.to;
  }
  links.resize(kept);
}

void labelBand(Layer& layer, Band& band) {
  std::vector<CornerLink> contacts;  // of runs: the lower one may not be labelled yet
  std::vector<SolidRun>& runs = layer.runs;
  for (uint32_t y = band.firstRow; y < band.endRow; ++y) {
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) runs[r].group = unlabelled;
    if (y > band.firstRow) {
      compareRows(
          layer, y,
          [&](uint32_t upper, uint32_t lower) {
            if (runs[lower].group == unlabelled) {
              runs[lower].group = runs[upper].group;
            } else if (runs[lower].group != runs[upper].group) {
              band.sets.unite(runs[lower].group, runs[upper].group);
            }
          },
          [&](uint32_t upper, uint32_t lower) {
            contacts.push_back({upper, lower});
          });
    }
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
      if (runs[r].group == unlabelled) runs[r].group = band.sets.add();
    }
  }
  for (CornerLink& contact : contacts) contact = {runs[contact.from].group, runs[contact.to].group};
  band.sets.flatten();
  linkRoots(band.sets, contacts);
  band.links = std::move(contacts);
}

std::vector<Band> bandsOf(const Layer& layer) {
  const std::size_t count =
      std::min<std::size_t>(layer.runs.size() / runsPerBand + 1, layer.height);
  std::vector<Band> bands(count);
  for (std::size_t b = 0; b < count; ++b) {
    bands[b].firstRow = static_cast<uint32_t>(layer.height * b / count);
    bands[b].endRow = static_cast<uint32_t>(layer.height * (b + 1) / count);
  }
  return bands;
}

// Per component (by root label) the components that its corner links lead to, as one array with
// offsets; empty when no link leaves its component.
struct ComponentLinks {
  std::vector<uint32_t> first;
  std::vector<uint32_t> target;
};

ComponentLinks linkComponents(std::size_t labels, const std::vector<CornerLink>& links) {
  ComponentLinks result;
  if (links.empty()) return result;
  result.first.assign(labels + 1, 0);
  result.target.resize(links.size());
  for (const CornerLink& link : links) ++result.first[link.from + 1];
  for (std::size_t i = 0; i < labels; ++i) result.first[i + 1] += result.first[i];
  std::vector<uint32_t> next(result.first.begin(), result.first.end() - 1);
  for (const CornerLink& link : links) result.target[next[link.from]++] = link.to;
  return result;
}

// The group of every root label; the others' entries are 0.
std::vector<uint32_t> collectGroups(const LabelSets& sets, const ComponentLinks& reachable,
                                    uint32_t& groupCount) {
  std::vector<uint32_t> groupOf(sets.size(), 0);
  std::vector<uint32_t> open;
  for (uint32_t label = 0; label < sets.size(); ++label) {
    if (sets.flatRoot(label) != label || groupOf[label] != 0) continue;
    groupOf[label] = ++groupCount;
    if (reachable.first.empty()) continue;
    open.push_back(label);
    while (!open.empty()) {
      const uint32_t component = open.back();
      open.pop_back();
      for (uint32_t k = reachable.first[component]; k < reachable.first[component + 1]; ++k) {
        const uint32_t next = reachable.target[k];
        if (groupOf[next] != 0) continue;
        groupOf[next] = groupCount;
        open.push_back(next);
      }
    }
  }
  return groupOf;
}

}  // namespace

uint32_t labelRuns(Layer& layer) {
  if (layer.runs.empty()) return 0;
  std::vector<Band> bands = bandsOf(layer);
  workers::parallelFor(bands.size(), [&](std::size_t b) { labelBand(layer, bands[b]); });

  LabelSets sets;
  for (Band& band : bands) {
    band.labelOffset = static_cast<uint32_t>(sets.size());
    sets.append(band.sets);
  }
  const auto labelOf = [&](const Band& band, uint32_t run) {
    return band.labelOffset + layer.runs[run].group;
  };
  std::vector<CornerLink> links;
  for (std::size_t b = 1; b < bands.size(); ++b) {
    const Band& above = bands[b - 1];
    const Band& below = bands[b];
    compareRows(
        layer, below.firstRow,
        [&](uint32_t upper, uint32_t lower) {
          sets.unite(labelOf(above, upper), labelOf(below, lower));
        },
        [&](uint32_t upper, uint32_t lower) {
          links.push_back({labelOf(above, upper), labelOf(below, lower)});
        });
  }
  for (const Band& band : bands) {
    for (const CornerLink& link : band.links) {
      links.push_back({band.labelOffset + link.from, band.labelOffset + link.to});
    }
  }
  sets.flatten();
  linkRoots(sets, links);

  uint32_t groupCount = 0;
  std::vector<uint32_t> groupOf =
      collectGroups(sets, linkComponents(sets.size(), links), groupCount);
  for (uint32_t label = 0; label < groupOf.size(); ++label)
    groupOf[label] = groupOf[sets.flatRoot(label)];
  workers::parallelFor(bands.size(), [&](std::size_t b) {
    const Band& band = bands[b];
    for (uint32_t r = layer.rowRuns[band.firstRow]; r < layer.rowRuns[band.endRow]; ++r) {
      layer.runs[r].group = groupOf[labelOf(band, r)];
    }
  });
  return groupCount;
}

}  // namespace stiltforge
