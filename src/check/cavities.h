#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "analysis/run_rows.h"
#include "check/extent.h"
#include "hold/components.h"

namespace stiltforge::check {

/// Finds the cavities of a part as it grows: space without material that is cut off from the border
/// of the slices by the layers so far and by the plate. Pixels of space touch on the sides of their
/// layer, above and below.
///
/// While it is printed the part hangs from the plate, and the layer in work lies on the film. So a
/// cavity that its latest layer has not closed is open towards the film alone: it sucks at it.
/// Takes memory for the cavities that reach up to the last layer.
class Cavities {
 public:
  enum class End : uint8_t {
    vented,  ///< a higher layer connects it with outside
    closed,  ///< a layer covers it
    open,    ///< the print ends before
  };
  struct Cavity {
    Extent extent;                ///< as far as it was cut off
    uint64_t largestOpening = 0;  ///< pixels towards the film, in the layer where they are most
    bool reachesPlate = false;
    End end = End::open;
  };
  using Ended = std::function<void(const Cavity&)>;

  explicit Cavities(Ended ended) : ended_(std::move(ended)) { cavities_.emplace_back(); }

  /// Takes the material of the next layer, bottom first, of `width` columns.
  void add(const RunRows& material, int width, uint32_t layer);
  /// Ends those that are open towards the film.
  void finish();

 private:
  void end(Cavity& cavity, End how);

  Ended ended_;
  hold::Components below_;
  std::vector<uint32_t> cavityOf_;  // by component of it
  std::vector<Cavity> cavities_;    // the first stands for outside
};

}  // namespace stiltforge::check
