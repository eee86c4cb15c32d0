#include "analysis/run_labelling.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "runtime/apart.h"
#include "runtime/disjoint_sets.h"
#include "runtime/scratch_vector.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr std::size_t runsPerBand = std::size_t{1} << 16;
constexpr uint32_t unlabelled = 0xFFFFFFFF;

// Provisional labels are made in raster order of the runs that make them, so the root of a set of
// labels stands for the component's first run.
using LabelSets = DisjointSets;

// Gives every unlabelled run a label of its own.
void labelRest(uint32_t* label, const uint32_t* end, LabelSets& sets) {
  sets.reserve(static_cast<std::size_t>(end - label));
  for (; label != end; ++label) {
    const bool isNew = *label == unlabelled;
    const uint32_t next = sets.addIf(isNew);
    *label = isNew ? next : *label;
  }
}

// A run of one row and a run of the next: their positions in Slice::material.
struct Contact {
  uint32_t upper = 0;
  uint32_t lower = 0;
};

// A list that is written to ahead of its end.
struct Contacts {
  ScratchVector<Contact> list;
  std::size_t size = 0;

  Contact* room(std::size_t more) {
    if (size + more > list.size()) list.resize(std::max(2 * list.size(), size + more));
    return list.data() + size;
  }
};

// Adds the runs of rows y - 1 and y that share a column to `touches` and those that meet at a
// corner to `corners`, from left to right. Which of them a step finds is a toss-up in noise, so
// each step writes both and keeps what is true.
void compareRows(const Layer& layer, uint32_t y, Contacts& touches, Contacts& corners) {
  const Run* const runs = layer.material.data();
  uint32_t upper = layer.material.rowStart(y - 1);
  uint32_t lower = layer.material.rowStart(y);
  const uint32_t upperEnd = lower;
  const uint32_t lowerEnd = layer.material.rowStart(y + 1);
  const std::size_t mostSteps = std::size_t{lowerEnd} - upper;
  Contact* touch = touches.room(mostSteps);
  Contact* corner = corners.room(mostSteps);
  while (upper < upperEnd && lower < lowerEnd) {
    const Run& above = runs[upper];
    const Run& below = runs[lower];
    *touch = {upper, lower};
    *corner = {upper, lower};
    touch += int{above.begin < below.end} & int{below.begin < above.end};
    corner += int{above.begin == below.end} | int{below.begin == above.end};
    // Past equal ends the successors start at least one pixel further on: neither run touches them.
    const bool upperEndsFirst = above.end <= below.end;
    const bool lowerEndsFirst = below.end <= above.end;
    upper += upperEndsFirst;
    lower += lowerEndsFirst;
  }
  touches.size = static_cast<std::size_t>(touch - touches.list.data());
  corners.size = static_cast<std::size_t>(corner - corners.list.data());
}

// Two components in contact. Across a corner the upper leads to the lower, but not back.
struct LabelPair {
  uint32_t upper = 0;
  uint32_t lower = 0;
};

// Rows [firstRow, endRow) with labels of their own.
struct Band {
  uint32_t firstRow = 0;
  uint32_t endRow = 0;
  LabelSets sets;
  ScratchVector<LabelPair> links;  // between components of the band
  uint32_t labelOffset = 0;        // of its labels among those of all bands
};

// Whether rows y - 1 and y have a run each and these share a column.
bool areOneRunEach(const RunRows& material, uint32_t y) {
  const uint32_t lower = material.rowStart(y);
  if (lower - material.rowStart(y - 1) != 1 || material.rowStart(y + 1) - lower != 1) return false;
  const Run& above = material[lower - 1];
  const Run& below = material[lower];
  return above.begin < below.end && below.begin < above.end;
}

