#include "analysis/run_labelling.h"

#include <utility>
#include <vector>

namespace stiltforge {

namespace {

// Roots are the smallest run index of their set, which is the set's first run in raster order.
class RunSets {
 public:
  explicit RunSets(std::size_t size) : parent_(size) {
    for (std::size_t i = 0; i < size; ++i) parent_[i] = static_cast<uint32_t>(i);
  }
  uint32_t root(uint32_t i) {
    while (parent_[i] != i) {
      parent_[i] = parent_[parent_[i]];
      i = parent_[i];
    }
    return i;
  }
  void unite(uint32_t a, uint32_t b) {
    a = root(a);
    b = root(b);
    if (a < b) {
      parent_[b] = a;
    } else {
      parent_[a] = b;
    }
  }

 private:
  std::vector<uint32_t> parent_;
};

struct CornerLink {
  uint32_t from = 0;
  uint32_t to = 0;
};

void connectRows(const Layer& layer, RunSets& sets, std::vector<CornerLink>& links) {
  const std::vector<SolidRun>& runs = layer.runs;
  for (uint32_t y = 1; y < layer.height; ++y) {
    uint32_t upper = layer.rowRuns[y - 1];
    uint32_t lower = layer.rowRuns[y];
    const uint32_t upperEnd = layer.rowRuns[y];
    const uint32_t lowerEnd = layer.rowRuns[y + 1];
    while (upper < upperEnd && lower < lowerEnd) {
      const SolidRun& above = runs[upper];
      const SolidRun& below = runs[lower];
      if (above.begin < below.end && below.begin < above.end) {
        sets.unite(upper, lower);
      } else if (above.begin == below.end || below.begin == above.end) {
        links.push_back({upper, lower});
      }
      if (above.end == below.end) {
        // The successors start at least one pixel further on, so neither run touches the other's.
        ++upper;
        ++lower;
      } else if (above.end < below.end) {
        ++upper;
      } else {
        ++lower;
      }
    }
  }
}

// Per component (by root run) the components that its corner links lead to, as one array with
// offsets.
struct ComponentLinks {
  std::vector<uint32_t> first;
  std::vector<uint32_t> target;
};

ComponentLinks linkComponents(RunSets& sets, std::size_t runCount, std::vector<CornerLink>& links) {
  std::size_t kept = 0;
  for (const CornerLink& link : links) {
    const CornerLink components{sets.root(link.from), sets.root(link.to)};
    if (components.from != components.to) links[kept++] = components;
  }
  links.resize(kept);
  ComponentLinks result;
  if (links.empty()) return result;
  result.first.assign(runCount + 1, 0);
  result.target.resize(links.size());
  for (const CornerLink& link : links) ++result.first[link.from + 1];
  for (std::size_t i = 0; i < runCount; ++i) result.first[i + 1] += result.first[i];
  std::vector<uint32_t> next(result.first.begin(), result.first.end() - 1);
  for (const CornerLink& link : links) result.target[next[link.from]++] = link.to;
  return result;
}

}  // namespace

uint32_t labelRuns(Layer& layer) {
  std::vector<SolidRun>& runs = layer.runs;
  RunSets sets(runs.size());
  std::vector<CornerLink> links;
  connectRows(layer, sets, links);
  const ComponentLinks reachable = linkComponents(sets, runs.size(), links);

  // A root's own label marks its component as taken.
  uint32_t groupCount = 0;
  std::vector<uint32_t> open;
  for (uint32_t i = 0; i < runs.size(); ++i) {
    const uint32_t root = sets.root(i);
    if (root != i) {
      runs[i].group = runs[root].group;
      continue;
    }
    if (runs[i].group != 0) continue;
    runs[i].group = ++groupCount;
    if (reachable.first.empty()) continue;
    open.push_back(i);
    while (!open.empty()) {
      const uint32_t component = open.back();
      open.pop_back();
      for (uint32_t k = reachable.first[component]; k < reachable.first[component + 1]; ++k) {
        SolidRun& next = runs[reachable.target[k]];
        if (next.group != 0) continue;
        next.group = groupCount;
        open.push_back(reachable.target[k]);
      }
    }
  }
  return groupCount;
}

}  // namespace stiltforge
