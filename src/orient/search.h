#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "orient/directions.h"
#include "orient/measures.h"
#include "print/print_settings.h"
#include "print/turn.h"

namespace stiltforge::orient {

/// How much each measure counts. An average orientation of the part costs 1 in each.
struct Weights {
  double points = 1;
  double overhang = 0.5;
  double islands = 0.25;
  double height = 0.25;
  double cups = 0.5;
  double marks = 2;  ///< counts only with a side to be kept clean
};

struct SearchSettings {
  PrintSettings print;
  Weights weights;
  /// The side of the part that is to carry no marks: the direction that it faces, of any length.
  std::optional<Vector> keepClean;
  uint32_t spread = 200;    ///< directions over the sphere, at least 1
  uint32_t flatSides = 24;  ///< flat sides that are tried, at most
  uint32_t seeds = 6;       ///< around so many of the best it is searched further
  uint32_t rounds = 4;      ///< in so many ever smaller steps
  uint32_t listed = 6;      ///< orientations of the result, at most
  /// Measure those, and a few that are next, again as they will be printed. Otherwise all figures
  /// are those of the coarser grid.
  bool confirm = true;
  /// So many of them are measured side by side, at most, 1 or more: each takes the memory of a
  /// print.
  uint32_t atOnce = 1000;
};

enum class Origin : uint8_t { asItIs, flatSide, spread, nearby };

struct Orientation {
  Turn turn;
  Origin origin = Origin::asItIs;
  Measures measures;
  std::vector<Support> supports;  ///< in the coordinates of the turned mesh
  double cost = 0;  ///< the weighted mean of the measures; 1 is about an average orientation
};

struct SearchResult {
  /// The part as it was given; nothing when it does not fit on the screen or shows nothing.
  std::optional<Orientation> asItIs;
  /// The best first, no two alike. As it is may be among them.
  std::vector<Orientation> best;
  std::size_t tried = 0;
  double pixelSize = 0;    ///< mm, of the grid of the search
  double layerHeight = 0;  ///< mm, likewise
};

/// (orientations done, all of them as far as is known). Called by one thread at a time, in
/// ascending order, from any thread.
using Progress = std::function<void(std::size_t done, std::size_t total)>;

/// Tries orientations: flat sides, a spread over the sphere, and around the best of them; only
/// those that fit on the screen, turned about z where that helps. Each is sliced, analysed and
/// finished at a coarser grid, about 250 pixels along the part. Spread over the worker pool; the
/// same result for any number of workers.
///
/// positions: nine floats a triangle, mm. Throws SlicingError when the mesh cannot be sliced or
/// fits in no way, or a setting makes no sense; Cancelled; std::bad_alloc.
SearchResult search(std::span<const float> positions, const SearchSettings& settings,
                    const Progress& progress = {}, const std::atomic<bool>* cancelled = nullptr);

}  // namespace stiltforge::orient
