#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "analysis/group.h"
#include "analysis/plane.h"

namespace stiltforge {

/// A maximal horizontal run of material, columns [begin, end) of its row.
struct SolidRun {
  uint16_t begin = 0;
  uint16_t end = 0;
  uint32_t group = 0;  ///< label of the group it belongs to
};

/// What outlives the pixels of a layer: a group's box and, where it has any, its supports.
struct ArchivedGroup {
  Box box;
  std::unique_ptr<Placement> placement;
};

/// One analysed slice.
///
/// In work it holds the host's pixels and the run-length form that segmentation makes of them. Once
/// the next slice is done, archive() leaves only what a later call can still ask for.
struct Layer {
  uint16_t width = 0;   ///< pixels
  uint16_t height = 0;  ///< pixels

  Plane<uint32_t> pixelBuffer;  ///< width * height RGBA words; labels once segmented, on request
  /// width * height blue and green bytes of the material. Background is 0 in supportedPixels when
  /// buffers are wanted, and open otherwise.
  Plane<uint8_t> supportedPixels;
  Plane<uint8_t> strokePixels;

  std::vector<SolidRun> runs;  ///< in raster order
  /// height + 1 entries: row y has runs [rowRuns[y], rowRuns[y + 1]).
  std::vector<uint32_t> rowRuns;
  struct Overlap {
    uint32_t lower = 0;  ///< label of the lower group
    uint32_t count = 0;  ///< pixels shared with it
  };
  std::vector<Overlap> overlaps;  ///< per group ascending by lower label; see Group::firstOverlap

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

  /// Releases the three pixel planes.
  void releasePixels();
  /// Releases all that the next layer needed of this one and no later step reads. Supports stay
  /// where they are in memory, since ghosts point to them.
  void archive();
};

}  // namespace stiltforge