void labelBand(Layer& layer, Band& band) {
  Contacts touches;
  Contacts corners;
  uint32_t* const labels = layer.groupOfRun.data();
  for (uint32_t y = band.firstRow; y < band.endRow; ++y) {
    uint32_t* const rowBegin = labels + layer.material.rowStart(y);
    // As in most rows of most parts.
    if (y > band.firstRow && areOneRunEach(layer.material, y)) {
      *rowBegin = rowBegin[-1];
      continue;
    }
    uint32_t* const rowEnd = labels + layer.material.rowStart(y + 1);
    std::fill(rowBegin, rowEnd, unlabelled);
    touches.size = 0;
    if (y > band.firstRow) compareRows(layer, y, touches, corners);
    // Backwards, so that the leftmost of the runs above gives its label.
    for (std::size_t i = touches.size; i-- > 0;) {
      labels[touches.list[i].lower] = labels[touches.list[i].upper];
    }
    for (std::size_t i = 0; i < touches.size; ++i) {
      const uint32_t above = labels[touches.list[i].upper];
      const uint32_t own = labels[touches.list[i].lower];
      if (above != own) band.sets.unite(above, own);
    }
    labelRest(rowBegin, rowEnd, band.sets);
  }
  band.sets.flatten();
  for (std::size_t i = 0; i < corners.size; ++i) {
    const Contact& corner = corners.list[i];
    const LabelPair link{band.sets.flatRoot(labels[corner.upper]),
                         band.sets.flatRoot(labels[corner.lower])};
    if (link.upper != link.lower) band.links.push_back(link);
  }
}

std::vector<Band> bandsOf(const Layer& layer) {
  const std::size_t count =
      std::min<std::size_t>(layer.material.runCount() / runsPerBand + 1, layer.height);
  std::vector<Band> bands(count);
  for (std::size_t b = 0; b < count; ++b) {
    bands[b].firstRow = static_cast<uint32_t>(layer.height * b / count);
    bands[b].endRow = static_cast<uint32_t>(layer.height * (b + 1) / count);
  }
  return bands;
}

// The labels of all bands, one band's after the other's.
STILTFORGE_APART LabelSets joinLabels(std::vector<Band>& bands) {
  std::size_t size = 0;
  for (Band& band : bands) {
    band.labelOffset = static_cast<uint32_t>(size);
    size += band.sets.size();
  }
  LabelSets sets(size);
  workers::parallelFor(bands.size(),
                       [&](std::size_t b) { sets.put(bands[b].labelOffset, bands[b].sets); });
  return sets;
}

// Unites what touches across the seams of the bands; returns the corner links across them.
STILTFORGE_APART ScratchVector<LabelPair> joinSeams(const Layer& layer,
                                                    const std::vector<Band>& bands,
                                                    LabelSets& sets) {
  Contacts touches;
  Contacts corners;
  ScratchVector<LabelPair> links;
  for (std::size_t b = 1; b < bands.size(); ++b) {
    const auto labels = [&](const Contact& contact) {
      return LabelPair{bands[b - 1].labelOffset + layer.groupOfRun[contact.upper],
                       bands[b].labelOffset + layer.groupOfRun[contact.lower]};
    };
    touches.size = corners.size = 0;
    compareRows(layer, bands[b].firstRow, touches, corners);
    for (std::size_t i = 0; i < touches.size; ++i) {
      const LabelPair touch = labels(touches.list[i]);
      sets.unite(touch.upper, touch.lower);
    }
    for (std::size_t i = 0; i < corners.size; ++i) links.push_back(labels(corners.list[i]));
  }
  return links;
}

// Corner links between root labels: a list for each band and one for the seams.
using LinkLists = std::vector<ScratchVector<LabelPair>>;

