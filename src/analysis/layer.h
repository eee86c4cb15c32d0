#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "analysis/group.h"
#include "analysis/slice.h"
#include "runtime/scratch_vector.h"

namespace stiltforge {

/// What outlives the runs of a layer: a group's box and, where it has any, its supports.
struct ArchivedGroup {
  Box box;
  std::unique_ptr<Placement> placement;
};

/// One analysed slice.
///
/// In work it holds the slice and what segmentation makes of it. Once its supports are placed,
/// releaseOverhang() drops the channels, and once the next slice is done, archive() leaves only
/// what a later call can still ask for.
struct Layer : Slice {
  Layer() = default;
  explicit Layer(Slice slice) : Slice(std::move(slice)) {}

  /// Label of the group of each run of `material`.
  ScratchVector<uint32_t> groupOfRun;

  struct Overlap {
    uint32_t lower = 0;  ///< label of the lower group
    uint32_t count = 0;  ///< pixels shared with it
  };
  std::vector<Overlap> overlaps;  ///< per group ascending by lower label; see Group::firstOverlap

  /// Pixels of the layer that nothing held before its own supports: what its groups were owed.
  double owedPixels = 0;

  uint32_t pixelCount = 0;
  uint32_t groupCount = 0;              ///< placeholder not counted
  std::vector<Group> groups;            ///< index 0 is the placeholder; empty once archived
  std::vector<ArchivedGroup> archived;  ///< same indices as groups; empty until archived

  bool isArchived() const { return !archived.empty(); }
  /// Number of groups, placeholder included, in work or archived.
  std::size_t groupEntries() const { return isArchived() ? archived.size() : groups.size(); }
  Box groupBox(std::size_t group) const {
    return isArchived() ? archived[group].box : groups[group].box();
  }
  /// Null when the group has neither supports nor ghosts nor samples.
  const Placement* groupPlacement(std::size_t group) const {
    return isArchived() ? archived[group].placement.get() : groups[group].placement.get();
  }

  /// True when the pixel at this index, y * width + x, carries no material. Needs the runs.
  bool isBackground(uint32_t index) const;

  /// Releases the runs and channels of the overhanging pixels, which only the support pass reads.
  void releaseOverhang();
  /// Releases all that the next layer needed of this one and no later step reads. Supports stay
  /// where they are in memory, since ghosts point to them.
  void archive();
};

}  // namespace stiltforge