STILTFORGE_APART LinkLists linkRoots(std::vector<Band>& bands, ScratchVector<LabelPair> seams,
                                     const LabelSets& sets) {
  LinkLists lists(bands.size() + 1);
  lists.back() = std::move(seams);
  const auto toRoots = [&](ScratchVector<LabelPair>& links, uint32_t offset) {
    for (LabelPair& link : links) {
      link = {sets.flatRoot(offset + link.upper), sets.flatRoot(offset + link.lower)};
    }
  };
  toRoots(lists.back(), 0);
  workers::parallelFor(bands.size(), [&](std::size_t b) {
    lists[b] = std::move(bands[b].links);
    toRoots(lists[b], bands[b].labelOffset);
  });
  return lists;
}

struct ComponentNode {
  uint32_t group = 0;      // 0 while no group has taken it
  uint32_t firstLink = 0;  // its links end where those of the next node begin
};

// The targets of the links, ordered by the component that they start from. There is one node more
// than labels.
STILTFORGE_APART ScratchVector<uint32_t> orderTargets(const LinkLists& lists,
                                                      ScratchVector<ComponentNode>& nodes) {
  for (const ScratchVector<LabelPair>& links : lists) {
    for (const LabelPair& link : links) ++nodes[link.upper].firstLink;
  }
  uint32_t end = 0;
  for (ComponentNode& node : nodes) node.firstLink = end += node.firstLink;
  ScratchVector<uint32_t> targets(end);
  for (const ScratchVector<LabelPair>& links : lists) {
    for (const LabelPair& link : links) targets[--nodes[link.upper].firstLink] = link.lower;
  }
  return targets;
}

// Sets the group of the nodes of all root labels; returns the number of groups. What a group
// reaches is visited in the order of a queue, so that several visits can wait for memory at once,
// and whether a link leads to something new, a toss-up in noise, is not asked by a branch.
STILTFORGE_APART uint32_t collectGroups(const LabelSets& sets,
                                        const ScratchVector<uint32_t>& targets,
                                        ScratchVector<ComponentNode>& nodes) {
  uint32_t groupCount = 0;
  ScratchVector<uint32_t> reached(sets.size() + 1);  // written one ahead of its end
  for (uint32_t label = 0; label < sets.size(); ++label) {
    if (sets.flatRoot(label) != label || nodes[label].group != 0) continue;
    nodes[label].group = ++groupCount;
    reached[0] = label;
    std::size_t size = 1;
    for (std::size_t i = 0; i < size; ++i) {
      const uint32_t component = reached[i];
      const uint32_t end = nodes[component + 1].firstLink;
      for (uint32_t k = nodes[component].firstLink; k < end; ++k) {
        const uint32_t target = targets[k];
        uint32_t& group = nodes[target].group;
        const uint32_t isNew = group == 0 ? 1 : 0;
        reached[size] = target;
        size += isNew;
        group += isNew * groupCount;
      }
    }
  }
  return groupCount;
}

}  // namespace

uint32_t labelRuns(Layer& layer) {
  layer.groupOfRun.resize(layer.material.runCount());
  if (layer.material.empty()) return 0;
  std::vector<Band> bands = bandsOf(layer);
  workers::parallelFor(bands.size(), [&](std::size_t b) { labelBand(layer, bands[b]); });

  LabelSets sets = joinLabels(bands);
  ScratchVector<LabelPair> seams = joinSeams(layer, bands, sets);
  sets.flatten();
  const LinkLists links = linkRoots(bands, std::move(seams), sets);

  ScratchVector<ComponentNode> nodes(sets.size() + 1);
  const ScratchVector<uint32_t> targets = orderTargets(links, nodes);
  const uint32_t groupCount = collectGroups(sets, targets, nodes);
  workers::parallelFor(bands.size(), [&](std::size_t b) {
    const Band& band = bands[b];
    uint32_t* const end = layer.groupOfRun.data() + layer.material.rowStart(band.endRow);
    uint32_t* label = layer.groupOfRun.data() + layer.material.rowStart(band.firstRow);
    for (; label != end; ++label) *label = nodes[sets.flatRoot(band.labelOffset + *label)].group;
  });
  return groupCount;
}

}  // namespace stiltforge
